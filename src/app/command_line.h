// SPDX-License-Identifier: GPL-3.0-or-later
// The options another program drives us with: "/Q", "/D:", "/F:", "/W".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvi {

struct LegacyOptions {
  std::string upperLine;  // the whole line, upper-cased
  bool quiet = false;     // "/Q": failures go to the error log and end the run
  std::optional<std::string> device;  // "/D:" (possibly empty)
  std::optional<std::string> file;    // "/F:"
  bool write = false;                 // "/W"
};

/// Upper-cases the line and finds each option at the start of a word (so a
/// "/W" inside a Linux path such as /F:/home/work/a.hex is not an option);
/// a value runs to the next blank.
LegacyOptions ParseLegacyOptions(std::string_view commandLine);

/// Finds `path` whatever the case of its letters: the upper-cased command
/// line loses the case that a Linux file system keeps. The exact path wins
/// when it exists; otherwise each part is matched without regard to case.
std::string FindPathIgnoringCase(const std::string& path);

}  // namespace quorvi
