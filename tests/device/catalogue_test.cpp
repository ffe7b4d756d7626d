// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/catalogue.h"

#include <gtest/gtest.h>

#include "support/catalogue_lines.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

using test::DeviceLine;
using test::DeviceLineFields;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

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
  DeviceLineFields f;
  f.programSize = "07FF";
  f.dataBytes = "0080";
  f.family = "8";
  f.fuseMap = "12";
  f.writeMode = "1";
  f.pins = "28";
  f.oscList = "3";
  f.wrtList = "2";
  f.vddMin = "4.5";
  f.vddMax = "5.5";
  const std::string line = DeviceLine(f);
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

TEST(ParseDeviceLine, SizesReadAsSigned16BitHex) {
  struct Case {
    const char* field;
    int32_t size;
  };
  for (const Case& c : {Case{"FFFF", 65535}, {"8000", -32768}, {"7FFF", 32767}, {"0000", 0}, {"    ", 0},
                        {" 3FF", 0x3FF}, {"3F F", 0x3FF}, {"1FG0", 0x1F}}) {
    DeviceLineFields f;
    f.programSize = c.field;
    DeviceDescriptor d;
    ASSERT_TRUE(ParseDeviceLine(DeviceLine(f), d).ok());
    EXPECT_EQ(d.programSize, c.size) << c.field;
  }
}

TEST(ParseDeviceLine, VddValuesOnlyOnLinesLongerThan78) {
  DeviceLineFields f;
  f.page = "16";
  std::string line = DeviceLine(f);
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

TEST(ParseDeviceLine, BlankAndShortFieldsReadAsZero) {
  DeviceDescriptor d;
  d.pinCount = 40;
  ASSERT_TRUE(ParseDeviceLine("PIC16C99", d).ok());
  EXPECT_EQ(d.name, "16C99");
  EXPECT_EQ(d.programSize, 0);
  EXPECT_EQ(d.family, 0);
  EXPECT_EQ(d.pinCount, 0);
}

TEST(ParseDeviceLine, ValuesThatDoNotFitAreErrorsNamingTheColumns) {
  DeviceLineFields family;
  family.family = "9E99";
  DeviceDescriptor d;
  auto bad = ParseDeviceLine(DeviceLine(family), d);
  ASSERT_FALSE(bad.ok());
  EXPECT_EQ(bad.message(), "\"9E99\" in columns 33-36 (family) is out of range");

  DeviceLineFields wrt;
  wrt.wrtList = "-1";
  bad = ParseDeviceLine(DeviceLine(wrt), d);
  ASSERT_FALSE(bad.ok());
  EXPECT_TRUE(Contains(bad.message(), "write-protection list")) << bad.message();
}

TEST(LoadDeviceRecord, TheFirstLineStartingWithTheKeyWins) {
  DeviceLineFields a, b, eep;
  a.name = "16F84A";
  a.programSize = "03FF";
  b.name = "16F84";
  b.programSize = "01FF";
  eep.kind = "EEP";
  eep.name = "24C02";
  eep.programSize = "00FF";
  eep.family = "5";
  std::string lower = DeviceLine(b);
  for (char& ch : lower) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  Catalogue cat({"; comment", DeviceLine(a), lower, DeviceLine(eep)});

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

TEST(LoadDeviceRecord, MissingNamesAndFilesAreMessages) {
  Catalogue cat({DeviceLine({})});
  DeviceDescriptor d;
  d.name = "before";
  auto missing = LoadDeviceRecord(cat.path, "16F877", d);
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.message(), "The device 16F877 is not in the catalogue " + cat.path);
  EXPECT_EQ(d.name, "before");

  auto noFile = LoadDeviceRecord(cat.path + ".missing", "16F84", d);
  ASSERT_FALSE(noFile.ok());
  EXPECT_EQ(noFile.message(), "Cannot open the device catalogue " + cat.path + ".missing");

  DeviceLineFields bad;
  bad.family = "1E9";
  Catalogue broken({"; first", DeviceLine(bad)});
  auto overflow = LoadDeviceRecord(broken.path, "16F84", d);
  ASSERT_FALSE(overflow.ok());
  EXPECT_TRUE(Contains(overflow.message(), broken.path + " line 2: ")) << overflow.message();
  EXPECT_EQ(d.name, "before");
}

TEST(LoadFuseMap, SixteenthTokenIsLostWithoutATrailingBlank) {
  const std::string sixteen = "- 3 CP1 CP1 x DEBUG WRT CPD LVP BODEN CP1/ CP0 PWRTE/ WDTE F1 F0";
  Catalogue cat({sixteen, sixteen + " ", sixteen + " P P"});
  DeviceDescriptor d;
  ASSERT_TRUE(LoadFuseMap(cat.path, 3, d).ok());
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

TEST(LoadFuseMap, SlotsCarryOverAndTheLastLineIsTheFallback) {
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
  for (int slot = 0; slot < 16; ++slot) EXPECT_EQ(d.fuseNames[static_cast<size_t>(slot)], "") << slot;
  EXPECT_FALSE(d.pairFlag);
}

TEST(LoadFuseMap, ADeviceLineCanBeTakenForAMap) {
  DeviceLineFields f;
  f.programSize = "0005";  // its second token reads as 5
  Catalogue cat({DeviceLine(f), "- 5 WDTE"});
  DeviceDescriptor d;
  ASSERT_TRUE(LoadFuseMap(cat.path, 5, d).ok());
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

  auto two = FillOptionList(cat.path, "10OSC");
  ASSERT_TRUE(two.ok());
  EXPECT_EQ(two.value().entries, std::vector<std::string>{"INTRC"});

  auto missing = FillOptionList(cat.path, "7OSC");
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.message(), "The option list 7OSC is missing from " + cat.path);

  auto tooShort = FillOptionList(cat.path, "3WRT");
  ASSERT_FALSE(tooShort.ok());
  EXPECT_EQ(tooShort.message(), cat.path + " line 7: an option line needs at least five characters");
}

TEST(FillDeviceList, EntriesKeepTheirBlankAndTheLastPinsStay) {
  DeviceLineFields a, b;
  a.name = "12C508";
  a.pins = "08";
  b.kind = "EEP";
  b.name = "24C16";
  b.pins = "08";
  DeviceLineFields c;
  c.pins = "18";
  Catalogue cat({"; Quorvi catalogue", "1OSC XT", DeviceLine(a), "- 1 WDTE", DeviceLine(b), DeviceLine(c)});
  DeviceDescriptor d;
  auto list = FillDeviceList(cat.path, d);
  ASSERT_TRUE(list.ok()) << list.message();
  EXPECT_EQ(list.value(), (std::vector<std::string>{"12C508 ", "24C16 ", "16F84 "}));
  EXPECT_EQ(d.pinCount, 18);
}

TEST(FillDeviceList, BadLinesAreNamedAndLeftOutWhileTheOthersLoad) {
  DeviceLineFields negative, noPins, letters, overVoltage;
  negative.programSize = "8000";
  letters.family = "1X";
  overVoltage.vddMin = "3.0";
  overVoltage.vddMax = "9.5";
  std::string shortLine = DeviceLine(noPins).substr(0, 50);
  Catalogue cat({"; see also, PIC16X99 in the notes", DeviceLine(negative), shortLine, DeviceLine(letters),
                 DeviceLine(overVoltage), DeviceLine({}), "; trailing comment"});
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
  };
  EXPECT_EQ(problems, expected);
  // Selecting a bad device names its line too.
  auto selected = LoadDeviceRecord(cat.path, "16F84", d);
  ASSERT_FALSE(selected.ok());
  EXPECT_EQ(selected.message(), expected[1]);

  Catalogue empty({});
  EXPECT_FALSE(FillDeviceList(empty.path, d).ok());
}

}  // namespace
}  // namespace quorvi
