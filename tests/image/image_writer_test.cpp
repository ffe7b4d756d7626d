// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "image/image_reader.h"
#include "image/image_test_util.h"
#include "support/devices.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

using test::HexRecord;

std::vector<int> Repeat(std::initializer_list<int> pair, int times) {
  std::vector<int> bytes;
  for (int i = 0; i < times; ++i) bytes.insert(bytes.end(), pair);
  return bytes;
}

std::string Save(const DeviceDescriptor& device, const MemoryImage& image, int32_t first, int32_t& end,
                 SaveIdAnswer answer = SaveIdAnswer::kYes) {
  test::TempDir dir;
  const std::string path = (dir.path() / "out.hex").string();
  const Status status = SaveImageFile(path, first, end, device, image, answer);
  EXPECT_TRUE(status.ok()) << status.message();
  return dir.Read("out.hex");
}

std::vector<std::string> SaveLines(const DeviceDescriptor& device, const MemoryImage& image, int32_t first,
                                   int32_t end, SaveIdAnswer answer = SaveIdAnswer::kYes) {
  return test::SplitLines(Save(device, image, first, end, answer));
}

TEST(SaveImageFile, BlankSixteenF84GivesTheKnownLines) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = test::SelectedImage(device);
  image.configWord = 0x3FF1;
  int32_t end = device.programSize;
  const std::string text = Save(device, image, 0, end);

  std::vector<std::string> expected;
  for (int k = 0; k < 128; ++k) expected.push_back(HexRecord(16 * k, 0, Repeat({0xFF, 0x3F}, 8)));
  for (int k = 0; k < 32; ++k) expected.push_back(HexRecord(0x4200 + 16 * k, 0, Repeat({0xFF, 0x00}, 8)));
  expected.insert(expected.end(), {":02400000FF3F72", ":02400200FF3F72", ":02400400FF3F72", ":02400600FF3F72",
                                   ":02400E00F13F80", ":00000001FF"});
  EXPECT_EQ(text, test::JoinLines(expected, "\r\n"));

  const auto lines = test::SplitLines(text);
  ASSERT_EQ(lines.size(), 128U + 32U + 6U);
  EXPECT_EQ(lines[0], ":10000000FF3FFF3FFF3FFF3FFF3FFF3FFF3FFF3F00");
  EXPECT_EQ(lines[1], ":10001000FF3FFF3FFF3FFF3FFF3FFF3FFF3FFF3FF0");
  EXPECT_EQ(lines[127].substr(0, 9), ":1007F000");
  EXPECT_EQ(lines[128], ":10420000FF00FF00FF00FF00FF00FF00FF00FF00B6");
  EXPECT_EQ(lines[159].substr(0, 9), ":1043F000");
  EXPECT_EQ(end, 0x2200);
}

TEST(SaveImageFile, IdRecordsKeepTheirShortChecksums) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = test::SelectedImage(device);
  image.idWords = {0x3FFF, 0x1234, 0x0000, 0xABCD, 0x7777};
  image.configWord = 0x3FF1;
  const auto lines = SaveLines(device, image, 0, 8);
  ASSERT_EQ(lines.size(), 1U + 32U + 6U);
  EXPECT_EQ(lines[33], ":02400000FF3F72");
  const int shortBy[] = {0x0E, 0x0C, 0x0A, 0x08};
  const std::vector<int> bytes[] = {{0xFF, 0x3F}, {0x34, 0x12}, {0x00, 0x00}, {0xCD, 0xAB}};
  for (size_t i = 0; i < 4; ++i) {
    const std::string strict = HexRecord(0x4000 + 2 * static_cast<int>(i), 0, bytes[i]);
    const int strictSum = std::stoi(strict.substr(strict.size() - 2), nullptr, 16);
    const int written = std::stoi(lines[33 + i].substr(lines[33 + i].size() - 2), nullptr, 16);
    EXPECT_EQ(lines[33 + i].substr(0, lines[33 + i].size() - 2), strict.substr(0, strict.size() - 2));
    EXPECT_EQ((written + shortBy[i]) % 256, strictSum) << i;
  }
  EXPECT_EQ(lines[37], ":02400E00F13F80");
  EXPECT_EQ(lines[38], ":00000001FF");
}

TEST(SaveImageFile, AnswerNoLeavesOutIdsAndConfiguration) {
  const DeviceDescriptor device = test::Pic16C622();
  const MemoryImage image = test::SelectedImage(device);
  const auto lines = SaveLines(device, image, 0, 16, SaveIdAnswer::kNo);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[2], ":00000001FF");
  EXPECT_TRUE(SaveAsksIdQuestion(device, 0));
  EXPECT_FALSE(SaveAsksIdQuestion(device, 0x10));
}

TEST(SaveImageFile, SerialEepromsEndWithoutIdsOrQuestion) {
  const DeviceDescriptor device = test::Eeprom24C16();
  MemoryImage image = test::SelectedImage(device);
  image.programBuffer[0] = 0xAB;
  const auto lines = SaveLines(device, image, 0, 8, SaveIdAnswer::kYes);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], HexRecord(0, 0, {0xAB, 0x00, 0xFF, 0x3F, 0xFF, 0x3F, 0xFF, 0x3F, 0xFF, 0x3F, 0xFF, 0x3F,
                                       0xFF, 0x3F, 0xFF, 0x3F}));
  EXPECT_EQ(lines[1], ":00000001FF");
  EXPECT_FALSE(SaveAsksIdQuestion(device, 0));
}

TEST(SaveImageFile, SevenRemainingWordsMakeAFullRecord) {
  const DeviceDescriptor device = test::Pic16C622();
  MemoryImage image = test::SelectedImage(device);
  for (size_t a = 0; a < 32; ++a) image.programBuffer[a] = static_cast<int32_t>(a);
  struct Case {
    int32_t end;
    std::vector<std::string> starts;
  };
  for (const auto& c : {Case{7, {":10000000"}}, Case{15, {":10000000", ":10001000"}},
                        Case{14, {":10000000", ":0C001000"}}, Case{8, {":10000000"}},
                        Case{3, {":06000000"}}, Case{17, {":10000000", ":10001000", ":02002000"}}}) {
    const auto lines = SaveLines(device, image, 0, c.end, SaveIdAnswer::kNo);
    ASSERT_EQ(lines.size(), c.starts.size() + 1) << c.end;
    for (size_t i = 0; i < c.starts.size(); ++i) EXPECT_EQ(lines[i].substr(0, 9), c.starts[i]) << c.end;
  }
  const auto lines = SaveLines(device, image, 0, 15, SaveIdAnswer::kNo);
  EXPECT_EQ(lines[1], HexRecord(0x10, 0, {8, 0, 9, 0, 10, 0, 11, 0, 12, 0, 13, 0, 14, 0, 15, 0}));
}

TEST(SaveImageFile, EmptyRangeWritesOneEmptyRecord) {
  const DeviceDescriptor device = test::Pic16C622();
  const MemoryImage image = test::SelectedImage(device);
  const auto lines = SaveLines(device, image, 0, 0, SaveIdAnswer::kNo);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], ":0000000000");
}

TEST(SaveImageFile, LargeDevicesWriteFiveDigitAddressesAndSkipTheMiddleDigitInTheSum) {
  const DeviceDescriptor device = test::Pic18F6720();
  const MemoryImage image = test::SelectedImage(device);
  const auto lines = SaveLines(device, image, 0x7FF8, 0x8008, SaveIdAnswer::kNo);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], ":100FFF000FF3FFF3FFF3FFF3FFF3FFF3FFF3FFF3F01");
  EXPECT_EQ(lines[1], ":101000000FF3FFF3FFF3FFF3FFF3FFF3FFF3FFF3FF0");
  EXPECT_EQ(lines[0].size(), 44U);
}

TEST(SaveImageFile, WordsOutsideSixteenBitsAreSplitAsTheirTextStands) {
  const DeviceDescriptor device = test::Pic16C622();
  MemoryImage image = test::SelectedImage(device);
  image.programBuffer[0] = -1;
  image.programBuffer[1] = 0x12345;
  image.programBuffer[2] = 0x7;
  const auto lines = SaveLines(device, image, 0, 3, SaveIdAnswer::kNo);
  // -1 is FFFFFFFF: last two FF, first two FF. 12345: "45" then "12".
  EXPECT_EQ(lines[0].substr(0, 21), ":06000000FFFF45120700");
}

TEST(SaveImageFile, AWordLoadedNegativeSavesWithHighByteFF) {
  const DeviceDescriptor device = test::Pic18F452();
  MemoryImage image = test::SelectedImage(device);
  test::TempDir dir;
  ASSERT_TRUE(LoadImageFile(dir.Write("in.hex", ":020000001980E5\n:00000001FF\n"), false, device, image).loaded);
  ASSERT_EQ(image.programBuffer[0], -32743);  // 0x8019 read as a signed word
  const auto lines = SaveLines(device, image, 0, 1, SaveIdAnswer::kNo);
  EXPECT_EQ(lines[0].substr(0, 13), ":0200000019FF");  // "FFFF8019": last two, then first two
}

TEST(SaveImageFile, DataSectionGoesWithItsPartsOnly) {
  struct Case {
    const char* name;
    bool section;
  };
  for (const Case c : {Case{"16F628", true}, {"16F628A", false}, {"16F84", true}, {"16F877", true},
                       {"16C84", true}, {"16C622", false}, {"12C508A", false}, {"16F648A", false}}) {
    DeviceDescriptor device = test::MakeDevice({.name = c.name, .programSize = 0x3FF, .family = 1});
    MemoryImage image = test::SelectedImage(device);
    image.dataBuffer[0] = 0xAB;
    image.dataBuffer[255] = 0x12;
    int32_t end = 8;
    const auto lines = test::SplitLines(Save(device, image, 8, end));
    ASSERT_EQ(lines.size(), c.section ? 34U : 2U) << c.name;
    EXPECT_EQ(end, c.section ? 0x2200 : 8) << c.name;
    if (c.section) {
      EXPECT_EQ(lines[1].substr(0, 13), ":10420000AB00") << c.name;
      EXPECT_EQ(lines[32], HexRecord(0x43F0, 0, {0xFF, 0, 0xFF, 0, 0xFF, 0, 0xFF, 0, 0xFF, 0, 0xFF, 0, 0xFF, 0,
                                                 0x12, 0}));
    }
  }
}

TEST(SaveImageFile, ReplacesAnOldFileWholeAndLeavesNoTemporaryFile) {
  test::TempDir dir;
  const std::string path = dir.Write("old.hex", std::string(100000, 'x'));
  const DeviceDescriptor device = test::Pic16C622();
  const MemoryImage image = test::SelectedImage(device);
  int32_t end = 8;
  ASSERT_TRUE(SaveImageFile(path, 0, end, device, image, SaveIdAnswer::kNo).ok());
  EXPECT_EQ(dir.Read("old.hex"), HexRecord(0, 0, Repeat({0xFF, 0x3F}, 8)) + "\r\n:00000001FF\r\n");
  size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.path())) ++files;
  EXPECT_EQ(files, 1U);
}

TEST(SaveImageFile, FailureNamesThePathAndKeepsTheEnd) {
  const DeviceDescriptor device = test::Pic16F84();
  const MemoryImage image = test::SelectedImage(device);
  int32_t end = device.programSize;
  const Status status = SaveImageFile("/nonexistent/folder/x.hex", 0, end, device, image, SaveIdAnswer::kYes);
  ASSERT_FALSE(status.ok());
  EXPECT_NE(status.message().find("/nonexistent/folder/x.hex"), std::string::npos);
  EXPECT_EQ(end, device.programSize);

  int32_t beyond = 65540;
  EXPECT_FALSE(SaveImageFile("/tmp/never-written.hex", 65528, beyond, device, image, SaveIdAnswer::kNo).ok());
  EXPECT_FALSE(std::filesystem::exists("/tmp/never-written.hex"));
}

TEST(WithHexSuffix, AppendsUnlessTheNameEndsInHex) {
  EXPECT_EQ(WithHexSuffix("board.hx"), "board.hx.HEX");
  EXPECT_EQ(WithHexSuffix("board.hex"), "board.hex");
  EXPECT_EQ(WithHexSuffix("board.HeX"), "board.HeX");
  EXPECT_EQ(WithHexSuffix("board"), "board.HEX");
  EXPECT_EQ(WithHexSuffix("hex"), "hex.HEX");
  EXPECT_EQ(WithHexSuffix("/a.hex/board.obj"), "/a.hex/board.obj.HEX");
}

TEST(SavePaths, LastDirectoryAndFileName) {
  EXPECT_EQ(LastDirectoryOf("/home/me/board.hex"), "/home/me");
  EXPECT_EQ(LastDirectoryOf("board.hex"), "");
  EXPECT_EQ(FileNameOf("/home/me/board.hex"), "board.hex");
  EXPECT_EQ(FileNameOf("board.hex"), "board.hex");
}

TEST(SaveHexCommand, SavesWholeMemoryAndLeavesTheSizeAt0x2200ForDataParts) {
  test::TempDir dir;
  DeviceDescriptor device = test::Pic16F84();
  const MemoryImage image = test::SelectedImage(device);
  const auto saved = SaveHexCommand((dir.path() / "board").string(), device, image, SaveIdAnswer::kNo);
  ASSERT_TRUE(saved.ok()) << saved.message();
  EXPECT_EQ(saved.value(), (dir.path() / "board.HEX").string());
  EXPECT_EQ(device.programSize, 0x2200);
  EXPECT_EQ(test::SplitLines(dir.Read("board.HEX")).size(), 128U + 32U + 1U);

  DeviceDescriptor otp = test::Pic16C622();
  ASSERT_TRUE(SaveHexCommand((dir.path() / "otp.hex").string(), otp, image, SaveIdAnswer::kNo).ok());
  EXPECT_EQ(otp.programSize, 0x7FF);
}

// --- Save, then load: each family gets its image back ---------------------

MemoryImage Patterned(const DeviceDescriptor& device, int32_t mask) {
  MemoryImage image = test::SelectedImage(device);
  for (int32_t a = 0; a <= device.programSize; ++a) {
    image.programBuffer[static_cast<size_t>(a)] = (a * 37 + 11) & mask;
  }
  for (size_t i = 0; i < 256; ++i) image.dataBuffer[i] = static_cast<int16_t>((i * 7) & 0xFF);
  return image;
}

TEST(SaveThenLoad, FourteenBitFlashPart) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = Patterned(device, 0x3FFF);
  image.idWords = {1, 2, 3, 4, 0};
  image.configWord = 0x3FF1;
  test::TempDir dir;
  DeviceDescriptor saving = device;
  ASSERT_TRUE(SaveHexCommand((dir.path() / "p.hex").string(), saving, image, SaveIdAnswer::kYes).ok());
  MemoryImage back = test::SelectedImage(device);
  const LoadReport report = LoadImageFile((dir.path() / "p.hex").string(), false, device, back);
  ASSERT_TRUE(report.loaded);
  EXPECT_TRUE(report.messages.empty());
  image.config18Bytes.fill(0xFF);  // every plain load resets them
  EXPECT_EQ(back, image);
}

TEST(SaveThenLoad, OneTimeProgrammableFourteenBitPart) {
  const DeviceDescriptor device = test::Pic16C622();
  MemoryImage image = Patterned(device, 0x3FFF);
  image.idWords = {0xA, 0xB, 0xC, 0xD, 0};
  image.configWord = 0x3F15;
  test::TempDir dir;
  DeviceDescriptor saving = device;
  ASSERT_TRUE(SaveHexCommand((dir.path() / "p.hex").string(), saving, image, SaveIdAnswer::kYes).ok());
  MemoryImage back = test::SelectedImage(device);
  back.dataBuffer = image.dataBuffer;  // no data section for this part
  ASSERT_TRUE(LoadImageFile((dir.path() / "p.hex").string(), false, device, back).loaded);
  image.config18Bytes.fill(0xFF);
  EXPECT_EQ(back, image);
}

TEST(SaveThenLoad, TwelveBitPart) {
  const DeviceDescriptor device = test::Pic12C508A();
  MemoryImage image = Patterned(device, 0xFFF);
  image.idWords = {5, 6, 7, 8, 0};
  for (size_t i = 0; i < 4; ++i) image.programBuffer[0x200 + i] = image.idWords[i];  // where the chip keeps them
  image.configWord = 0xFEA;
  test::TempDir dir;
  DeviceDescriptor saving = device;
  ASSERT_TRUE(SaveHexCommand((dir.path() / "p.hex").string(), saving, image, SaveIdAnswer::kYes).ok());
  EXPECT_EQ(saving.programSize, device.programSize);
  MemoryImage back = image;
  for (int32_t a = 0; a <= device.programSize; ++a) back.programBuffer[static_cast<size_t>(a)] = 0;
  back.configWord = 0;
  back.idWords = {};
  const LoadReport report = LoadImageFile((dir.path() / "p.hex").string(), false, device, back);
  ASSERT_TRUE(report.loaded);
  EXPECT_TRUE(report.messages.empty());
  image.config18Bytes.fill(0xFF);
  EXPECT_EQ(back, image);
}

TEST(SaveThenLoad, EighteenFPartKeepsProgramWordsButNotItsConfigurationBytes) {
  const DeviceDescriptor device = test::Pic18F452();
  // Words from 0x8000 load negative and would save as FFxx (see below).
  MemoryImage image = Patterned(device, 0x7FFF);
  test::TempDir dir;
  DeviceDescriptor saving = device;
  ASSERT_TRUE(SaveHexCommand((dir.path() / "p.hex").string(), saving, image, SaveIdAnswer::kNo).ok());
  MemoryImage back = test::SelectedImage(device);
  const LoadReport report = LoadImageFile((dir.path() / "p.hex").string(), false, device, back);
  ASSERT_TRUE(report.loaded);
  for (int32_t a = 0; a <= device.programSize; ++a) {
    ASSERT_EQ(back.programBuffer[static_cast<size_t>(a)], image.programBuffer[static_cast<size_t>(a)]) << a;
  }
  // The writer never writes the configuration bytes, so the reload asks for fuses.
  ASSERT_EQ(report.messages.size(), 1U);
  EXPECT_EQ(back.configWord, 0x3FFF);
}

TEST(SaveThenLoad, FiveDigitAddressesDoNotReadBack) {
  const DeviceDescriptor device = test::Pic18F6720();
  MemoryImage image = test::SelectedImage(device);
  for (size_t a = 0; a < 8; ++a) image.programBuffer[a] = static_cast<int32_t>(0x1100 + a);
  test::TempDir dir;
  const std::string path = (dir.path() / "p.hex").string();
  int32_t end = 8;
  ASSERT_TRUE(SaveImageFile(path, 0, end, device, image, SaveIdAnswer::kNo).ok());
  EXPECT_EQ(test::SplitLines(dir.Read("p.hex"))[0].substr(0, 10), ":100000000");
  MemoryImage back = test::SelectedImage(device);
  ASSERT_TRUE(LoadImageFile(path, false, device, back).loaded);
  // The fifth address digit is read as the type's first: every word shifts by one digit.
  // ":10" "0000" "0" "0" "0011" "0111"... reads words 0100, 1110, ...
  EXPECT_EQ(back.programBuffer[0], 0x0100);
  EXPECT_EQ(back.programBuffer[1], 0x1110);
}

TEST(SaveThenLoad, SerialEeprom) {
  const DeviceDescriptor device = test::Eeprom24C16();
  const MemoryImage image = Patterned(device, 0xFF);
  test::TempDir dir;
  DeviceDescriptor saving = device;
  ASSERT_TRUE(SaveHexCommand((dir.path() / "p.hex").string(), saving, image, SaveIdAnswer::kYes).ok());
  MemoryImage back = test::SelectedImage(device);
  const LoadReport report = LoadImageFile((dir.path() / "p.hex").string(), false, device, back);
  ASSERT_TRUE(report.loaded);
  EXPECT_TRUE(report.messages.empty());
  for (int32_t a = 0; a <= device.programSize; ++a) {
    ASSERT_EQ(back.programBuffer[static_cast<size_t>(a)], image.programBuffer[static_cast<size_t>(a)]) << a;
  }
}

TEST(SaveImageFile, SrecordReadsTheSameContentAsGpasmWrote) {
  if (!test::HaveProgram("srec_cmp")) GTEST_SKIP() << "srec_cmp (package srecord) is not installed";
  const DeviceDescriptor device = test::Pic16F84A();
  MemoryImage image = test::SelectedImage(device);
  const std::string source = test::ExamplePath("eeprom_16f84a.inhx8m.hex");
  ASSERT_TRUE(LoadImageFile(source, false, device, image).loaded);
  test::TempDir dir;
  const std::string saved = (dir.path() / "saved.hex").string();
  int32_t end = device.programSize;
  ASSERT_TRUE(SaveImageFile(saved, 0, end, device, image, SaveIdAnswer::kYes).ok());
  const std::string crop = " -crop 0 0x14 0x4000 0x4008 0x400E 0x4010 0x4200 0x420A";
  const auto same = test::RunCommand("srec_cmp " + source + " -intel" + crop + " " + saved +
                                     " -intel -ignore-checksums" + crop + " 2>&1");
  EXPECT_EQ(same.exitCode, 0) << same.out;
  // The ID records' checksums are kept short on purpose: a strict reader notices.
  const auto strict = test::RunCommand("srec_cat " + saved + " -intel -o /dev/null 2>&1");
  EXPECT_NE(strict.exitCode, 0);
  EXPECT_NE(strict.out.find("checksum"), std::string::npos) << strict.out;
}

TEST(SaveImageFile, WithoutIdRecordsEveryChecksumIsRightForStrictReaders) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = Patterned(device, 0x3FFF);
  test::TempDir dir;
  const std::string saved = (dir.path() / "saved.hex").string();
  int32_t end = device.programSize;
  ASSERT_TRUE(SaveImageFile(saved, 0, end, device, image, SaveIdAnswer::kNo).ok());
  if (test::HaveProgram("srec_cat")) {
    const auto strict = test::RunCommand("srec_cat " + saved + " -intel -o /dev/null 2>&1");
    EXPECT_EQ(strict.exitCode, 0) << strict.out;
  }
  if (test::RunCommand("/usr/bin/python3 -c 'import intelhex' 2>/dev/null").exitCode != 0) {
    GTEST_SKIP() << "python3-intelhex is not installed";
  }
  const auto dump = test::RunCommand("/usr/bin/python3 -c 'import intelhex,sys; h=intelhex.IntelHex(sys.argv[1]); "
                                     "print(h[0], h[1], h[0x7FE], h[0x7FF], h[0x4200], h[0x4201], h[0x43FE])' " +
                                     saved);
  ASSERT_EQ(dump.exitCode, 0);
  const int32_t last = image.programBuffer[0x3FF];
  const std::string expected = std::to_string(image.programBuffer[0] & 0xFF) + " " +
                               std::to_string(image.programBuffer[0] >> 8) + " " + std::to_string(last & 0xFF) +
                               " " + std::to_string(last >> 8) + " " + std::to_string(image.dataBuffer[0]) + " 0 " +
                               std::to_string(image.dataBuffer[255]) + "\n";
  EXPECT_EQ(dump.out, expected);
}

}  // namespace
}  // namespace quorvi
