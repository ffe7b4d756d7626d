// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/data_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace quorvi::test {

namespace {

std::string Trim(const std::string& text) {
  const size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::map<std::string, std::string> DataSections(const std::string& name) {
  std::ifstream in(std::string(QUORVI_TEST_DATA_DIR) + "/" + name);
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
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
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

std::vector<std::string> Words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

int Hex(const std::string& field) { return std::stoi(field, nullptr, 16); }

}  // namespace quorvi::test
