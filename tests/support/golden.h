// SPDX-License-Identifier: GPL-3.0-or-later
// Expected outputs and tables of cases kept as files in tests/data/. Run the
// tests with QUORVI_UPDATE_GOLDEN=1 to rewrite them from what the code makes
// now; the diff is then the change to review. Files of sections are not
// rewritten in place: QUORVI_GOLDEN_DUMP=FILE collects a fresh copy instead.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace quorvi::test {

/// Full path of tests/data/NAME.
std::string DataPath(const std::string& name);

/// The content of tests/data/NAME, "" when it cannot be read.
std::string Golden(const std::string& name);

/// "" when `actual` is the content of tests/data/NAME, else the first line
/// where they differ.
std::string GoldenMismatch(const std::string& name, const std::string& actual);

/// Checks a table in tests/data/NAME whose rows read "input => output": `run`
/// must make each row's output from its input ("" stands for an empty one).
/// Other lines are comments.
/// Returns "" or one line per row that differs.
std::string TableMismatches(const std::string& name, const std::function<std::string(const std::string&)>& run);

/// A table whose rows start with the name of one of `calls`, which makes the
/// output from the row's other words.
using Call = std::function<std::string(const std::vector<std::string>& args)>;
std::string TableMismatches(const std::string& name, const std::map<std::string, Call>& calls);

/// The sections of tests/data/NAME: each opens with a line "== key" and holds
/// the lines up to the next, each ending in '\n'; lines starting with '#' are
/// comments. A file that cannot be read fails the test.
std::map<std::string, std::string> DataSections(const std::string& name);

/// Fails the test unless `actual` is the section `key` of `sections`. With
/// QUORVI_GOLDEN_DUMP naming a file, each `actual` is appended to it as a
/// section, to be read over before it replaces the golden file.
void ExpectSection(const std::map<std::string, std::string>& sections, const std::string& key,
                   const std::string& actual);

/// The rows of a case table: one a line, fields split at '|' and trimmed;
/// blank lines are left out.
std::vector<std::vector<std::string>> Rows(const std::string& text);

/// A hexadecimal field's value.
int FromHex(const std::string& field);

/// The words of a row or text, split at blanks and line ends; "..." keeps blanks and reads C escapes.
std::vector<std::string> Words(const std::string& text);

/// `text` with line ends, tabs, backslashes and other controls as C escapes.
std::string Escaped(const std::string& text);

/// `text` with every `from` in it replaced by `to`.
std::string Replaced(std::string text, const std::string& from, const std::string& to);

/// `value` exactly, in the shortest of plain or exponent form ("7", "4.5").
std::string Number(double value);

/// `value` in upper-case hex, at least `digits` long; negative values as 32 bits.
std::string Hex(int64_t value, int digits = 0);

/// The lines of a text, without their CR LF or LF ends.
std::vector<std::string> SplitLines(const std::string& text);

/// Names of the files in tests/data/FOLDER ending in `suffix`, sorted.
std::vector<std::string> DataFiles(const std::string& folder, const std::string& suffix);

}  // namespace quorvi::test
