// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/file_check.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace quorvi {

std::optional<std::string> UnreadableReason(const std::string& path, uintmax_t maxBytes) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return "not found";
    return errno == EACCES ? std::string("permission denied") : std::strerror(errno);
  }
  if (S_ISDIR(info.st_mode)) return "is a directory";
  if (!S_ISREG(info.st_mode)) return "is not a regular file";
  if (::access(path.c_str(), R_OK) != 0) {
    return errno == EACCES ? std::string("permission denied") : std::strerror(errno);
  }
  const auto size = static_cast<uintmax_t>(info.st_size);
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
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat info {};
  if (fd < 0 || ::fstat(fd, &info) != 0) {
    content.problem = path + ": " + std::strerror(errno);
    if (fd >= 0) ::close(fd);
    return content;
  }
  // Read whole, in one call for a file that keeps its size; one a kernel
  // reports as empty, or that grew since, is read on to its end.
  std::string bytes(static_cast<size_t>(info.st_size) + 1, '\0');
  size_t used = 0;
  for (;;) {
    if (used == bytes.size()) bytes.resize(2 * used);
    const ssize_t got = ::read(fd, bytes.data() + used, bytes.size() - used);
    if (got > 0) {
      used += static_cast<size_t>(got);
    } else if (got == 0) {
      break;
    } else if (errno != EINTR) {
      content.problem = path + ": " + std::strerror(errno);
      ::close(fd);
      return content;
    }
  }
  ::close(fd);
  bytes.resize(used);
  content.bytes = std::move(bytes);
  return content;
}

}  // namespace quorvi
