// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/catalogue.h"

#include <gtest/gtest.h>

#include "support/catalogue_lines.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

using test::DeviceLine;

// A catalogue file in a temporary folder, lines joined with CR LF.
struct Catalogue {
  test::TempDir dir;
  std::string path;
  explicit Catalogue(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\r\n";
    path = dir.Write("device.ini", text);
  }
};

TEST(ParseDeviceLine, ReadsEveryColumn) {
  const std::string line = DeviceLine({.programSize = "07FF", .dataBytes = "0080", .family = "8", .fuseMap = "12",
                                       .writeMode = "1", .pins = "28", .oscList = "3", .wrtList = "2",
                                       .vddMin = "4.5", .vddMax = "5.5"});
  ASSERT_EQ(line.size(), 81U);
  DeviceDescriptor d;
  auto captions = ParseDeviceLine(line, d);
  ASSERT_TRUE(captions.ok()) << captions.message();
  EXPECT_EQ(d.name, "16F84");
  EXPECT_EQ(d.programSize, 0x7FF);
  EXPECT_EQ(d.dataBytes, 0x80);
  EXPECT_EQ(d.family, 8);
  EXPECT_EQ(d.fuseMap, 12);
  EXPECT_EQ(d.writeMode, 1);
  EXPECT_EQ(d.pinCount, 28);
  EXPECT_EQ(d.oscList, 3);
  EXPECT_EQ(d.wrtList, 2);
  EXPECT_EQ(d.pageSize, 4) << "columns 74-75 double as the page size";
  EXPECT_FLOAT_EQ(d.vddMin, 4.5F);
  EXPECT_FLOAT_EQ(d.vddMax, 5.5F);
  ASSERT_TRUE(captions.value().has_value());
  EXPECT_EQ(captions.value()->min, "4.5");
  EXPECT_EQ(captions.value()->max, "5.5");
}

TEST(ParseDeviceLine, SizesReadAsSigned16BitHexAndMissingFieldsAsZero) {
  const std::pair<const char*, int32_t> sizes[] = {{"FFFF", 65535}, {"8000", -32768}, {"7FFF", 32767},
                                                   {"0000", 0},     {"    ", 0},      {" 3FF", 0x3FF},
                                                   {"3F F", 0x3FF}, {"1FG0", 0x1F}};
  for (const auto& [field, size] : sizes) {
    DeviceDescriptor d;
    ASSERT_TRUE(ParseDeviceLine(DeviceLine({.programSize = field}), d).ok());
    EXPECT_EQ(d.programSize, size) << field;
  }
  DeviceDescriptor d;
  d.pinCount = 40;
  ASSERT_TRUE(ParseDeviceLine("PIC16C99", d).ok());
  EXPECT_EQ(d.name, "16C99");
  EXPECT_EQ(d.programSize, 0);
  EXPECT_EQ(d.family, 0);
  EXPECT_EQ(d.pinCount, 0);
}

TEST(ParseDeviceLine, VddValuesOnlyOnLinesLongerThan78) {
  std::string line = DeviceLine({.page = "16"});
  line.resize(78, ' ');
  DeviceDescriptor d;
  d.vddMin = 1.5F;
  d.vddMax = 6.5F;
  auto captions = ParseDeviceLine(line, d);
  ASSERT_TRUE(captions.ok());
  EXPECT_FALSE(captions.value().has_value());
  EXPECT_EQ(d.pageSize, 16);
  EXPECT_FLOAT_EQ(d.vddMin, 1.5F) << "unchanged";
  EXPECT_FLOAT_EQ(d.vddMax, 6.5F);

  line += "6";  // 79 characters: columns 74-76 and 79-81 are read now
  ASSERT_TRUE(ParseDeviceLine(line, d).ok());
  EXPECT_FLOAT_EQ(d.vddMin, 16.0F);
  EXPECT_FLOAT_EQ(d.vddMax, 6.0F);
}

TEST(ParseDeviceLine, ValuesThatDoNotFitAreErrorsNamingTheColumns) {
  DeviceDescriptor d;
  auto bad = ParseDeviceLine(DeviceLine({.family = "9E99"}), d);
  ASSERT_FALSE(bad.ok());
  EXPECT_EQ(bad.message(), "\"9E99\" in columns 33-36 (family) is out of range");
  bad = ParseDeviceLine(DeviceLine({.wrtList = "-1"}), d);
  ASSERT_FALSE(bad.ok());
  EXPECT_NE(bad.message().find("write-protection list"), std::string::npos) << bad.message();
}

TEST(LoadDeviceRecord, TheFirstLineStartingWithTheKeyWins) {
  std::string lower = DeviceLine({.programSize = "01FF"});
  for (char& ch : lower) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  Catalogue cat({"; comment", DeviceLine({.name = "16F84A"}), lower,
                 DeviceLine({.kind = "EEP", .name = "24C02", .programSize = "00FF", .family = "5"})});
  DeviceDescriptor d;
  ASSERT_TRUE(LoadDeviceRecord(cat.path, "16F84", d).ok());
  EXPECT_EQ(d.name, "16F84A") << "16F84 is a prefix of the earlier 16F84A line";
  EXPECT_EQ(d.programSize, 0x3FF);
  ASSERT_TRUE(LoadDeviceRecord(cat.path, "24C02", d).ok());
  EXPECT_EQ(d.family, 5);
  EXPECT_EQ(d.programSize, 0xFF);

  // Lines are upper-cased for the comparison, the key is not.
  Catalogue lowerOnly({lower});
  ASSERT_TRUE(LoadDeviceRecord(lowerOnly.path, "16F84", d).ok());
  EXPECT_FALSE(LoadDeviceRecord(lowerOnly.path, "16f84", d).ok());
}

TEST(LoadDeviceRecord, MissingNamesAndFilesAreMessagesAndChangeNothing) {
  Catalogue cat({DeviceLine({})});
  Catalogue broken({"; first", DeviceLine({.family = "1E9"})});
  DeviceDescriptor d;
  d.name = "before";
  EXPECT_EQ(LoadDeviceRecord(cat.path, "16F877", d).message(),
            "The device 16F877 is not in the catalogue " + cat.path);
  EXPECT_EQ(LoadDeviceRecord(cat.path + ".missing", "16F84", d).message(),
            "Cannot open the device catalogue " + cat.path + ".missing");
  const auto overflow = LoadDeviceRecord(broken.path, "16F84", d);
  ASSERT_FALSE(overflow.ok());
  EXPECT_TRUE(overflow.message().starts_with(broken.path + " line 2: ")) << overflow.message();
  EXPECT_EQ(d.name, "before");
}

TEST(LoadFuseMap, SixteenthTokenIsLostWithoutATrailingBlank) {
  const std::string sixteen = "- 3 CP1 CP1 x DEBUG WRT CPD LVP BODEN CP1/ CP0 PWRTE/ WDTE F1 F0";
  DeviceDescriptor d;
  Catalogue bare({sixteen});
  ASSERT_TRUE(LoadFuseMap(bare.path, 3, d).ok());
  EXPECT_EQ(d.fuseNames[15], "-");
  EXPECT_EQ(d.fuseNames[14], "3");
  EXPECT_EQ(d.fuseNames[13], "CP1");
  EXPECT_EQ(d.fuseNames[1], "F1");
  EXPECT_EQ(d.fuseNames[0], "") << "the last token has no blank after it";
  EXPECT_FALSE(d.pairFlag);

  Catalogue trailing({sixteen + " "});
  ASSERT_TRUE(LoadFuseMap(trailing.path, 3, d).ok());
  EXPECT_EQ(d.fuseNames[0], "F0");

  Catalogue pair({sixteen + " P P"});
  ASSERT_TRUE(LoadFuseMap(pair.path, 3, d).ok());
  EXPECT_EQ(d.fuseNames[0], "F0");
  EXPECT_TRUE(d.pairFlag);
  EXPECT_EQ(d.fuseNames[16], "") << "tokens past slot 0 are dropped";
}

TEST(LoadFuseMap, SlotsCarryOverTheLastLineIsTheFallbackAndADeviceLineCanBeTakenForAMap) {
  Catalogue cat({"; maps", "- 1 A B C D E F G H I J K L M N", "; between", "- 2 P Q", "- 3 R"});
  DeviceDescriptor d;
  ASSERT_TRUE(LoadFuseMap(cat.path, 2, d).ok());
  EXPECT_EQ(d.fuseNames[13], "P");
  EXPECT_EQ(d.fuseNames[12], "Q");
  EXPECT_EQ(d.fuseNames[11], "C") << "a short line keeps the earlier line's lower slots";
  EXPECT_EQ(d.fuseNames[2], "L");

  ASSERT_TRUE(LoadFuseMap(cat.path, 9, d).ok());
  EXPECT_EQ(d.fuseNames[14], "3") << "no match: the last line is the map";
  EXPECT_EQ(d.fuseNames[13], "R");

  d.fuseNames[5] = "stale";
  d.pairFlag = true;
  ASSERT_TRUE(LoadFuseMap(cat.path, 0, d).ok());
  for (size_t slot = 0; slot < 16; ++slot) EXPECT_EQ(d.fuseNames[slot], "") << slot;
  EXPECT_FALSE(d.pairFlag);

  Catalogue device({DeviceLine({.programSize = "0005"}), "- 5 WDTE"});  // its second token reads as 5
  ASSERT_TRUE(LoadFuseMap(device.path, 5, d).ok());
  EXPECT_EQ(d.fuseNames[15], "PIC16F84");
  EXPECT_EQ(d.fuseNames[13], "0040");
}

TEST(FuseMask, AddsNamedBitsAndSubtractsSlashedOnes) {
  DeviceDescriptor d;
  d.fuseNames[13] = "CP1";
  d.fuseNames[12] = "CP1";
  d.fuseNames[5] = "CP1/";
  d.fuseNames[3] = "PWRTE/";
  d.fuseNames[2] = "WDTE";
  EXPECT_EQ(FuseMask(d, "CP1"), 0x3000 - 0x20);
  EXPECT_EQ(FuseMask(d, "PWRTE"), -8);
  EXPECT_EQ(FuseMask(d, "WDTE"), 4);
  EXPECT_EQ(FuseMask(d, "BODEN"), 0);
  d.fuseNames[20] = "WDTE";  // slots past 15 count too
  EXPECT_EQ(FuseMask(d, "WDTE"), static_cast<int16_t>(4 + (1 << 20)));
}

TEST(FillOptionList, OnlyTheFirstRunCountsAndItsLastEntryIsSelected) {
  Catalogue cat({"1OSC LP", "1osc XT", "1OSC HS", "2OSC RC", "1OSC late", "10OSCINTRC", "3WRT"});
  auto list = FillOptionList(cat.path, "1OSC");
  ASSERT_TRUE(list.ok()) << list.message();
  EXPECT_EQ(list.value(), (OptionList{{"LP", "XT", "HS"}, 2}));
  list = FillOptionList(cat.path, "10OSC");
  ASSERT_TRUE(list.ok());
  EXPECT_EQ(list.value().entries, std::vector<std::string>{"INTRC"});
  EXPECT_EQ(FillOptionList(cat.path, "7OSC").message(), "The option list 7OSC is missing from " + cat.path);
  EXPECT_EQ(FillOptionList(cat.path, "3WRT").message(),
            cat.path + " line 7: an option line needs at least five characters");
}

TEST(FillDeviceList, EntriesKeepTheirBlankAndTheLastPinsStay) {
  Catalogue cat({"; a comment", "1OSC XT", DeviceLine({.name = "12C508", .pins = "08"}), "- 1 WDTE",
                 DeviceLine({.kind = "EEP", .name = "24C16", .pins = "08"}), DeviceLine({})});
  DeviceDescriptor d;
  auto list = FillDeviceList(cat.path, d);
  ASSERT_TRUE(list.ok()) << list.message();
  EXPECT_EQ(list.value(), (std::vector<std::string>{"12C508 ", "24C16 ", "16F84 "}));
  EXPECT_EQ(d.pinCount, 18);
}

TEST(FillDeviceList, BadLinesAreNamedAndLeftOutWhileTheOthersLoad) {
  // Fields are comma-delimited: the comment's second field is read as a (cut) device line.
  Catalogue cat({"; see also, PIC16X99 in the notes", DeviceLine({.programSize = "8000"}),
                 DeviceLine({}).substr(0, 50), DeviceLine({.family = "1X"}),
                 DeviceLine({.vddMin = "3.0", .vddMax = "9.5"}), DeviceLine({.name = "16F84ABCDEFGHIJKL"}),
                 DeviceLine({}), "; trailing comment"});
  DeviceDescriptor d;
  std::vector<std::string> problems;
  auto list = FillDeviceList(cat.path, d, &problems);
  ASSERT_TRUE(list.ok()) << list.message();
  EXPECT_EQ(list.value(), (std::vector<std::string>{"16F84 "}));
  const std::vector<std::string> expected = {
      cat.path + " line 1: the line ends at column 21, before the pins (columns 57-58)",
      cat.path + " line 2: program size 8000h is above 7FFFh (only FFFF is allowed there)",
      cat.path + " line 3: the line ends at column 50, before the pins (columns 57-58)",
      cat.path + " line 4: family (columns 33-36) \"1X\" is not a decimal number",
      cat.path + " line 5: supply range \"3.0\" to \"9.5\" V is not a range from above 0 to at most 6.5 V",
      cat.path + " line 6: the device name must end with a blank before column 17",
  };
  EXPECT_EQ(problems, expected);
  // Choosing a bad device names its line too.
  auto selected = LoadDeviceRecord(cat.path, "16F84", d);
  ASSERT_FALSE(selected.ok());
  EXPECT_EQ(selected.message(), expected[1]);

  Catalogue empty({});
  EXPECT_FALSE(FillDeviceList(empty.path, d).ok());
}

}  // namespace
}  // namespace quorvi
