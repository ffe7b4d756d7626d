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

std::string Save(const DeviceDescriptor& device, const MemoryImage& image, int32_t first, int32_t& end,
                 SaveIdAnswer answer = SaveIdAnswer::kYes) {
  test::TempDir dir;
  const Status status = SaveImageFile((dir.path() / "out.hex").string(), first, end, device, image, answer);
  EXPECT_TRUE(status.ok()) << status.message();
  return dir.Read("out.hex");
}

// Program words, data section, the ID records with their short checksums,
// configuration and end record, each line ended by CR LF; the command adds
// the suffix and leaves a data part's size at the data section's end.
TEST(SaveHexCommand, WholeSixteenF84MatchesTheGoldenFile) {
  test::TempDir dir;
  DeviceDescriptor device = test::Pic16F84();
  const auto saved = SaveHexCommand((dir.path() / "board").string(), device, test::Sample16F84(), SaveIdAnswer::kYes);
  ASSERT_TRUE(saved.ok()) << saved.message();
  EXPECT_EQ(saved.value(), (dir.path() / "board.HEX").string());
  EXPECT_EQ(dir.Read("board.HEX"), test::Golden("save_16f84.hex"));
  EXPECT_EQ(device.programSize, 0x2200);
  EXPECT_TRUE(SaveAsksIdQuestion(device, 0));
  EXPECT_FALSE(SaveAsksIdQuestion(device, 0x10));
  EXPECT_FALSE(SaveAsksIdQuestion(test::Eeprom24C16(), 0));
}

TEST(SaveImageFile, RecordsCoverTheRangeAndSevenRemainingWordsMakeAFullOne) {
  MemoryImage image;
  for (size_t a = 0; a < 32; ++a) image.programBuffer[a] = static_cast<int32_t>(a);
  struct Case {
    int32_t end;
    std::vector<std::pair<int, int>> records;  // first word, word count
    bool eeprom = false;                        // asked for IDs, but a 24Cxx has none
  };
  for (const auto& c : {Case{0, {{0, 0}}}, Case{3, {{0, 3}}}, Case{7, {{0, 8}}}, Case{8, {{0, 8}}},
                        Case{14, {{0, 8}, {8, 6}}}, Case{15, {{0, 8}, {8, 8}}},
                        Case{17, {{0, 8}, {8, 8}, {16, 1}}}, Case{8, {{0, 8}}, true}}) {
    std::vector<std::string> lines;
    for (const auto& [first, count] : c.records) {
      std::vector<int> bytes;
      for (int a = first; a < first + count; ++a) bytes.insert(bytes.end(), {a, 0});
      lines.push_back(HexRecord(2 * first, 0, bytes));
    }
    lines.push_back(":00000001FF");
    int32_t end = c.end;
    const auto device = c.eeprom ? test::Eeprom24C16() : test::Pic16C622();
    EXPECT_EQ(Save(device, image, 0, end, c.eeprom ? SaveIdAnswer::kYes : SaveIdAnswer::kNo),
              test::JoinLines(lines, "\r\n"))
        << c.end;
    EXPECT_EQ(end, c.end);
  }
}

TEST(SaveImageFile, LargeDevicesWriteFiveDigitAddressesAndSkipTheMiddleDigitInTheSum) {
  const DeviceDescriptor device = test::Pic18F6720();
  int32_t end = 0x8008;
  EXPECT_EQ(Save(device, test::SelectedImage(device), 0x7FF8, end, SaveIdAnswer::kNo),
            ":100FFF000FF3FFF3FFF3FFF3FFF3FFF3FFF3FFF3F01\r\n"
            ":101000000FF3FFF3FFF3FFF3FFF3FFF3FFF3FFF3FF0\r\n:00000001FF\r\n");
}

TEST(SaveImageFile, DataSectionGoesWithItsPartsOnly) {
  for (const auto& [name, section] : {std::pair{"16F628", true}, {"16F628A", false}, {"16F84", true},
                                      {"16F877", true}, {"16C84", true}, {"16C622", false}, {"12C508A", false},
                                      {"16F648A", false}}) {
    const DeviceDescriptor device = test::MakeDevice({.name = name, .programSize = 0x3FF, .family = 1});
    int32_t end = 8;
    const auto lines = test::SplitLines(Save(device, test::Sample16F84(), 8, end));
    ASSERT_EQ(lines.size(), section ? 34U : 2U) << name;
    EXPECT_EQ(end, section ? 0x2200 : 8) << name;
    if (section) {
      const auto golden = test::SplitLines(test::Golden("save_16f84.hex"));
      EXPECT_EQ(std::vector(lines.begin() + 1, lines.end() - 1), std::vector(golden.begin() + 128, golden.end() - 6))
          << name;
    }
  }
}

TEST(SaveImageFile, ReplacesAnOldFileWholeAndLeavesNoTemporaryFile) {
  test::TempDir dir;
  const std::string path = dir.Write("old.hex", std::string(100000, 'x'));
  int32_t end = 0;
  ASSERT_TRUE(SaveImageFile(path, 0, end, test::Pic16C622(), MemoryImage{}, SaveIdAnswer::kNo).ok());
  EXPECT_EQ(dir.Read("old.hex"), ":0000000000\r\n:00000001FF\r\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
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

TEST(SavePaths, SuffixLastDirectoryAndFileName) {
  for (const auto& [in, out] : {std::pair{"board.hx", "board.hx.HEX"}, {"board.hex", "board.hex"},
                                {"board.HeX", "board.HeX"}, {"board", "board.HEX"}, {"hex", "hex.HEX"},
                                {"/a.hex/board.obj", "/a.hex/board.obj.HEX"}}) {
    EXPECT_EQ(WithHexSuffix(in), out) << in;
  }
  EXPECT_EQ(LastDirectoryOf("/home/me/board.hex"), "/home/me");
  EXPECT_EQ(LastDirectoryOf("board.hex"), "");
  EXPECT_EQ(FileNameOf("/home/me/board.hex"), "board.hex");
  EXPECT_EQ(FileNameOf("board.hex"), "board.hex");
}

// --- Outside tools read what we write ---------------------------------------

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
  const MemoryImage image = test::Sample16F84();
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
                                     "print(*(h[a] for a in (2, 3, 4, 5, 0x7FE, 0x7FF, 0x4200, 0x4201, 0x427E)))' " +
                                     saved);
  ASSERT_EQ(dump.exitCode, 0);
  // Words -1 and 12345h as the writer splits them, 2ABCh, data bytes 0 (ABh) and 63 (5Ah).
  EXPECT_EQ(dump.out, "255 255 69 18 188 42 171 0 90\n");
}

}  // namespace
}  // namespace quorvi
