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

// Eight records from 1F80h to 1FF0h, then the data section of the parts that have one.
TEST(CalibrationFile, SavesTheCalibrationAreaAndTheDataSectionOfDataParts) {
  for (const DeviceDescriptor& device : {test::Pic14000(), test::Pic16F84()}) {
    test::TempDir dir;
    ASSERT_TRUE(SaveCalibrationFile((dir.path() / "chip.cal").string(), device, CalibratedImage()).ok());
    EXPECT_EQ(test::GoldenMismatch("calibration_" + device.name + ".hex", dir.Read("chip.cal")), "");
  }
}

// Loading it back changes only the area and the configuration word, which
// every load resets to the blank word.
TEST(CalibrationFile, RoundTripChangesOnlyTheAreaAndTheConfigurationWord) {
  test::TempDir dir;
  const std::string path = (dir.path() / "chip.cal").string();
  const DeviceDescriptor device = test::Pic14000();
  ASSERT_TRUE(SaveCalibrationFile(path, device, CalibratedImage()).ok());

  MemoryImage image = test::SelectedImage(device);
  std::fill(image.programBuffer.begin(), image.programBuffer.end(), 0x0777);
  image.configWord = 0x3F00;
  image.idWords = {1, 2, 3, 4, 0};
  image.dataBuffer.fill(0x12);
  const LoadReport report = LoadCalibrationFile(path, device, image);
  ASSERT_TRUE(report.loaded);
  EXPECT_TRUE(report.messages.empty());
  EXPECT_EQ(test::GoldenMismatch("calibration_loaded.txt", test::Dump(image)), "");
}

}  // namespace
}  // namespace quorvi
