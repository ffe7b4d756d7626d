// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace quorvi::test {
namespace {

bool Updating() {
  const char* update = std::getenv("QUORVI_UPDATE_GOLDEN");
  return update != nullptr && std::string(update) == "1";
}

void Rewrite(const std::string& name, const std::string& content) {
  std::ofstream(DataPath(name), std::ios::binary) << content;
}

std::string Trim(const std::string& text) {
  const size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::string DataPath(const std::string& name) { return std::string(QUORVI_TEST_DATA_DIR) + "/" + name; }

std::string Golden(const std::string& name) {
  std::ifstream in(DataPath(name), std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string GoldenMismatch(const std::string& name, const std::string& actual) {
  if (Updating()) Rewrite(name, actual);
  const std::string expected = Golden(name);
  if (actual == expected) return "";
  const std::vector<std::string> want = SplitLines(expected), got = SplitLines(actual);
  size_t line = 0;
  while (line < want.size() && line < got.size() && want[line] == got[line]) ++line;
  const auto at = [line](const std::vector<std::string>& lines) {
    return line < lines.size() ? Escaped(lines[line]) : std::string("(end)");
  };
  return "tests/data/" + name + " line " + std::to_string(line + 1) + ": expected " + at(want) + "\n   but got " +
         at(got) + (want == got ? " (line ends differ)" : "");
}

std::string TableMismatches(const std::string& name, const std::function<std::string(const std::string&)>& run) {
  static const std::string kArrow = " => ";
  std::string rewritten, mismatches;
  const std::vector<std::string> lines = SplitLines(Golden(name));
  if (lines.empty()) return "tests/data/" + name + " is missing or empty";
  for (size_t n = 0; n < lines.size(); ++n) {
    const std::string& line = lines[n];
    const size_t arrow = line.find(kArrow);
    if (line.starts_with('#') || arrow == std::string::npos) {
      rewritten += line + "\n";
      continue;
    }
    const std::string input = line.substr(0, arrow);
    std::string output = run(input);
    if (output.empty()) output = "\"\"";  // a row never ends in a blank
    rewritten += input + kArrow + output + "\n";
    const std::string expected = line.substr(arrow + kArrow.size());
    if (output != expected) {
      mismatches += name + ":" + std::to_string(n + 1) + ": " + input + " => " + output + ", not " + expected + "\n";
    }
  }
  if (Updating()) Rewrite(name, rewritten);
  return Updating() ? "" : mismatches;
}

std::string TableMismatches(const std::string& name, const std::map<std::string, Call>& calls) {
  return TableMismatches(name, [&calls](const std::string& row) {
    const std::vector<std::string> words = Words(row);
    const auto call = calls.find(words.empty() ? "" : words[0]);
    return call == calls.end() ? "(no such call)" : call->second({words.begin() + 1, words.end()});
  });
}

std::map<std::string, std::string> DataSections(const std::string& name) {
  std::ifstream in(DataPath(name));
  EXPECT_TRUE(in) << "cannot read tests/data/" << name;
  std::map<std::string, std::string> sections;
  std::string* open = nullptr;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("== ")) {
      open = &sections[line.substr(3)];
    } else if (open != nullptr && !line.starts_with('#')) {
      *open += line + "\n";
    }
  }
  return sections;
}

void ExpectSection(const std::map<std::string, std::string>& sections, const std::string& key,
                   const std::string& actual) {
  if (const char* dump = std::getenv("QUORVI_GOLDEN_DUMP")) {
    std::ofstream(dump, std::ios::app) << "== " << key << "\n" << actual;
  }
  const auto found = sections.find(key);
  if (found == sections.end()) {
    ADD_FAILURE() << "no section " << key << "; the output is\n" << actual;
  } else {
    EXPECT_EQ(actual, found->second) << key;
  }
}

std::vector<std::vector<std::string>> Rows(const std::string& text) {
  std::vector<std::vector<std::string>> rows;
  for (const std::string& line : SplitLines(text)) {
    if (Trim(line).empty()) continue;
    std::vector<std::string>& row = rows.emplace_back();
    size_t start = 0;
    for (size_t bar = 0; (bar = line.find('|', start)) != std::string::npos; start = bar + 1) {
      row.push_back(Trim(line.substr(start, bar - start)));
    }
    row.push_back(Trim(line.substr(start)));
  }
  return rows;
}

int FromHex(const std::string& field) { return std::stoi(field, nullptr, 16); }

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  for (size_t at = 0; at < text.size();) {
    if (std::isspace(static_cast<unsigned char>(text[at])) != 0) {
      ++at;
    } else if (text[at] != '"') {
      const size_t end = std::min(text.find_first_of(" \t\r\n", at), text.size());
      words.push_back(text.substr(at, end - at));
      at = end;
    } else {
      std::string word;
      for (++at; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] != '\\' || at + 1 >= text.size()) {
          word += text[at];
          continue;
        }
        const char escape = text[++at];
        if (escape == 'x') {
          word += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
          at += 2;
        } else {
          word += escape == 'r' ? '\r' : escape == 'n' ? '\n' : escape == 't' ? '\t' : escape;
        }
      }
      words.push_back(word);
      ++at;
    }
  }
  return words;
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\r' || c == '\n' || c == '\t' || c == '\\') {
      escaped += std::string("\\") + (c == '\r' ? 'r' : c == '\n' ? 'n' : c == '\t' ? 't' : c);
    } else if (byte < 0x20 || byte >= 0x7F) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02X", byte);
      escaped += hex;
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

std::string Hex(int64_t value, int digits) {
  char text[24];
  std::snprintf(text, sizeof text, "%0*llX", digits,
                static_cast<unsigned long long>(value < 0 ? static_cast<uint32_t>(value) : value));
  return text;
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> DataFiles(const std::string& folder, const std::string& suffix) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(DataPath(folder))) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(suffix)) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace quorvi::test
