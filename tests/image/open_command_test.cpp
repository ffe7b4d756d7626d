// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/open_command.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "support/devices.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(OpenImageCommand, LoadsAndSetsTheSwitchFromTheCompanionFile) {
  struct Case {
    const char* companion;  // nothing: no file
    bool switchedOn;
    const char* indicator;  // empty while the numbering is inactive
  };
  for (const Case c : {Case{nullptr, false, ""}, {"41\n1020\n4\n1\n", true, "0041"}, {"41\n1020\n4\n0\n", true, ""}}) {
    test::TempDir dir;
    const std::string path = dir.Write("board.hex", ":020000003412B8\n:02400E00F13F80\n:00000001FF\n");
    if (c.companion != nullptr) dir.Write("board.SQT", c.companion);
    const DeviceDescriptor device = test::Pic16F84();
    MemoryImage image = test::SelectedImage(device);
    SerialState serial;
    serial.switchedOn = !c.switchedOn;
    const OpenedImage opened = OpenImageCommand(path, device, image, serial);
    ASSERT_TRUE(opened.load.loaded);
    EXPECT_EQ(image.programBuffer[0], 0x1234);
    EXPECT_EQ(opened.fileName, "board.hex");
    EXPECT_EQ(opened.lastDirectory, dir.path().string());
    ASSERT_TRUE(opened.timeStamp.has_value());
    EXPECT_EQ(opened.timeStamp, FileTimeStamp(path));
    ASSERT_TRUE(opened.serial.has_value());
    EXPECT_EQ(opened.serial->colour, c.switchedOn ? kSerialOnColour : kSerialOffColour);
    EXPECT_EQ(opened.serial->indicator, c.indicator);
    EXPECT_EQ(serial.switchedOn, c.switchedOn);
    EXPECT_EQ(serial.startAddress, c.companion != nullptr ? 1020 : 0);
  }
}

TEST(OpenImageCommand, AMissingFileKeepsTheNameButNothingElse) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = test::SelectedImage(device);
  SerialState serial;
  serial.switchedOn = true;
  const OpenedImage opened = OpenImageCommand("/nonexistent/a.hex", device, image, serial);
  EXPECT_FALSE(opened.load.loaded);
  EXPECT_EQ(opened.path, "/nonexistent/a.hex");
  EXPECT_EQ(opened.fileName, "a.hex");
  EXPECT_FALSE(opened.timeStamp.has_value());
  EXPECT_FALSE(opened.serial.has_value());
  EXPECT_TRUE(serial.switchedOn);
  EXPECT_FALSE(FileTimeStamp("/nonexistent/a.hex").has_value());
}

}  // namespace
}  // namespace quorvi
