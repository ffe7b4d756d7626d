// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

namespace quorvi::test {

/// A fresh folder under the system's temporary folder, removed with its contents.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// Writes `content` to `relative` (making folders) and returns its full path.
  std::string Write(const std::string& relative, const std::string& content) const;
  /// The whole content of `relative`, or "" when it cannot be read.
  std::string Read(const std::string& relative) const;

 private:
  std::filesystem::path path_;
};

}  // namespace quorvi::test
