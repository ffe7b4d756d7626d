// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace quorvi {

namespace {

std::string Reason(int error) { return std::strerror(error); }

constexpr size_t kUniqueChars = 6;  // mkstemp's XXXXXX

std::filesystem::path FolderOf(const std::filesystem::path& target) {
  return target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
}

std::string TemporaryPrefix(const std::filesystem::path& target) { return "." + target.filename().string() + "."; }

mode_t NewFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return static_cast<mode_t>(0666U & ~mask);
}

// The rename is durable only once the folder that holds the name is on the disk too.
void SyncFolder(const std::filesystem::path& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

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
  const std::filesystem::path folder = FolderOf(target);
  struct stat old {};
  const bool replacing = ::stat(path.c_str(), &old) == 0;
  if (replacing && ::access(path.c_str(), W_OK) != 0) {
    return Status::Fail("Cannot write " + path + ": " + Reason(errno) + " (the file is not replaced)");
  }
  // mkstemp opens a new name of its own with O_EXCL: a link planted there is never followed.
  std::string pattern = (folder / (TemporaryPrefix(target) + std::string(kUniqueChars, 'X'))).string();
  const int fd = ::mkstemp(pattern.data());
  if (fd < 0) return Status::Fail("Cannot write " + path + ": " + Reason(errno));
  Status status = WriteAll(fd, content);
  if (status && ::fsync(fd) != 0) status = Status::Fail(Reason(errno));
  // mkstemp makes the file private: a replaced file keeps its permissions, a new one follows the umask.
  if (status) ::fchmod(fd, replacing ? static_cast<mode_t>(old.st_mode & 07777U) : NewFileMode());
  if (::close(fd) != 0 && status) status = Status::Fail(Reason(errno));
  if (status && std::rename(pattern.c_str(), path.c_str()) != 0) status = Status::Fail(Reason(errno));
  if (!status) {
    std::remove(pattern.c_str());
    return Status::Fail("Cannot write " + path + ": " + status.message());
  }
  SyncFolder(folder);
  return Status::Ok();
}

void RemoveStaleTemporaries(const std::string& path) {
  namespace fs = std::filesystem;
  const fs::path target(path);
  const std::string prefix = TemporaryPrefix(target);
  std::error_code error;
  const auto now = fs::file_time_type::clock::now();
  for (fs::directory_iterator it(FolderOf(target), error), end; !error && it != end; it.increment(error)) {
    const std::string name = it->path().filename().string();
    if (name.size() != prefix.size() + kUniqueChars || !name.starts_with(prefix)) continue;
    std::error_code ignored;
    if (!it->is_regular_file(ignored) || it->is_symlink(ignored)) continue;
    if (now - fs::last_write_time(it->path(), ignored) < std::chrono::minutes(1)) continue;
    fs::remove(it->path(), ignored);
  }
}

}  // namespace quorvi
