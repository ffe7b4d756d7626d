// SPDX-License-Identifier: GPL-3.0-or-later
// Long expected outputs and case tables kept as text under tests/data, so a
// test reads as what it runs and a difference reads as text.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace quorvi::test {

/// The sections of tests/data/`name`: each opens with a line "== key" and
/// holds the lines up to the next, each ending in '\n'. Lines starting with
/// '#' are comments. A file that cannot be read fails the test.
std::map<std::string, std::string> DataSections(const std::string& name);

/// Fails the test unless `actual` is the section `key` of `sections`. With
/// QUORVI_GOLDEN_DUMP naming a file, each `actual` is added to it as a section
/// too: a golden file written afresh, to be read over before it replaces one.
void ExpectSection(const std::map<std::string, std::string>& sections, const std::string& key,
                   const std::string& actual);

/// The rows of a case table, such as a section: one a line, fields split at
/// '|' and trimmed; blank lines are left out.
std::vector<std::vector<std::string>> Rows(const std::string& text);

/// The blank-separated words of `text`: how sequences are compared, so that
/// a golden file may wrap them as it likes.
std::vector<std::string> Words(const std::string& text);

/// A hexadecimal field.
int Hex(const std::string& field);

}  // namespace quorvi::test
