// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/file_check.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace quorvi {

std::optional<std::string> UnreadableReason(const std::string& path, uintmax_t maxBytes) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) return "not found";
  if (error) return error == std::errc::permission_denied ? std::string("permission denied") : error.message();
  if (fs::is_directory(status)) return "is a directory";
  if (!fs::is_regular_file(status)) return "is not a regular file";
  if (::access(path.c_str(), R_OK) != 0) {
    return errno == EACCES ? std::string("permission denied") : std::strerror(errno);
  }
  const uintmax_t size = fs::file_size(path, error);
  if (error) return error.message();
  if (size > maxBytes) {
    return "is too large (" + std::to_string(size) + " bytes; at most " + std::to_string(maxBytes) + ")";
  }
  return std::nullopt;
}

FileContent ReadWholeFile(const std::string& path, uintmax_t maxBytes) {
  FileContent content;
  if (const auto reason = UnreadableReason(path, maxBytes)) {
    content.problem = path + ": " + *reason;
    content.missing = *reason == "not found";
    return content;
  }
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file.is_open() || file.bad()) {
    content.problem = path + ": " + std::strerror(errno);
    return content;
  }
  content.bytes = std::move(bytes);
  return content;
}

}  // namespace quorvi
