// SPDX-License-Identifier: GPL-3.0-or-later
// Intel HEX as every other tool reads and writes it: byte addresses, type 02
// and 04 extended addresses, checked sums. Knows nothing of devices.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "util/result.h"

namespace quorvi {

/// Bytes at consecutive addresses, as one or more adjacent records gave them.
struct HexBlock {
  uint32_t address = 0;
  std::string bytes;
  /// The file line of each record that starts inside the block: (offset, line).
  std::vector<std::pair<uint32_t, int>> lines;

  uint32_t end() const { return address + static_cast<uint32_t>(bytes.size()); }
  /// The line of the record that holds the byte at `offset`.
  int LineOf(uint32_t offset) const;
};

struct HexContent {
  /// In file order; two blocks never give one address different values.
  std::vector<HexBlock> blocks;
  /// Lines of ID records whose sums are those our earlier versions wrote.
  std::vector<int> oldIdRecordLines;
};

/// Parses `text`. Any malformed record, wrong checksum (but the known sums of
/// our earlier versions' ID records), unknown record type, missing end record,
/// or an address given two different values is an error naming `path` and
/// the line.
Result<HexContent> ParseIntelHex(std::string_view text, const std::string& path);

/// Data records of at most 16 bytes that never cross a 16-byte boundary,
/// type 04 records where the upper address changes (none below 64 KiB), the
/// end record; CR LF after each line.
std::string FormatIntelHex(const std::vector<HexBlock>& blocks);

}  // namespace quorvi
