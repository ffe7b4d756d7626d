// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_reader.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "image/image_texts.h"
#include "support/devices.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

using test::HexRecord;
using test::JoinLines;

const UserMessage kConfigMissing{image_text::kConfigMissing, image_text::kConfigMissingTitle, MessageIcon::kNone};

struct Loaded {
  LoadReport report;
  MemoryImage image;
};

Loaded LoadText(const DeviceDescriptor& device, const std::string& text, const std::string& name = "test.hex",
                bool keepBuffer = false) {
  test::TempDir dir;
  Loaded loaded{{}, test::SelectedImage(device)};
  loaded.report = LoadImageFile(dir.Write(name, text), keepBuffer, device, loaded.image);
  return loaded;
}

TEST(LoadImageFile, ConfigurationRecordSetsTheWordNotTheBuffer) {
  const auto loaded = LoadText(test::Pic16F84(), JoinLines({":02400E00F13F80", ":00000001FF"}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_EQ(loaded.image.configWord, 0x3FF1);
  EXPECT_EQ(loaded.image.programBuffer[0x2007], 0x55);
  EXPECT_TRUE(loaded.report.messages.empty());
}

TEST(LoadImageFile, MissingConfigurationIsReportedUnlessTheBufferIsKept) {
  const std::string text = JoinLines({HexRecord(0, 0, {0x34, 0x12}), ":00000001FF"});
  const auto plain = LoadText(test::Pic16F84(), text);
  ASSERT_TRUE(plain.report.loaded);
  EXPECT_EQ(plain.report.messages, std::vector<UserMessage>{kConfigMissing});
  EXPECT_EQ(plain.image.configWord, 0x3FFF);
  EXPECT_EQ(plain.image.programBuffer[0], 0x1234);

  const auto kept = LoadText(test::Pic16F84(), text, "test.hex", true);
  ASSERT_TRUE(kept.report.loaded);
  EXPECT_TRUE(kept.report.messages.empty());
  EXPECT_EQ(kept.image.configWord, 0x3FFF);
}

TEST(LoadImageFile, MissingConfigurationGives0x3FFFAlsoOnTwelveBitParts) {
  const auto loaded = LoadText(test::Pic12C508A(), JoinLines({HexRecord(0, 0, {0x25, 0x00}), ":00000001FF"}));
  EXPECT_EQ(loaded.report.messages, std::vector<UserMessage>{kConfigMissing});
  EXPECT_EQ(loaded.image.configWord, 0x3FFF);
  EXPECT_EQ(loaded.image.programBuffer[1], 0xFFF);
}

TEST(LoadImageFile, SerialEepromNeverMissesAConfiguration) {
  const auto loaded =
      LoadText(test::Eeprom24C16(), JoinLines({HexRecord(0x4000, 0, {0xAB, 0x00}), ":00000001FF"}));
  EXPECT_TRUE(loaded.report.messages.empty());
  EXPECT_EQ(loaded.image.programBuffer[0x2000], 0xAB);  // no configuration area on a 24Cxx
  EXPECT_EQ(loaded.image.programBuffer[0], 0xFF);       // blank by the "24" name
  EXPECT_EQ(loaded.image.configWord, 0xFF);
}

TEST(LoadImageFile, ClearCoversTheSizeSlotToo) {
  MemoryImage image = test::SelectedImage(test::Pic16F84());
  for (size_t a = 0; a < 0x500; ++a) image.programBuffer[a] = 0x1111;
  test::TempDir dir;
  const auto report =
      LoadImageFile(dir.Write("a.hex", JoinLines({":02400E00F13F80", ":00000001FF"})), false, test::Pic16F84(), image);
  ASSERT_TRUE(report.loaded);
  EXPECT_EQ(image.programBuffer[0], 0x3FFF);
  EXPECT_EQ(image.programBuffer[0x3FF], 0x3FFF);
  EXPECT_EQ(image.programBuffer[0x400], 0x1111);
  for (const uint8_t byte : image.config18Bytes) EXPECT_EQ(byte, 0xFF);
}

TEST(LoadImageFile, CalibrationPartSparesItsCalibrationArea) {
  EXPECT_EQ(LoaderClearLimit(test::Pic14000()), 4030);
  EXPECT_EQ(LoaderClearLimit(test::Pic16F84()), 0x3FF);
  MemoryImage image = test::SelectedImage(test::Pic14000());
  for (size_t a = 0xF00; a <= 0xFFF; ++a) image.programBuffer[a] = static_cast<int32_t>(0x1000 + a);
  test::TempDir dir;
  const auto report = LoadImageFile(dir.Write("a.hex", JoinLines({":02400E00F13F80", ":00000001FF"})), false,
                                    test::Pic14000(), image);
  ASSERT_TRUE(report.loaded);
  EXPECT_EQ(image.programBuffer[0xF00], 0x3FFF);
  EXPECT_EQ(image.programBuffer[0xFBE], 0x3FFF);  // 4030, the last slot cleared
  EXPECT_EQ(image.programBuffer[0xFBF], 0x1FBF);
  EXPECT_EQ(image.programBuffer[0xFC0], 0x1FC0);
  EXPECT_EQ(image.programBuffer[0xFFF], 0x1FFF);
}

TEST(LoadImageFile, TifSkipsItsHeaderAndDoesNotClear) {
  std::string bytes(125, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i < 25 ? 0xEE : i);
  MemoryImage image = test::SelectedImage(test::Pic16F84());
  for (size_t a = 100; a < 300; ++a) image.programBuffer[a] = 0x1111;
  image.config18Bytes.fill(0x5A);
  test::TempDir dir;
  const auto report = LoadImageFile(dir.Write("pic.tif", bytes), false, test::Pic16F84(), image);
  ASSERT_TRUE(report.loaded);
  for (size_t a = 0; a < 100; ++a) ASSERT_EQ(image.programBuffer[a], static_cast<int32_t>(a + 25)) << a;
  for (size_t a = 100; a < 300; ++a) ASSERT_EQ(image.programBuffer[a], 0x1111) << a;
  EXPECT_EQ(image.config18Bytes[0], 0x5A);
  EXPECT_EQ(image.configWord, 0x3FFF);
}

TEST(LoadImageFile, BinClearsThenStoresOneBytePerSlot) {
  MemoryImage image = test::SelectedImage(test::Eeprom24C16());
  for (size_t a = 0; a < 0x900; ++a) image.programBuffer[a] = 0x1111;
  test::TempDir dir;
  const auto report =
      LoadImageFile(dir.Write("rom.BIN", std::string("\x01\xFE\x00\x80", 4)), false, test::Eeprom24C16(), image);
  ASSERT_TRUE(report.loaded);
  EXPECT_EQ(image.programBuffer[0], 0x01);
  EXPECT_EQ(image.programBuffer[1], 0xFE);
  EXPECT_EQ(image.programBuffer[2], 0x00);
  EXPECT_EQ(image.programBuffer[3], 0x80);
  EXPECT_EQ(image.programBuffer[4], 0xFF);
  EXPECT_EQ(image.programBuffer[0x7FF], 0xFF);
  EXPECT_EQ(image.programBuffer[0x800], 0x1111);
}

TEST(LoadImageFile, KindComesFromTheLastThreeCharactersUpperCased) {
  EXPECT_EQ(ImageFileKindOf("a.bin"), ImageFileKind::kBin);
  EXPECT_EQ(ImageFileKindOf("a.Tif"), ImageFileKind::kTif);
  EXPECT_EQ(ImageFileKindOf("aBIN"), ImageFileKind::kBin);
  EXPECT_EQ(ImageFileKindOf("a.obj"), ImageFileKind::kHex);
  EXPECT_EQ(ImageFileKindOf("a.hex"), ImageFileKind::kHex);
  EXPECT_EQ(ImageFileKindOf("a.tiff"), ImageFileKind::kHex);
  EXPECT_EQ(ImageFileKindOf("in"), ImageFileKind::kHex);
}

TEST(LoadImageFile, ByteCountOneEndsTheLoad) {
  const auto loaded = LoadText(
      test::Pic16F84(), JoinLines({HexRecord(0, 0, {0x11, 0x22}), ":0100020099", HexRecord(4, 0, {0x33, 0x44})}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_EQ(loaded.image.programBuffer[0], 0x2211);
  EXPECT_EQ(loaded.image.programBuffer[1], 0x3FFF);
  EXPECT_EQ(loaded.image.programBuffer[2], 0x3FFF);
}

TEST(LoadImageFile, TypeOneEndsTheLoadWhateverItsCount) {
  const auto loaded =
      LoadText(test::Pic16F84(), JoinLines({":02000001AAAA00", HexRecord(0, 0, {0x11, 0x22})}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_EQ(loaded.image.programBuffer[0], 0x3FFF);
}

TEST(LoadImageFile, OddByteCountsRoundHalvesToEven) {
  // 3 bytes make 2 words, so the record's checksum is read as the fourth byte.
  const auto loaded = LoadText(test::Pic16F84(), JoinLines({":030000001122334455", ":00000001FF"}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_EQ(loaded.image.programBuffer[0], 0x2211);
  EXPECT_EQ(loaded.image.programBuffer[1], 0x4433);
}

TEST(LoadImageFile, ChecksumsAreIgnored) {
  const auto loaded = LoadText(test::Pic16F84(), JoinLines({":020000003412AA", ":02400E00F13F00", ":00000001FF"}));
  EXPECT_EQ(loaded.image.programBuffer[0], 0x1234);
  EXPECT_EQ(loaded.image.configWord, 0x3FF1);
}

TEST(LoadImageFile, WordsFrom0x8000ReadNegative) {
  const auto loaded = LoadText(test::Pic16F84(), JoinLines({HexRecord(2, 0, {0x00, 0x80, 0xFF, 0xFF}), ":00000001FF"}));
  EXPECT_EQ(loaded.image.programBuffer[1], -32768);
  EXPECT_EQ(loaded.image.programBuffer[2], -1);
}

TEST(LoadImageFile, NonHexPairsReadAsZero) {
  // Data come low byte first: "12ZZ" is low 12, high ZZ; "ZZ12" the reverse; "1G" is no pair.
  const auto loaded = LoadText(
      test::Pic16F84(), JoinLines({":06000000" "12ZZ" "ZZ12" "1G34" "00", ":00000001FF"}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_EQ(loaded.image.programBuffer[0], 0x0012);
  EXPECT_EQ(loaded.image.programBuffer[1], 0x1200);
  EXPECT_EQ(loaded.image.programBuffer[2], 0x3400);
  // Address "00ZZ" reads 0; a count "0Z" reads 0 and ends the file.
  const auto address = LoadText(test::Pic16F84(), JoinLines({":0200ZZ0078563B", ":0Z", HexRecord(2, 0, {1, 0})}));
  ASSERT_TRUE(address.report.loaded);
  EXPECT_EQ(address.image.programBuffer[0], 0x5678);
  EXPECT_EQ(address.image.programBuffer[1], 0x3FFF);
}

TEST(LoadImageFile, AddressesAreSigned16BitByteAddresses) {
  struct Case {
    int byteAddress;
    size_t word;
  };
  for (const Case c : {Case{0x8000, 0x4000}, {0xFFFE, 0x7FFF}, {0xFFFF, 0}, {0x0003, 2}, {0x0001, 0}}) {
    const auto loaded = LoadText(test::Pic18F452(), JoinLines({HexRecord(c.byteAddress, 0, {0x34, 0x12}),
                                                               ":00000001FF"}));
    ASSERT_TRUE(loaded.report.loaded) << c.byteAddress;
    EXPECT_EQ(loaded.image.programBuffer[c.word], 0x1234) << c.byteAddress;
  }
}

TEST(LoadImageFile, SmallDevicesStoreProgramRecordsBeyondTheirSize) {
  const auto loaded = LoadText(test::Pic16F84(), JoinLines({HexRecord(0x3000, 0, {0x34, 0x12}), ":00000001FF"}));
  EXPECT_EQ(loaded.image.programBuffer[0x1800], 0x1234);
}

TEST(LoadImageFile, ConfigurationAreaStartsWithRecordsAt0x1FFF) {
  const auto loaded = LoadText(
      test::Pic16F84(),
      JoinLines({HexRecord(0x3FFE, 0, {0x01, 0x00, 0x02, 0x00, 0x03, 0x00, 0x04, 0x00, 0x05, 0x00, 0x06, 0x00}),
                 HexRecord(0x4008, 0, {0x07, 0x00, 0x08, 0x00, 0x09, 0x00, 0x0A, 0x00}), ":00000001FF"}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_EQ(loaded.image.idWords, (std::array<int32_t, 5>{2, 3, 4, 5, 0}));
  EXPECT_EQ(loaded.image.configWord, 0x0A);  // word 0x2007 of the second record
  EXPECT_EQ(loaded.image.programBuffer[0x1FFF], 0x55);
  EXPECT_EQ(loaded.image.programBuffer[0x2000], 0x55);
}

TEST(LoadImageFile, DataEepromRecordsFillTheDataBuffer) {
  const auto loaded = LoadText(test::Pic16F84(),
                               JoinLines({":02400E00F13F80", HexRecord(0x4200, 0, {0xAB, 0x00, 0xCD, 0x00}),
                                          HexRecord(0x4400, 0, {0x77, 0x00}), HexRecord(0x4A82, 0, {0x66, 0x00}),
                                          ":00000001FF"}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_EQ(loaded.image.dataBuffer[0], 0xAB);
  EXPECT_EQ(loaded.image.dataBuffer[1], 0xCD);
  EXPECT_EQ(loaded.image.dataBuffer[2], 0xFF);
  EXPECT_EQ(loaded.image.dataBuffer[256], 0x77);  // the 257th slot still fits
}

TEST(LoadImageFile, TwelveBitConfigurationNeedsARecordStartingAt0x0FFF) {
  std::vector<int> bytes;
  for (int i = 0; i < 7; ++i) bytes.insert(bytes.end(), {0xFF, 0x0F});
  bytes.insert(bytes.end(), {0xEA, 0x0F});
  const std::string text = JoinLines({HexRecord(0x1FF0, 0, bytes), ":00000001FF"});

  const auto c508 = LoadText(test::Pic12C508A(), text);
  EXPECT_EQ(c508.image.programBuffer[0xFFF], 0xFEA);
  EXPECT_EQ(c508.report.messages, std::vector<UserMessage>{kConfigMissing});
  EXPECT_EQ(c508.image.configWord, 0x3FFF);

  const auto c505 = LoadText(test::Pic16C505(), text);
  EXPECT_EQ(c505.image.programBuffer[0xFFF], 0xFEA);
  EXPECT_TRUE(c505.report.messages.empty());
  EXPECT_EQ(c505.image.configWord, 0xFEA);

  const auto atStart = LoadText(test::Pic12C508A(), JoinLines({HexRecord(0x1FFE, 0, {0xEA, 0x0F}), ":00000001FF"}));
  EXPECT_EQ(atStart.image.configWord, 0xFEA);
}

TEST(LoadImageFile, TwelveBitIdWordsComeFromProgramMemory) {
  const std::string text = JoinLines({HexRecord(0x0400, 0, {1, 0, 2, 0, 3, 0, 4, 0}),
                                      HexRecord(0x0800, 0, {5, 0, 6, 0, 7, 0, 8, 0}), ":00000001FF"});
  EXPECT_EQ(LoadText(test::Pic12C508A(), text).image.idWords, (std::array<int32_t, 5>{1, 2, 3, 4, 0}));
  EXPECT_EQ(LoadText(test::Pic16C505(), text).image.idWords, (std::array<int32_t, 5>{5, 6, 7, 8, 0}));
}

TEST(LoadImageFile, FuseMap21MasksTheConfigurationWord) {
  DeviceDescriptor device = test::Pic16C622();
  device.fuseMap = 21;
  EXPECT_EQ(LoadText(device, JoinLines({":02400E00F13F80", ":00000001FF"})).image.configWord, 0x1F1);
}

TEST(LoadImageFile, UpperAddress0030SwitchesTo18FConfigurationBytes) {
  std::vector<int> config;
  for (int i = 0; i < 16; ++i) config.push_back(0x10 + i);
  const auto loaded = LoadText(test::Pic18F452(),
                               JoinLines({":020000040000FA", HexRecord(0, 0, {0x34, 0x12}), ":020000040030CA",
                                          HexRecord(0, 0, config), HexRecord(0, 4, {0x00, 0xF0}),
                                          HexRecord(2, 0, {0x99, 0x99}), ":00000001FF"}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_TRUE(loaded.report.messages.empty());
  const std::array<uint8_t, 14> expected{0x11, 0x10, 0x13, 0x12, 0x15, 0x14, 0x17,
                                         0x16, 0x19, 0x18, 0x1B, 0x1A, 0x1F, 0x1E};
  EXPECT_EQ(loaded.image.config18Bytes, expected);
  // Each register gets back the byte the file put at its address, except
  // 30000Ch/30000Dh, which the pairs skip.
  for (int offset = 0; offset < 16; ++offset) {
    const std::optional<uint8_t> byte = Config18ImageByte(loaded.image, offset);
    if (offset == 12 || offset == 13) {
      EXPECT_FALSE(byte.has_value()) << offset;
    } else {
      EXPECT_EQ(byte, 0x10 + offset) << offset;
    }
  }
  EXPECT_EQ(loaded.image.programBuffer[0], 0x1234);
  EXPECT_EQ(loaded.image.programBuffer[1], 0x3FFF);  // the 00F0 record's words were dropped
  EXPECT_EQ(loaded.image.configWord, 0x3FFF);
}

TEST(LoadImageFile, EighteenFWithoutConfigurationBytesIsReported) {
  const auto loaded = LoadText(test::Pic18F452(), JoinLines({HexRecord(0, 0, {0x34, 0x12}), ":00000001FF"}));
  EXPECT_EQ(loaded.report.messages, std::vector<UserMessage>{kConfigMissing});
  EXPECT_EQ(loaded.image.configWord, 0x3FFF);
  const auto kept = LoadText(test::Pic18F452(), JoinLines({HexRecord(0, 0, {0x34, 0x12}), ":00000001FF"}),
                             "test.hex", true);
  // With the buffer kept, the bytes are those from before the load (0x5A here).
  EXPECT_TRUE(kept.report.messages.empty());
}

TEST(LoadImageFile, BigDevicesReportProgressEvery128Words) {
  const DeviceDescriptor device = test::Pic18F6720();
  std::vector<int> percents;
  LoadOptions options;
  options.progress = [&](int percent) { percents.push_back(percent); };
  MemoryImage image = test::SelectedImage(device);
  test::TempDir dir;
  const std::string text = JoinLines({HexRecord(0, 0, {1, 0}), HexRecord(2, 0, {2, 0}),
                                      HexRecord(0xFF00, 0, {3, 0}), ":00000001FF"});
  ASSERT_TRUE(LoadImageFile(dir.Write("big.hex", text), false, device, image, options).loaded);
  EXPECT_EQ(percents, (std::vector<int>{0, 50}));

  percents.clear();
  MemoryImage small = test::SelectedImage(test::Pic18F452());
  ASSERT_TRUE(LoadImageFile(dir.Write("big.hex", text), false, test::Pic18F452(), small, options).loaded);
  EXPECT_TRUE(percents.empty());
}

TEST(LoadImageFile, CarriageReturnLineEndsReadAlike) {
  const std::vector<std::string> lines{HexRecord(0, 0, {0x34, 0x12}), ":02400E00F13F80", ":00000001FF"};
  const auto lf = LoadText(test::Pic16F84(), JoinLines(lines, "\n"));
  const auto crlf = LoadText(test::Pic16F84(), JoinLines(lines, "\r\n"));
  EXPECT_EQ(lf.image, crlf.image);
  EXPECT_EQ(crlf.image.programBuffer[0], 0x1234);
}

// --- Files that must not load ---------------------------------------------

struct BadFile {
  const char* what;
  std::string name;
  std::string content;
  const char* messagePart;
};

class LoadImageFileRejects : public testing::TestWithParam<BadFile> {};

TEST_P(LoadImageFileRejects, AndLeavesTheImageAsItWas) {
  const BadFile& bad = GetParam();
  for (const auto& device : {test::Pic16F84(), test::Pic18F452(), test::Pic12C508A()}) {
    test::TempDir dir;
    MemoryImage image = test::SelectedImage(device);
    image.programBuffer[0] = 0x0ABC;
    image.configWord = 0x1234;
    const MemoryImage before = image;
    const std::string path = dir.Write(bad.name, bad.content);
    const LoadReport report = LoadImageFile(path, false, device, image);
    if (std::string(bad.what) == "data address beyond the buffer" && device.programSize > 8192) {
      continue;  // big devices have no data area: the record goes to program memory
    }
    ASSERT_FALSE(report.loaded) << bad.what << " on " << device.name;
    EXPECT_EQ(image, before) << bad.what;
    ASSERT_EQ(report.messages.size(), 1U);
    EXPECT_EQ(report.messages[0].title, image_text::kErrorTitle);
    EXPECT_NE(report.messages[0].text.find(path), std::string::npos) << report.messages[0].text;
    EXPECT_NE(report.messages[0].text.find(bad.messagePart), std::string::npos) << report.messages[0].text;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Malformed, LoadImageFileRejects,
    testing::Values(
        BadFile{"empty file", "empty.hex", "", "line 1: the file ends before its end record"},
        BadFile{"no end record", "noend.hex", JoinLines({HexRecord(0, 0, {1, 2}), HexRecord(2, 0, {3, 4})}),
                "line 3: the file ends before its end record"},
        BadFile{"truncated record", "cut.hex", JoinLines({HexRecord(0, 0, {1, 2}), ":1000000001"}),
                "ends before its end record"},
        BadFile{"truncated count", "cut2.hex", ":0", "ends before its end record"},
        BadFile{"text without records", "words.hex", "hello world\nno colon here\n", "line 3"},
        BadFile{"data address beyond the buffer", "range.hex",
                JoinLines({":02400E00F13F80", HexRecord(0x4200, 0, {1, 0}), HexRecord(0x4402, 0, {2, 0}),
                           ":00000001FF"}),
                "line 3: data EEPROM address 0x2201 is beyond the data buffer"},
        BadFile{"binary too long", "big.bin", std::string(65538, 'x'), "65538 bytes"},
        BadFile{"tif too long", "big.tif", std::string(65538 + 25, 'x'), "65538 bytes"}),
    [](const testing::TestParamInfo<BadFile>& param) {
      std::string name = param.param.what;
      for (char& c : name) {
        if (c == ' ') c = '_';
      }
      return name;
    });

TEST(LoadImageFile, BinaryGarbageNeverCrashesOrHalfLoads) {
  uint32_t state = 12345;
  for (int round = 0; round < 40; ++round) {
    std::string bytes(static_cast<size_t>(64 + round * 97), '\0');
    for (char& c : bytes) {
      state = state * 1103515245U + 12345U;
      c = static_cast<char>(state >> 24U);
    }
    if (round % 3 == 0) bytes[0] = ':';
    for (const auto& device : {test::Pic16F84(), test::Pic18F6720(), test::Eeprom24C16()}) {
      test::TempDir dir;
      MemoryImage image = test::SelectedImage(device);
      const MemoryImage before = image;
      const LoadReport report = LoadImageFile(dir.Write("junk.hex", bytes), false, device, image);
      if (!report.loaded) {
        EXPECT_EQ(image, before) << round;
        ASSERT_EQ(report.messages.size(), 1U);
        EXPECT_EQ(report.messages[0].title, image_text::kErrorTitle);
      }
    }
  }
}

TEST(LoadImageFile, ExactlyAFullBufferOfBytesLoads) {
  test::TempDir dir;
  MemoryImage image = test::SelectedImage(test::Eeprom24LC512());
  const auto report = LoadImageFile(dir.Write("full.bin", std::string(65537, '\x42')), false,
                                    test::Eeprom24LC512(), image);
  ASSERT_TRUE(report.loaded);
  EXPECT_EQ(image.programBuffer[65536], 0x42);
  // Above 8,192 words only the 18F bytes count, whatever the family.
  EXPECT_EQ(report.messages, std::vector<UserMessage>{kConfigMissing});
}

TEST(LoadImageFile, SmallDevicesReadAnUpperAddressRecordAsAWordAtItsAddress) {
  const auto loaded = LoadText(test::Pic16F84(), JoinLines({":020000040000FA", HexRecord(0x20, 0, {0x34, 0x12}),
                                                            ":02400E00F13F80", ":00000001FF"}));
  ASSERT_TRUE(loaded.report.loaded);
  EXPECT_EQ(loaded.image.programBuffer[0], 0);
  EXPECT_EQ(loaded.image.programBuffer[0x10], 0x1234);
}

TEST(LoadImageFile, MissingFileSaysSoAndKeepsTheProgressShown) {
  MemoryImage image = test::SelectedImage(test::Pic16F84());
  const MemoryImage before = image;
  const LoadReport report = LoadImageFile("/nonexistent/folder/x.hex", false, test::Pic16F84(), image);
  EXPECT_FALSE(report.loaded);
  EXPECT_TRUE(report.progressLeftShown);
  EXPECT_FALSE(report.endProgramWithEmptyErrorLog);
  const UserMessage notFound{image_text::kFileNotFound, "", MessageIcon::kExclamation};
  EXPECT_EQ(report.messages, std::vector<UserMessage>{notFound});
  EXPECT_EQ(image, before);
}

TEST(LoadImageFile, MissingFileInQuietModeEndsTheProgramSilently) {
  MemoryImage image = test::SelectedImage(test::Pic16F84());
  const MemoryImage before = image;
  LoadOptions options;
  options.quiet = true;
  test::TempDir dir;
  const LoadReport report = LoadImageFile(dir.path().string(), false, test::Pic16F84(), image, options);
  EXPECT_FALSE(report.loaded);
  EXPECT_TRUE(report.endProgramWithEmptyErrorLog);
  EXPECT_TRUE(report.messages.empty());
  EXPECT_EQ(image, before);
}

}  // namespace
}  // namespace quorvi
