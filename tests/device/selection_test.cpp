// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/selection.h"

#include <gtest/gtest.h>

#include "support/catalogue_lines.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

std::string Line(const char* kind, const char* name, const char* size, const char* data, const char* fam,
                 const char* map, const char* pins, const char* osc, const char* wrt = "0") {
  return test::DeviceLine({.kind = kind, .name = name, .programSize = size, .dataBytes = data, .family = fam,
                           .fuseMap = map, .pins = pins, .oscList = osc, .wrtList = wrt});
}

// One device of each kind the window shapes differently.
class Selection : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::vector<std::string> lines{
        "; test catalogue",
        "- 1 CP CP CP CP CP CP CP CP CP CP PWRTE/ WDTE F F ",
        "- 2 x x x x x x x x MCLRE CP PWRTE/ WDTE x x ",
        "- 21 BG1 BG0 x x x CPD CP BODEN MCLRE PWRTE/ WDTE x x x ",
        "- 8 CP1 CP0 BKB x WRT1 WRT1 x CPD LVP BODEN CP1 CP0 PWRTE/ WDTE x ",
        "- 9 x x x x x x x x x x x x x x ",
        "1OSC LP", "1OSC XT", "1OSC HS", "1OSC RC",
        "2OSC LP", "2OSC XT", "2OSC INTRC", "2OSC EXTRC",
        "7OSC LP", "7OSC XT", "7OSC HS", "7OSC EC", "7OSC INTRC IO", "7OSC INTRC CLKOUT", "7OSC EXTRC IO",
        "7OSC EXTRC CLKOUT",
        "0OSC -",
        "3WRT all", "3WRT none", "3WRT half",
        test::DeviceLine({.vddMin = "4.5", .vddMax = "5.5"}),
        Line("PIC", "12C508", "01FF", "0000", "4", "2", "08", "2"),
        Line("PIC", "12F675", "03FF", "0080", "1", "21", "08", "7"),
        Line("PIC", "16F876", "1FFF", "0100", "8", "8", "28", "1", "3"),
        Line("PIC", "18F452", "3FFF", "0100", "7", "9", "40", "0"),
        Line("PIC", "14000", "0FFF", "0000", "3", "9", "28", "1"),
        Line("PIC", "16C99", "07FF", "0000", "0", "2", "18", "1"),
        Line("EEP", "24C16", "07FF", "0000", "5", "0", "08", "0"),
    };
    std::string text;
    for (const std::string& line : lines) text += line + "\r\n";
    path = dir.Write("device.ini", text);
  }

  SelectionView Select(const char* name, bool keep = false) {
    Result<SelectionView> view = SelectDevice(path, name, device, image, keep);
    EXPECT_TRUE(view.ok()) << view.message();
    return view.ok() ? view.value() : SelectionView{};
  }

  static const FrameLayout& Frame(const SelectionView& view, const std::string& name) {
    for (const FrameLayout& frame : view.frames) {
      if (frame.name == name) return frame;
    }
    static const FrameLayout kNone;
    ADD_FAILURE() << "no frame " << name;
    return kNone;
  }

  test::TempDir dir;
  std::string path;
  DeviceDescriptor device;
  MemoryImage image;
};

TEST_F(Selection, FlashPartWithDataEeprom) {
  image.programBuffer[0x400] = 0x1234;  // beyond the device: left alone
  const SelectionView view = Select("16F84");
  EXPECT_EQ(device.name, "16F84");
  EXPECT_EQ(view.blankWord, 0x3FFF);
  EXPECT_EQ(image.programBuffer[0], 0x3FFF);
  EXPECT_EQ(image.programBuffer[0x3FF], 0x3FFF);
  EXPECT_EQ(image.programBuffer[0x400], 0x1234);
  EXPECT_EQ(image.configWord, 0x3FFF);
  EXPECT_EQ(image.idWords[3], 0x3FFF);
  EXPECT_EQ(image.dataBuffer[256], 0xFF);
  EXPECT_FALSE(view.frame18Visible);
  EXPECT_TRUE(view.chkEraseVisible);
  EXPECT_FALSE(view.chkTurboVisible);
  EXPECT_TRUE(view.cmdFillVisible);
  EXPECT_TRUE(view.dataListVisible);
  EXPECT_FALSE(view.calibrationText.has_value());
  ASSERT_TRUE(view.vddCaptions.has_value());
  EXPECT_EQ(view.vddCaptions->min, "4.5");
  ASSERT_TRUE(view.oscillatorList.has_value());
  EXPECT_EQ(view.oscillatorList->entries.size(), 4U);
  EXPECT_EQ(view.config.oscIndex, 3);
  EXPECT_EQ(view.socketPicture, "imgSoq18");
  EXPECT_EQ(view.config.txtFuses, " Fuse=3FFF");
  // WDTE frame first at the oscillator frame's foot, then PWRTE; CP0 is
  // tested by "WDTE" and so is shown too, below them.
  EXPECT_EQ(Frame(view, "frameWDTE"), (FrameLayout{"frameWDTE", true, 1200}));
  EXPECT_EQ(Frame(view, "framePWRTE"), (FrameLayout{"framePWRTE", true, 1520}));
  EXPECT_EQ(Frame(view, "frameCP0"), (FrameLayout{"frameCP0", true, 1840}));
  EXPECT_FALSE(Frame(view, "frameCP1").visible);
  EXPECT_FALSE(Frame(view, "frameWRT").visible);
  EXPECT_FALSE(view.writeProtectionList.has_value());
}

TEST_F(Selection, TwelveBitPartBlanksToFFFAndIdsToF) {
  const SelectionView view = Select("12C508");
  EXPECT_EQ(view.blankWord, 0xFFF);
  EXPECT_EQ(image.programBuffer[0], 0xFFF);
  EXPECT_EQ(image.programBuffer[0x1FF], 0xFFF);
  EXPECT_EQ(image.configWord, 0xFFF);
  EXPECT_EQ(image.idWords[0], 0xF);
  EXPECT_EQ(image.idWords[3], 0xF);
  EXPECT_TRUE(view.chkTurboVisible);
  EXPECT_FALSE(view.chkEraseVisible);
  EXPECT_FALSE(view.cmdFillVisible);
  EXPECT_FALSE(view.dataListVisible);
  EXPECT_EQ(view.socketPicture, "imgSoq8novo");
  EXPECT_EQ(Frame(view, "frameMCLRE").top, 1200 + 320 + 320);
}

TEST_F(Selection, FuseMap21StartsAt1FFAndShowsTheCalibrationBox) {
  const SelectionView view = Select("12F675");
  EXPECT_EQ(image.configWord, 0x1FF);
  EXPECT_EQ(view.calibrationText, " R=");
  EXPECT_EQ(view.config.txtFuses, " Fuse=1FF");
  EXPECT_EQ(view.oscillatorList->entries.size(), 8U);
  EXPECT_EQ(view.config.oscIndex, 7);
}

TEST_F(Selection, WriteProtectionListAndFrameSteps) {
  const SelectionView view = Select("16F876");
  EXPECT_EQ(view.calibrationText, " R=") << "names starting 16F87 show it";
  ASSERT_TRUE(view.writeProtectionList.has_value());
  EXPECT_EQ(view.writeProtectionList->entries, (std::vector<std::string>{"all", "none", "half"}));
  EXPECT_EQ(view.writeProtectionList->selectedIndex, 2);
  // WDTE, PWRTE, CP0 (by WDTE), CP1, BODEN at 320 each; Debug (by BKD) hidden;
  // WRT by WRT1, then CPD after its 340 step, then LVP.
  EXPECT_EQ(Frame(view, "frameBoden").top, 1200 + 4 * 320);
  EXPECT_FALSE(Frame(view, "frameDebug").visible) << "tested by BKD although its buttons act on BKB";
  EXPECT_EQ(Frame(view, "frameWRT").top, 1200 + 5 * 320);
  EXPECT_EQ(Frame(view, "frameCPD").top, 1200 + 5 * 320 + 340);
  EXPECT_EQ(Frame(view, "frameLVP").top, 1200 + 6 * 320 + 340);
  EXPECT_EQ(view.socketPicture, "imgSoq28");
}

TEST_F(Selection, EighteenFPartWithoutOscillatorOrFuseNames) {
  const SelectionView view = Select("18F452");
  EXPECT_TRUE(view.frame18Visible);
  EXPECT_FALSE(view.frameIDVisible);
  EXPECT_FALSE(view.frameOSC1Visible);
  EXPECT_TRUE(view.cmdFillVisible);
  for (const FrameLayout& frame : view.frames) EXPECT_FALSE(frame.visible) << frame.name;
  EXPECT_EQ(view.socketPicture, "imgSoq40");
}

TEST_F(Selection, The14000HasCalibrationMenusAndItsOwnSocket) {
  SelectionView view = Select("14000");
  EXPECT_TRUE(view.calibrationMenusEnabled);
  EXPECT_EQ(view.socketPicture, "imgSoq14000");
  view = Select("16F84");
  EXPECT_FALSE(view.calibrationMenusEnabled);
}

TEST_F(Selection, FutureProductIsReportedAndHasNoMemory) {
  const SelectionView view = Select("16C99");
  ASSERT_TRUE(view.message.has_value());
  EXPECT_EQ(*view.message, (UserMessage{"Future product, not implemented yet", "Quorvi 2", MessageIcon::kInformation}));
  EXPECT_EQ(device.programSize, 0);
  EXPECT_FALSE(view.oscillatorList.has_value()) << "nothing to fill without memory";
  EXPECT_EQ(view.socketPicture, "imgSoq18") << "cleared, then drawn again by pin count";
}

TEST_F(Selection, SerialEeprom) {
  const SelectionView view = Select("24C16");
  EXPECT_FALSE(view.mnuSQTPEnabled);
  EXPECT_TRUE(view.mnuSQTPUnchecked);
  EXPECT_FALSE(view.txtFusesVisible);
  EXPECT_TRUE(view.cmdHex16to8Visible);
  EXPECT_TRUE(view.cmdFillVisible);
  EXPECT_FALSE(view.chkEraseVisible);
  EXPECT_TRUE(view.chkTurboVisible) << "hidden for EEPROMs first, then shown by the family rule";
  EXPECT_FALSE(view.chkTestBlankVisible);
  EXPECT_FALSE(view.cmdWriteFuseVisible);
  EXPECT_FALSE(view.oscillatorList.has_value());
  EXPECT_FALSE(view.socketPicture.has_value());
  EXPECT_EQ(image.programBuffer[0x7FF], 0x3FFF) << "selection blanks with 3FFF even here";
}

TEST_F(Selection, AKeptImageIsLeftAlone) {
  Select("16F84");
  image.programBuffer[5] = 0x1234;
  image.configWord = 0x3FF1;
  const SelectionView view = Select("16F84", /*keep=*/true);
  EXPECT_EQ(image.programBuffer[5], 0x1234);
  EXPECT_EQ(view.config.txtFuses, " Fuse=3FF1");
}

TEST_F(Selection, AFailedSelectionChangesNothing) {
  Select("16F84");
  image.programBuffer[5] = 0x1234;
  const MemoryImage before = image;
  Result<SelectionView> view = SelectDevice(path, "16F999", device, image, false);
  ASSERT_FALSE(view.ok());
  EXPECT_EQ(view.message(), "The device 16F999 is not in the catalogue " + path);
  EXPECT_EQ(device.name, "16F84");
  EXPECT_TRUE(image == before);
}

TEST(DeviceListIndex, NeverPreselectsTheFirstEntry) {
  const std::vector<std::string> entries{"12C508 ", "16F84 ", "24C16 "};
  EXPECT_EQ(DeviceListIndex(entries, "16F84"), 1);
  EXPECT_EQ(DeviceListIndex(entries, "24C16"), 2);
  EXPECT_FALSE(DeviceListIndex(entries, "12C508").has_value());
  EXPECT_FALSE(DeviceListIndex(entries, "16F877").has_value());
}

}  // namespace
}  // namespace quorvi
