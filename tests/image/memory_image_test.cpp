// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/memory_image.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"

namespace quorvi {
namespace {

// "Clear Buffer" blanks slots 0..32760 and keeps the configuration, IDs and
// 18F bytes; selecting a device blanks its own words, IDs and configuration
// (selection knows no serial-EEPROM blank). Both blank every data byte.
TEST(MemoryImage, ClearAndSelectionBlankTheirAreasWithTheFamilysBlank) {
  std::string out;
  for (const bool select : {false, true}) {
    for (const char* name : {"16F84", "12C508A", "24C16", "18F452", "16C622:map21"}) {
      MemoryImage image;
      std::fill(image.programBuffer.begin(), image.programBuffer.end(), 7);
      image.dataBuffer.fill(3);
      image.configWord = 0x1234;
      image.idWords = {1, 2, 3, 4, 5};
      image.config18Bytes.fill(0x42);
      (select ? ResetImageOnSelection : ClearImage)(test::TestDevice(name), image);
      out += std::string(select ? "== select " : "== clear ") + name + "\n" + test::Dump(image);
    }
  }
  EXPECT_EQ(test::GoldenMismatch("memory_image_reset.txt", out), "");
}

// The loader keeps the 18F bytes in pairs, odd address first, and none for 30000Ch/30000Dh.
TEST(MemoryImage, Config18ImageByteFindsEachRegistersByte) {
  MemoryImage image;
  image.config18Bytes = {0x11, 0x10, 0x13, 0x12, 0x15, 0x14, 0x17, 0x16, 0x19, 0x18, 0x1B, 0x1A, 0x1F, 0x1E};
  for (int offset = 0; offset < 16; ++offset) {
    const bool none = offset == 12 || offset == 13;
    EXPECT_EQ(Config18ImageByte(image, offset), none ? std::nullopt : std::optional<uint8_t>(0x10 + offset)) << offset;
  }
}

}  // namespace
}  // namespace quorvi
