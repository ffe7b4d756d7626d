// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/open_command.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "support/devices.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

// A file that does not load keeps its name, but takes no time stamp and
// leaves the numbering alone.
TEST(OpenImageCommand, LoadsAndSetsTheSwitchFromTheCompanionFile) {
  struct Case {
    const char* companion;  // nothing: no file
    bool switchedOn;
    const char* indicator;  // empty while the numbering is inactive
    bool loads = true;
  };
  for (const Case c : {Case{nullptr, false, ""}, {"41\n1020\n4\n1\n", true, "0041"}, {"41\n1020\n4\n0\n", true, ""},
                       {"41\n1020\n4\n0\n", false, "", false}}) {
    SCOPED_TRACE(c.companion == nullptr ? "no companion" : c.companion);
    test::TempDir dir;
    const std::string path = (dir.path() / "board.hex").string();
    if (c.loads) dir.Write("board.hex", ":020000003412B8\n:02400E00F13F80\n:00000001FF\n");
    if (c.companion != nullptr) dir.Write("board.SQT", c.companion);
    const DeviceDescriptor device = test::Pic16F84();
    MemoryImage image = test::SelectedImage(device);
    SerialState serial;
    serial.switchedOn = c.loads ? !c.switchedOn : c.switchedOn;
    const OpenedImage opened = OpenImageCommand(path, device, image, serial);
    EXPECT_EQ(opened.load.loaded, c.loads);
    EXPECT_EQ(image.programBuffer[0], c.loads ? 0x1234 : 0x3FFF);
    EXPECT_EQ(opened.path, path);
    EXPECT_EQ(opened.fileName, "board.hex");
    EXPECT_EQ(opened.lastDirectory, dir.path().string());
    EXPECT_EQ(opened.timeStamp, FileTimeStamp(path));
    EXPECT_EQ(opened.timeStamp.has_value(), c.loads);
    ASSERT_EQ(opened.serial.has_value(), c.loads);
    if (c.loads) {
      EXPECT_EQ(opened.serial->colour, c.switchedOn ? kSerialOnColour : kSerialOffColour);
      EXPECT_EQ(opened.serial->indicator, c.indicator);
    }
    EXPECT_EQ(serial.switchedOn, c.switchedOn);
    EXPECT_EQ(serial.startAddress, c.loads && c.companion != nullptr ? 1020 : 0);
  }
}

}  // namespace
}  // namespace quorvi
