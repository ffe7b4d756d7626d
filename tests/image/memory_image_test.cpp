// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/memory_image.h"

#include <gtest/gtest.h>

#include "support/devices.h"

namespace quorvi {
namespace {

MemoryImage Marked() {
  MemoryImage image;
  std::fill(image.programBuffer.begin(), image.programBuffer.end(), 7);
  image.dataBuffer.fill(3);
  image.configWord = 0x1234;
  image.idWords = {1, 2, 3, 4, 5};
  image.config18Bytes.fill(0x42);
  return image;
}

TEST(ClearImage, BlanksTheFirst32761SlotsAndTheDataWithTheFamilysBlank) {
  for (const auto& [device, blank] : {std::pair{test::Pic16F84(), 0x3FFF}, {test::Pic12C508A(), 0xFFF},
                                      {test::Eeprom24C16(), 0xFF}, {test::Pic16C622(), 0x3FFF},
                                      {test::Pic18F452(), 0x3FFF}}) {
    MemoryImage image = Marked();
    ClearImage(device, image);
    for (size_t a = 0; a <= 32760; ++a) ASSERT_EQ(image.programBuffer[a], blank) << device.name << " " << a;
    EXPECT_EQ(image.programBuffer[32761], 7) << device.name;
    for (const int16_t byte : image.dataBuffer) ASSERT_EQ(byte, 0xFF) << device.name;
    // The configuration, IDs and 18F bytes stay.
    EXPECT_EQ(image.configWord, 0x1234);
    EXPECT_EQ(image.idWords, (std::array<int32_t, 5>{1, 2, 3, 4, 5}));
    EXPECT_EQ(image.config18Bytes, Marked().config18Bytes);
  }
}

TEST(ResetImageOnSelection, BlanksTheDevicesWordsIdsAndConfiguration) {
  struct Case {
    DeviceDescriptor device;
    int32_t blank;
    int32_t id;
    int32_t configWord;
  };
  DeviceDescriptor map21 = test::Pic16C622();
  map21.fuseMap = 21;
  // Selection knows no serial-EEPROM blank: 24Cxx parts get the 14-bit one.
  for (const Case& c : {Case{test::Pic12C508A(), 0xFFF, 0xF, 0xFFF}, Case{map21, 0x3FFF, 0x3FFF, 0x1FF},
                        Case{test::Eeprom24C16(), 0x3FFF, 0x3FFF, 0x3FFF}}) {
    MemoryImage image = Marked();
    ResetImageOnSelection(c.device, image);
    const auto size = static_cast<size_t>(c.device.programSize);
    for (size_t a = 0; a <= size; ++a) ASSERT_EQ(image.programBuffer[a], c.blank) << c.device.name << " " << a;
    EXPECT_EQ(image.programBuffer[size + 1], 7) << c.device.name;
    EXPECT_EQ(image.idWords, (std::array<int32_t, 5>{c.id, c.id, c.id, c.id, 5})) << c.device.name;
    EXPECT_EQ(image.configWord, c.configWord) << c.device.name;
    for (const int16_t byte : image.dataBuffer) ASSERT_EQ(byte, 0xFF) << c.device.name;
  }
}

}  // namespace
}  // namespace quorvi
