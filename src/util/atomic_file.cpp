// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace quorvi {

Status WriteFileAtomically(const std::string& path, const std::string& content) {
  std::string pattern = path + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = mkstemp(name.data());
  if (fd < 0) return Status::Fail("Cannot write " + path + ": " + std::strerror(errno));
  const std::string temporary(name.data());
  size_t written = 0;
  while (written < content.size()) {
    const ssize_t n = write(fd, content.data() + written, content.size() - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      const int error = errno;
      close(fd);
      unlink(temporary.c_str());
      return Status::Fail("Cannot write " + path + ": " + std::strerror(error));
    }
    written += static_cast<size_t>(n);
  }
  // mkstemp makes the file private; give it the usual permissions.
  fchmod(fd, 0644);
  if (fsync(fd) != 0 || close(fd) != 0) {
    const int error = errno;
    unlink(temporary.c_str());
    return Status::Fail("Cannot write " + path + ": " + std::strerror(error));
  }
  if (std::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    unlink(temporary.c_str());
    return Status::Fail("Cannot write " + path + ": " + std::strerror(error));
  }
  return Status::Ok();
}

}  // namespace quorvi
