// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/calibration.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "support/devices.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

MemoryImage CalibratedImage() {
  MemoryImage image = test::SelectedImage(test::Pic14000());
  for (size_t a = 0xFC0; a <= 0xFFF; ++a) image.programBuffer[a] = static_cast<int32_t>(0x3400 + (a & 0x3F));
  image.programBuffer[0xFBF] = 0x1111;
  image.programBuffer[0x1000] = 0x2222;
  return image;
}

TEST(CalibrationFile, SavesEightRecordsFrom1F80To1FF0AndTheDataSectionOfDataParts) {
  for (const DeviceDescriptor& device : {test::Pic14000(), test::Pic16F84()}) {
    test::TempDir dir;
    ASSERT_TRUE(SaveCalibrationFile((dir.path() / "chip.cal").string(), device, CalibratedImage()).ok());
    const auto lines = test::SplitLines(dir.Read("chip.cal"));
    const size_t dataRecords = device.name == "16F84" ? 32 : 0;
    ASSERT_EQ(lines.size(), 8U + dataRecords + 1U) << device.name;
    for (int k = 0; k < 8; ++k) {
      std::vector<int> bytes;
      for (int i = 0; i < 8; ++i) bytes.insert(bytes.end(), {8 * k + i, 0x34});
      EXPECT_EQ(lines[static_cast<size_t>(k)], test::HexRecord(0x1F80 + 16 * k, 0, bytes)) << k;
    }
    if (dataRecords > 0) {
      EXPECT_EQ(lines[8].substr(0, 9), ":10420000");
    }
    EXPECT_EQ(lines.back(), ":00000001FF");
  }
}

TEST(CalibrationFile, RoundTripChangesOnlyTheAreaAndTheConfigurationWord) {
  test::TempDir dir;
  const std::string path = (dir.path() / "chip.cal").string();
  const DeviceDescriptor device = test::Pic14000();
  ASSERT_TRUE(SaveCalibrationFile(path, device, CalibratedImage()).ok());

  MemoryImage image = test::SelectedImage(device);
  for (size_t a = 0; a < image.programBuffer.size(); ++a) image.programBuffer[a] = 0x0777;
  image.configWord = 0x3F00;
  image.idWords = {1, 2, 3, 4, 0};
  image.dataBuffer.fill(0x12);
  MemoryImage expected = image;
  for (size_t a = 0xFC0; a <= 0xFFF; ++a) expected.programBuffer[a] = static_cast<int32_t>(0x3400 + (a & 0x3F));
  expected.configWord = 0x3FFF;  // every load resets it to the blank word

  const LoadReport report = LoadCalibrationFile(path, device, image);
  ASSERT_TRUE(report.loaded);
  EXPECT_TRUE(report.messages.empty());
  EXPECT_EQ(image, expected);
}

}  // namespace
}  // namespace quorvi
