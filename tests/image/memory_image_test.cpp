// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/memory_image.h"

#include <gtest/gtest.h>

#include "support/devices.h"

namespace quorvi {
namespace {

// "Clear Buffer" blanks slots 0..32760 and keeps the configuration, IDs and
// 18F bytes; selecting a device blanks its own words, IDs and configuration.
// Both blank every data byte.
TEST(MemoryImage, ClearAndSelectionBlankTheirAreasWithTheFamilysBlank) {
  struct Case {
    bool select;
    DeviceDescriptor device;
    int32_t blank;
    int32_t id;  // 0: the IDs stay
    int32_t configWord;
  };
  DeviceDescriptor map21 = test::Pic16C622();
  map21.fuseMap = 21;
  // Selection knows no serial-EEPROM blank: 24Cxx parts get the 14-bit one.
  for (const Case& c : {Case{false, test::Pic16F84(), 0x3FFF, 0, 0x1234}, {false, test::Pic12C508A(), 0xFFF, 0, 0x1234},
                        {false, test::Eeprom24C16(), 0xFF, 0, 0x1234}, {false, test::Pic18F452(), 0x3FFF, 0, 0x1234},
                        {true, test::Pic12C508A(), 0xFFF, 0xF, 0xFFF}, {true, map21, 0x3FFF, 0x3FFF, 0x1FF},
                        {true, test::Eeprom24C16(), 0x3FFF, 0x3FFF, 0x3FFF}}) {
    SCOPED_TRACE(std::string(c.select ? "select " : "clear ") + c.device.name);
    MemoryImage image;
    std::fill(image.programBuffer.begin(), image.programBuffer.end(), 7);
    image.dataBuffer.fill(3);
    image.configWord = 0x1234;
    image.idWords = {1, 2, 3, 4, 5};
    image.config18Bytes.fill(0x42);
    if (c.select) {
      ResetImageOnSelection(c.device, image);
    } else {
      ClearImage(c.device, image);
    }
    const auto last = c.select ? static_cast<size_t>(c.device.programSize) : size_t{32760};
    for (size_t a = 0; a <= last; ++a) ASSERT_EQ(image.programBuffer[a], c.blank) << a;
    EXPECT_EQ(image.programBuffer[last + 1], 7);
    for (const int16_t byte : image.dataBuffer) ASSERT_EQ(byte, 0xFF);
    EXPECT_EQ(image.idWords, c.id == 0 ? (std::array<int32_t, 5>{1, 2, 3, 4, 5})
                                       : (std::array<int32_t, 5>{c.id, c.id, c.id, c.id, 5}));
    EXPECT_EQ(image.configWord, c.configWord);
    if (!c.select) {
      for (const uint8_t byte : image.config18Bytes) EXPECT_EQ(byte, 0x42);
    }
  }
}

}  // namespace
}  // namespace quorvi
