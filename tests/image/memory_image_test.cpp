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

TEST(ClearImage, BlanksTheFirst32761SlotsWhateverTheDevice) {
  MemoryImage image = Marked();
  ClearImage(test::Pic16F84(), image);
  for (size_t a = 0; a <= 32760; ++a) ASSERT_EQ(image.programBuffer[a], 0x3FFF) << a;
  for (size_t a = 32761; a < image.programBuffer.size(); ++a) ASSERT_EQ(image.programBuffer[a], 7) << a;
  for (const int16_t byte : image.dataBuffer) EXPECT_EQ(byte, 0xFF);
}

TEST(ClearImage, LeavesConfigurationIdsAnd18FBytes) {
  MemoryImage image = Marked();
  ClearImage(test::Pic18F452(), image);
  EXPECT_EQ(image.configWord, 0x1234);
  EXPECT_EQ(image.idWords, (std::array<int32_t, 5>{1, 2, 3, 4, 5}));
  for (const uint8_t byte : image.config18Bytes) EXPECT_EQ(byte, 0x42);
}

TEST(ClearImage, BlankWordFollowsTheFamily) {
  struct Case {
    DeviceDescriptor device;
    int32_t blank;
  };
  for (const auto& c : {Case{test::Pic12C508A(), 0xFFF}, Case{test::Eeprom24C16(), 0xFF},
                        Case{test::Pic16C622(), 0x3FFF}, Case{test::Pic18F452(), 0x3FFF}}) {
    MemoryImage image = Marked();
    ClearImage(c.device, image);
    EXPECT_EQ(image.programBuffer[0], c.blank) << c.device.name;
    EXPECT_EQ(image.programBuffer[32760], c.blank) << c.device.name;
    EXPECT_EQ(BlankWordForFamily(c.device.family), c.blank) << c.device.name;
  }
}

TEST(ResetImageOnSelection, TwelveBitPartBlanksTo0xFFFAndIdsTo0xF) {
  MemoryImage image = Marked();
  const DeviceDescriptor device = test::Pic12C508A();
  ResetImageOnSelection(device, image);
  for (size_t a = 0; a <= 0x1FF; ++a) ASSERT_EQ(image.programBuffer[a], 0xFFF) << a;
  EXPECT_EQ(image.programBuffer[0x200], 7);  // one slot past the size stays
  EXPECT_EQ(image.idWords, (std::array<int32_t, 5>{0xF, 0xF, 0xF, 0xF, 5}));
  EXPECT_EQ(image.configWord, 0xFFF);
  for (const int16_t byte : image.dataBuffer) EXPECT_EQ(byte, 0xFF);
}

TEST(ResetImageOnSelection, FuseMap21MasksTheConfigurationWord) {
  MemoryImage image = Marked();
  DeviceDescriptor device = test::Pic16C622();
  device.fuseMap = 21;
  ResetImageOnSelection(device, image);
  EXPECT_EQ(image.configWord, 0x1FF);
  EXPECT_EQ(image.idWords[0], 0x3FFF);
  EXPECT_EQ(image.programBuffer[0x7FF], 0x3FFF);
  EXPECT_EQ(image.programBuffer[0x800], 7);
}

TEST(ResetImageOnSelection, SerialEepromGetsTheFourteenBitBlank) {
  MemoryImage image = Marked();
  ResetImageOnSelection(test::Eeprom24C16(), image);
  EXPECT_EQ(image.programBuffer[0], 0x3FFF);
  EXPECT_EQ(image.configWord, 0x3FFF);
}

}  // namespace
}  // namespace quorvi
