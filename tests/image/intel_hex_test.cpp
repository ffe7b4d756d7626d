// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/intel_hex.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quorvi {
namespace {

HexBlock Block(uint32_t address, size_t size) {
  HexBlock block{address, std::string(size, '\0'), {}};
  for (size_t i = 0; i < size; ++i) block.bytes[i] = static_cast<char>((address + i * 7) & 0xFF);
  return block;
}

// Blocks off the 16-byte grid, across 64 KiB boundaries, and one far above:
// each must come back whole, in records that keep the writer's own rules.
TEST(FormatIntelHex, OddBlocksComeBackWholeInRecordsOnTheGrid) {
  const std::vector<std::vector<HexBlock>> layouts = {
      {},
      {Block(0, 1)},
      {Block(0xFFF7, 37)},
      {Block(0x1FFFF, 1), Block(0x20005, 20), Block(0x30003, 70000)},
      {Block(0x300000, 14), Block(0xF00000, 8)},
  };
  for (const std::vector<HexBlock>& blocks : layouts) {
    const std::string text = FormatIntelHex(blocks);
    SCOPED_TRACE(text.substr(0, 200));
    std::istringstream lines(text);
    uint32_t upper = 0;
    for (std::string line; std::getline(lines, line);) {
      ASSERT_EQ(line.back(), '\r');
      const auto field = [&line](size_t at, size_t digits) {
        return static_cast<uint32_t>(std::stoul(line.substr(at, digits), nullptr, 16));
      };
      const uint32_t count = field(1, 2);
      const uint32_t type = field(7, 2);
      if (type == 4) {
        const uint32_t next = field(9, 4);
        EXPECT_NE(next, upper) << "an address record that changes nothing";
        upper = next;
      } else if (type == 0) {
        const uint32_t address = (upper << 16) | field(3, 4);
        EXPECT_LE(address % 16 + count, 16U) << "a record across the 16-byte grid at " << address;
      }
    }
    const Result<HexContent> parsed = ParseIntelHex(text, "formatted");
    ASSERT_TRUE(parsed) << parsed.message();
    ASSERT_EQ(parsed.value().blocks.size(), blocks.size());
    for (size_t i = 0; i < blocks.size(); ++i) {
      EXPECT_EQ(parsed.value().blocks[i].address, blocks[i].address);
      EXPECT_EQ(parsed.value().blocks[i].bytes, blocks[i].bytes);
    }
  }
}

}  // namespace
}  // namespace quorvi
