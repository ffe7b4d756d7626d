// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "util/result.h"

namespace quorvi {

/// One field of a text read the old comma- or line-delimited way.
struct InputField {
  std::string text;
  size_t line;  // 0-based
};

/// Splits lines into fields at commas and line ends, leading blanks skipped;
/// a field that opens with a double quote runs to the closing quote.
std::vector<InputField> SplitInputFields(const std::vector<std::string>& lines);

/// `text` without the blanks around it (tabs are kept: the old files never padded with them).
std::string_view TrimBlanks(std::string_view text);

/// The lines of a text without their CR LF or LF.
std::vector<std::string> SplitTextLines(std::string_view text);

/// The lines of a text file without their CR LF or LF. A file that is not a
/// readable regular file of sane size fails with "PATH: REASON".
Status ReadTextLines(const std::string& path, std::vector<std::string>& lines);

}  // namespace quorvi
