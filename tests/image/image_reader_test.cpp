// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_reader.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "image/image_test_util.h"
#include "image/image_texts.h"
#include "support/devices.h"
#include "support/temp_dir.h"
#include "util/file_check.h"

namespace quorvi {
namespace {

using test::HexRecord;

const UserMessage kConfigMissing{image_text::kConfigMissing, image_text::kConfigMissingTitle, MessageIcon::kNone};
const std::string kConfig = ":02400E00F13F80";  // configuration word 3FF1h
const std::string kEnd = ":00000001FF";
constexpr int32_t kMark = 0x1111;  // in every program slot before a load, so that a stray write or clear shows

std::string Hex(const std::vector<std::string>& lines) { return test::JoinLines(lines); }

DeviceDescriptor WithFuseMap21(DeviceDescriptor device) {
  device.fuseMap = 21;
  return device;
}

// One cell of the image that a case looks at after the load.
enum class Area { kProgram, kData, kId, kConfigWord, kConfig18 };
struct Cell {
  Area area;
  size_t at;
  int32_t value;
};
Cell P(size_t at, int32_t value) { return {Area::kProgram, at, value}; }
Cell D(size_t at, int32_t value) { return {Area::kData, at, value}; }
Cell Id(size_t at, int32_t value) { return {Area::kId, at, value}; }
Cell Cfg(int32_t value) { return {Area::kConfigWord, 0, value}; }
Cell C18(size_t at, int32_t value) { return {Area::kConfig18, at, value}; }

int32_t Read(const MemoryImage& image, const Cell& cell) {
  switch (cell.area) {
    case Area::kProgram: return image.programBuffer[cell.at];
    case Area::kData: return image.dataBuffer[cell.at];
    case Area::kId: return image.idWords[cell.at];
    case Area::kConfigWord: return image.configWord;
    case Area::kConfig18: return image.config18Bytes[cell.at];
  }
  return -1;
}

struct LoadCase {
  const char* what;
  DeviceDescriptor device;
  std::string content;
  std::vector<Cell> cells;
  bool configMissing = false;
  bool keepBuffer = false;
  std::string name = "test.hex";  // its last three characters choose the kind
};

std::vector<LoadCase> LoadCases() {
  std::vector<int> twelveBitConfig;  // words 0FF8h..0FFFh, the last one the configuration
  for (int i = 0; i < 7; ++i) twelveBitConfig.insert(twelveBitConfig.end(), {0xFF, 0x0F});
  twelveBitConfig.insert(twelveBitConfig.end(), {0xEA, 0x0F});
  const std::string endingAt0FFF = Hex({HexRecord(0x1FF0, 0, twelveBitConfig), kEnd});
  std::string tif(125, '\0');
  for (size_t i = 0; i < tif.size(); ++i) tif[i] = static_cast<char>(i < 25 ? 0xEE : i);
  const std::string configArea =
      Hex({HexRecord(0x3FFE, 0, {0x01, 0x00, 0x02, 0x00, 0x03, 0x00, 0x04, 0x00, 0x05, 0x00, 0x06, 0x00}),
           HexRecord(0x4008, 0, {0x07, 0x00, 0x08, 0x00, 0x09, 0x00, 0x0A, 0x00}), kEnd});

  return {
      {"configuration record sets the word, the clear covers the size slot", test::Pic16F84(), Hex({kConfig, kEnd}),
       {Cfg(0x3FF1), P(0, 0x3FFF), P(0x3FF, 0x3FFF), P(0x400, kMark), P(0x2007, kMark), C18(0, 0xFF), C18(13, 0xFF)}},
      {"missing configuration is reported", test::Pic16F84(), Hex({HexRecord(0, 0, {0x34, 0x12}), kEnd}),
       {P(0, 0x1234), Cfg(0x3FFF)}, true},
      {"a kept buffer is not cleared and misses no configuration", test::Pic16F84(),
       Hex({HexRecord(0, 0, {0x34, 0x12}), kEnd}), {P(0, 0x1234), P(1, kMark), Cfg(0x3FFF)}, false, true},
      {"twelve-bit part without configuration gets 3FFFh", test::Pic12C508A(),
       Hex({HexRecord(0, 0, {0x25, 0x00}), kEnd}), {P(1, 0xFFF), Cfg(0x3FFF)}, true},
      {"serial EEPROM has no configuration area", test::Eeprom24C16(), Hex({HexRecord(0x4000, 0, {0xAB, 0}), kEnd}),
       {P(0x2000, 0xAB), P(0, 0xFF), Cfg(0xFF)}},
      {"calibration part spares its calibration area", test::Pic14000(), Hex({kConfig, kEnd}),
       {P(0xF00, 0x3FFF), P(0xFBE, 0x3FFF), P(0xFBF, kMark), P(0xFFF, kMark)}},
      {"tif skips its header and does not clear", test::Pic16F84(), tif,
       {P(0, 25), P(99, 124), P(100, kMark), C18(0, 0x5A), Cfg(0x3FFF)}, true, false, "pic.Tif"},
      {"bin clears, then stores one byte per slot", test::Eeprom24C16(), std::string("\x01\xFE\x00\x80", 4),
       {P(0, 0x01), P(1, 0xFE), P(2, 0), P(3, 0x80), P(4, 0xFF), P(0x7FF, 0xFF), P(0x800, kMark)}, false, false,
       "rom.BIN"},
      {"a full buffer of bytes fits, and big parts look only at 18F bytes", test::Eeprom24LC512(),
       std::string(65537, '\x42'), {P(65536, 0x42)}, true, false, "full.bin"},
      {"byte count 01 ends the load", test::Pic16F84(),
       Hex({HexRecord(0, 0, {0x11, 0x22}), ":0100020099", HexRecord(4, 0, {0x33, 0x44})}),
       {P(0, 0x2211), P(1, 0x3FFF), P(2, 0x3FFF)}, true},
      {"type 01 ends the load whatever its count", test::Pic16F84(),
       Hex({":02000001AAAA00", HexRecord(0, 0, {0x11, 0x22})}), {P(0, 0x3FFF)}, true},
      // 3 bytes make 2 words, so the record's checksum is read as the fourth byte.
      {"odd byte counts round halves to even", test::Pic16F84(), Hex({":030000001122334455", kEnd}),
       {P(0, 0x2211), P(1, 0x4433)}, true},
      {"words from 8000h read negative", test::Pic16F84(),
       Hex({HexRecord(2, 0, {0x00, 0x80, 0xFF, 0xFF}), kEnd}), {P(1, -32768), P(2, -1)}, true},
      // Data come low byte first: "12ZZ" is low 12, high ZZ; "ZZ12" the reverse; "1G" is no pair.
      {"non-hex data pairs read as zero", test::Pic16F84(), Hex({":06000000" "12ZZ" "ZZ12" "1G34" "00", kEnd}),
       {P(0, 0x0012), P(1, 0x1200), P(2, 0x3400)}, true},
      {"a non-hex address reads 0 and a non-hex count ends the file", test::Pic16F84(),
       Hex({":0200ZZ0078563B", ":0Z", HexRecord(2, 0, {1, 0})}), {P(0, 0x5678), P(1, 0x3FFF)}, true},
      {"addresses are signed 16-bit byte addresses, halved to even", test::Pic18F452(),
       Hex({HexRecord(0x8000, 0, {0x34, 0x12}), HexRecord(0xFFFE, 0, {0x35, 0x12}), HexRecord(0xFFFF, 0, {0x36, 0x12}),
            HexRecord(3, 0, {0x37, 0x12}), kEnd}),
       {P(0x4000, 0x1234), P(0x7FFF, 0x1235), P(0, 0x1236), P(2, 0x1237)}, true},
      {"a kept 18F buffer keeps its configuration bytes", test::Pic18F452(),
       Hex({HexRecord(0, 0, {0x34, 0x12}), kEnd}), {C18(0, 0x5A), Cfg(0x3FFF)}, false, true},
      {"small devices store program records beyond their size", test::Pic16F84(),
       Hex({HexRecord(0x3000, 0, {0x34, 0x12}), kEnd}), {P(0x1800, 0x1234)}, true},
      {"small devices read an upper-address record as a word at its address", test::Pic16F84(),
       Hex({":020000040000FA", HexRecord(0x20, 0, {0x34, 0x12}), kConfig, kEnd}), {P(0, 0), P(0x10, 0x1234)}},
      {"the configuration area starts with records at 1FFFh", test::Pic16F84(), configArea,
       {Id(0, 2), Id(1, 3), Id(2, 4), Id(3, 5), Cfg(0x0A), P(0x1FFF, kMark), P(0x2000, kMark)}},
      {"data EEPROM records fill the data buffer up to its 257th slot", test::Pic16F84(),
       Hex({kConfig, HexRecord(0x4200, 0, {0xAB, 0x00, 0xCD, 0x00}), HexRecord(0x4400, 0, {0x77, 0x00}),
            HexRecord(0x4A82, 0, {0x66, 0x00}), kEnd}),
       {D(0, 0xAB), D(1, 0xCD), D(2, 0xFF), D(256, 0x77)}},
      {"12C508A takes no configuration from a record that only ends at 0FFFh", test::Pic12C508A(), endingAt0FFF,
       {P(0xFFF, 0xFEA), Cfg(0x3FFF)}, true},
      {"16C505 takes its configuration wherever word 0FFFh is", test::Pic16C505(), endingAt0FFF,
       {P(0xFFF, 0xFEA), Cfg(0xFEA)}},
      {"12C508A takes its configuration from a record starting at 0FFFh", test::Pic12C508A(),
       Hex({HexRecord(0x1FFE, 0, {0xEA, 0x0F}), kEnd}), {Cfg(0xFEA)}},
      {"16C505 reads its IDs from 400h", test::Pic16C505(),
       Hex({HexRecord(0x400, 0, {1, 0, 2, 0}), HexRecord(0x800, 0, {5, 0, 6, 0, 7, 0, 8, 0}), kEnd}),
       {Id(0, 5), Id(1, 6), Id(2, 7), Id(3, 8)}, true},
      {"fuse map 21 masks the configuration word", WithFuseMap21(test::Pic16C622()), Hex({kConfig, kEnd}),
       {Cfg(0x1F1)}},
  };
}

TEST(LoadImageFile, PlacesWhatEachFileSays) {
  for (const LoadCase& c : LoadCases()) {
    SCOPED_TRACE(c.what);
    test::TempDir dir;
    MemoryImage image = test::SelectedImage(c.device);
    std::fill(image.programBuffer.begin(), image.programBuffer.end(), kMark);
    const LoadReport report = LoadImageFile(dir.Write(c.name, c.content), c.keepBuffer, c.device, image);
    ASSERT_TRUE(report.loaded);
    EXPECT_EQ(report.messages, c.configMissing ? std::vector<UserMessage>{kConfigMissing} : std::vector<UserMessage>{});
    for (const Cell& cell : c.cells) {
      EXPECT_EQ(Read(image, cell), cell.value) << "area " << static_cast<int>(cell.area) << " at 0x" << std::hex
                                               << cell.at;
    }
  }
}

TEST(LoadImageFile, KindComesFromTheLastThreeCharactersUpperCased) {
  for (const auto& [name, kind] : std::vector<std::pair<std::string, ImageFileKind>>{
           {"a.bin", ImageFileKind::kBin}, {"a.Tif", ImageFileKind::kTif}, {"aBIN", ImageFileKind::kBin},
           {"a.obj", ImageFileKind::kHex}, {"a.tiff", ImageFileKind::kHex}, {"in", ImageFileKind::kHex}}) {
    EXPECT_EQ(ImageFileKindOf(name), kind) << name;
  }
}

TEST(LoadImageFile, UpperAddress0030SwitchesTo18FConfigurationBytes) {
  std::vector<int> config;
  for (int i = 0; i < 16; ++i) config.push_back(0x10 + i);
  test::TempDir dir;
  MemoryImage image = test::SelectedImage(test::Pic18F452());
  const LoadReport report = LoadImageFile(
      dir.Write("a.hex", Hex({":020000040000FA", HexRecord(0, 0, {0x34, 0x12}), ":020000040030CA",
                              HexRecord(0, 0, config), HexRecord(0, 4, {0x00, 0xF0}), HexRecord(2, 0, {0x99, 0x99}),
                              kEnd})),
      false, test::Pic18F452(), image);
  ASSERT_TRUE(report.loaded);
  EXPECT_TRUE(report.messages.empty());
  const std::array<uint8_t, 14> expected{0x11, 0x10, 0x13, 0x12, 0x15, 0x14, 0x17,
                                         0x16, 0x19, 0x18, 0x1B, 0x1A, 0x1F, 0x1E};
  EXPECT_EQ(image.config18Bytes, expected);
  // Each register gets back the byte the file put at its address, except
  // 30000Ch/30000Dh, which the pairs skip.
  for (int offset = 0; offset < 16; ++offset) {
    const bool skipped = offset == 12 || offset == 13;
    EXPECT_EQ(Config18ImageByte(image, offset), skipped ? std::nullopt : std::optional<uint8_t>(0x10 + offset))
        << offset;
  }
  EXPECT_EQ(image.programBuffer[0], 0x1234);
  EXPECT_EQ(image.programBuffer[1], 0x3FFF);  // the 00F0 record's words were dropped
  EXPECT_EQ(image.configWord, 0x3FFF);
}

TEST(LoadImageFile, BigDevicesReportProgressEvery128Words) {
  std::vector<int> percents;
  LoadOptions options;
  options.progress = [&](int percent) { percents.push_back(percent); };
  test::TempDir dir;
  const std::string path = dir.Write("big.hex", Hex({HexRecord(0, 0, {1, 0}), HexRecord(2, 0, {2, 0}),
                                                     HexRecord(0xFF00, 0, {3, 0}), kEnd}));
  MemoryImage big = test::SelectedImage(test::Pic18F6720());
  ASSERT_TRUE(LoadImageFile(path, false, test::Pic18F6720(), big, options).loaded);
  EXPECT_EQ(percents, (std::vector<int>{0, 50}));
  percents.clear();
  MemoryImage small = test::SelectedImage(test::Pic18F452());
  ASSERT_TRUE(LoadImageFile(path, false, test::Pic18F452(), small, options).loaded);
  EXPECT_TRUE(percents.empty());
}

// Each file that cannot be read names itself and why; in quiet mode a missing
// file ends the run with an empty log, anything else with that one line.
TEST(LoadImageFile, AnUnreadableFileSaysWhichAndWhy) {
  test::TempDir dir;
  const std::string folder = dir.path().string();
  const std::string huge = dir.Write("huge.hex", "");
  std::filesystem::resize_file(huge, kLargestInputBytes + 1);
  struct Case {
    std::string path;
    std::string message;  // without quiet mode
    std::string quietLine;
  };
  const Case cases[] = {
      {"/nonexistent/folder/x.hex", "file not found: /nonexistent/folder/x.hex", ""},
      {folder, folder + ": is a directory", folder + ": is a directory"},
      {"/dev/zero", "/dev/zero: is not a regular file", "/dev/zero: is not a regular file"},
      {huge, huge + ": is too large (16777217 bytes; at most 16777216)",
       huge + ": is too large (16777217 bytes; at most 16777216)"},
  };
  for (const Case& c : cases) {
    for (const bool quiet : {false, true}) {
      MemoryImage image = test::SelectedImage(test::Pic16F84());
      const MemoryImage before = image;
      LoadOptions options;
      options.quiet = quiet;
      const LoadReport report = LoadImageFile(c.path, false, test::Pic16F84(), image, options);
      EXPECT_FALSE(report.loaded);
      EXPECT_TRUE(report.progressLeftShown);
      EXPECT_EQ(image, before);
      if (quiet) {
        EXPECT_EQ(report.quietEnd, c.quietLine) << c.path;
        EXPECT_TRUE(report.messages.empty());
      } else {
        EXPECT_FALSE(report.quietEnd.has_value());
        ASSERT_EQ(report.messages.size(), 1U);
        EXPECT_EQ(report.messages[0].text, c.message);
      }
    }
  }
}

// --- Files that must not load ---------------------------------------------

struct BadFile {
  const char* what;
  std::string name;
  std::string content;
  const char* messagePart;
};

TEST(LoadImageFile, RejectsMalformedFilesAndLeavesTheImageAsItWas) {
  const BadFile bad[] = {
      {"empty file", "empty.hex", "", "line 1: the file ends before its end record"},
      {"no end record", "noend.hex", Hex({HexRecord(0, 0, {1, 2}), HexRecord(2, 0, {3, 4})}),
       "line 3: the file ends before its end record"},
      {"truncated record", "cut.hex", Hex({HexRecord(0, 0, {1, 2}), ":1000000001"}), "ends before its end record"},
      {"truncated count", "cut2.hex", ":0", "ends before its end record"},
      {"text without records", "words.hex", "hello world\nno colon here\n", "line 3"},
      {"data address beyond the buffer", "range.hex",
       Hex({kConfig, HexRecord(0x4200, 0, {1, 0}), HexRecord(0x4402, 0, {2, 0}), kEnd}),
       "line 3: data EEPROM address 0x2201 is beyond the data buffer"},
      {"binary too long", "big.bin", std::string(65538, 'x'), "65538 bytes"},
      {"tif too long", "big.tif", std::string(65538 + 25, 'x'), "65538 bytes"},
  };
  for (const BadFile& b : bad) {
    for (const auto& device : {test::Pic16F84(), test::Pic18F452(), test::Pic12C508A()}) {
      if (b.name == "range.hex" && device.programSize > 8192) continue;  // no data area: program memory
      SCOPED_TRACE(std::string(b.what) + " on " + device.name);
      test::TempDir dir;
      MemoryImage image = test::SelectedImage(device);
      image.programBuffer[0] = 0x0ABC;
      image.configWord = 0x1234;
      const MemoryImage before = image;
      const std::string path = dir.Write(b.name, b.content);
      const LoadReport report = LoadImageFile(path, false, device, image);
      ASSERT_FALSE(report.loaded);
      EXPECT_EQ(image, before);
      ASSERT_EQ(report.messages.size(), 1U);
      EXPECT_EQ(report.messages[0].title, image_text::kErrorTitle);
      EXPECT_NE(report.messages[0].text.find(path), std::string::npos) << report.messages[0].text;
      EXPECT_NE(report.messages[0].text.find(b.messagePart), std::string::npos) << report.messages[0].text;
    }
  }
}

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

}  // namespace
}  // namespace quorvi
