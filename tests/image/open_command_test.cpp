// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/open_command.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "support/devices.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

std::string Opened(const std::vector<std::string>& a) {
  test::TempDir dir;
  const std::string path = (dir.path() / "board.hex").string();
  if (a.size() < 3) dir.Write("board.hex", ":020000003412B8\n:02400E00F13F80\n:00000001FF\n");
  if (a.at(0) != "none") dir.Write("board.SQT", a.at(0));
  MemoryImage image = test::SelectedImage(test::Pic16F84());
  SerialState serial;
  serial.switchedOn = a.at(1) == "on";
  const OpenedImage opened = OpenImageCommand(path, test::Pic16F84(), image, serial);
  const std::string indicator = opened.serial ? "indicator " + test::Hex(opened.serial->colour) + " \"" +
                                                    opened.serial->indicator + "\""
                                              : "no indicator";
  const std::string said = std::string(opened.load.loaded ? "loaded" : "refused") + ", word " +
                           test::Hex(image.programBuffer[0]) + ", " + opened.path + " \"" + opened.fileName + "\" in " +
                           opened.lastDirectory + ", " +
                           (opened.timeStamp != FileTimeStamp(path) ? "wrong stamp"
                            : opened.timeStamp                     ? "stamped"
                                                                   : "no stamp") +
                           ", " + indicator + ", switch " + (serial.switchedOn ? "on" : "off") + ", start " +
                           std::to_string(serial.startAddress);
  return test::Replaced(said, dir.path().string(), "$DIR");
}

TEST(OpenImageCommand, LoadsAndSetsTheSwitchFromTheCompanionFile) {
  EXPECT_EQ(test::TableMismatches("open_command.txt", {{"OpenImageCommand", Opened}}), "");
}

}  // namespace
}  // namespace quorvi
