// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace quorvi {

namespace {

std::string Reason(int error) { return std::strerror(error); }

Status WriteAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(fd, content.data(), content.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return Status::Fail(Reason(errno));
    }
    content.remove_prefix(static_cast<size_t>(written));
  }
  return Status::Ok();
}

}  // namespace

Status WriteFileAtomically(const std::string& path, std::string_view content) {
  const std::filesystem::path target(path);
  const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
  std::string pattern = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
  const int fd = ::mkstemp(pattern.data());
  if (fd < 0) return Status::Fail("Cannot write " + path + ": " + Reason(errno));
  Status status = WriteAll(fd, content);
  if (status && ::fsync(fd) != 0) status = Status::Fail(Reason(errno));
  // mkstemp makes the file private: keep the old file's permissions, or
  // give a new one the usual rw-r--r--.
  if (status) {
    struct stat old {};
    const mode_t mode = ::stat(path.c_str(), &old) == 0 ? (old.st_mode & 07777U) : 0644U;
    ::fchmod(fd, mode);
  }
  if (::close(fd) != 0 && status) status = Status::Fail(Reason(errno));
  if (status && std::rename(pattern.c_str(), path.c_str()) != 0) status = Status::Fail(Reason(errno));
  if (!status) {
    std::remove(pattern.c_str());
    return Status::Fail("Cannot write " + path + ": " + status.message());
  }
  return Status::Ok();
}

}  // namespace quorvi
