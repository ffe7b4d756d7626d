// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/temp_dir.h"

#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace quorvi::test {

TempDir::TempDir() {
  std::random_device seed;
  std::mt19937_64 random(seed());
  for (int attempt = 0; attempt < 100; ++attempt) {
    auto candidate = std::filesystem::temp_directory_path() / ("quorvi-test-" + std::to_string(random()));
    if (std::filesystem::create_directory(candidate)) {
      path_ = candidate;
      return;
    }
  }
  throw std::runtime_error("cannot make a temporary folder");
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::Write(const std::string& relative, const std::string& content) const {
  const auto full = path_ / relative;
  std::filesystem::create_directories(full.parent_path());
  std::ofstream(full, std::ios::binary) << content;
  return full.string();
}

std::string TempDir::Read(const std::string& relative) const {
  std::ifstream file(path_ / relative, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace quorvi::test
