// SPDX-License-Identifier: GPL-3.0-or-later
// Why a file cannot be read, in the words a user needs to fix it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorvi {

/// Nothing the program reads comes near this: the largest image, every
/// word of a 64K-word part in one-byte HEX records, is about 2 MB.
inline constexpr uintmax_t kLargestInputBytes = 16U * 1024U * 1024U;

/// Why `path` cannot be read as a regular file of at most `maxBytes`:
/// "not found", "is a directory", "permission denied", "is not a regular
/// file" or "is too large (N bytes; at most M)". Nothing when it can.
std::optional<std::string> UnreadableReason(const std::string& path, uintmax_t maxBytes = kLargestInputBytes);

/// The whole of a file that `UnreadableReason` lets through; otherwise the
/// message "PATH: REASON".
struct FileContent {
  std::optional<std::string> bytes;
  std::string problem;  // when there are no bytes
  bool missing = false;
};
FileContent ReadWholeFile(const std::string& path, uintmax_t maxBytes = kLargestInputBytes);

}  // namespace quorvi
