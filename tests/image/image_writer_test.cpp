// SPDX-License-Identifier: GPL-3.0-or-later
// Saving images: HEX files, and the calibration area's own file.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "image/calibration.h"
#include "image/image_reader.h"
#include "image/image_test_util.h"
#include "image/image_writer.h"
#include "image/serial_numbering.h"
#include "support/devices.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

// Program words, data section, the ID records with their short checksums,
// configuration and end record, each line ended by CR LF; the command adds
// the suffix and leaves a data part's size at the data section's end.
TEST(SaveHexCommand, WholeSixteenF84MatchesTheGoldenFile) {
  test::TempDir dir;
  DeviceDescriptor device = test::Pic16F84();
  const auto saved = SaveHexCommand((dir.path() / "board").string(), device, test::Sample16F84(), SaveIdAnswer::kYes,
                                     FileFormat::kLegacy);
  ASSERT_TRUE(saved.ok()) << saved.message();
  EXPECT_EQ(saved.value(), (dir.path() / "board.HEX").string());
  EXPECT_EQ(dir.Read("board.HEX"), test::Golden("save_16f84.hex"));
  EXPECT_EQ(device.programSize, 0x2200);
  EXPECT_TRUE(SaveAsksIdQuestion(device, 0));
  EXPECT_FALSE(SaveAsksIdQuestion(device, 0x10));
  EXPECT_FALSE(SaveAsksIdQuestion(test::Eeprom24C16(), 0));
}

// Each row: device, first and end word, and "ids" when asked for the ID
// records (a 24Cxx has none), over words 0..31 counting up and 3FFFh beyond.
// Records cover the range, seven remaining words make a full one, and large
// devices write five-digit addresses whose middle digit the sum leaves out.
TEST(SaveImageFile, RecordsCoverTheRangeAsEachRowSays) {
  MemoryImage image;
  std::fill(image.programBuffer.begin(), image.programBuffer.end(), 0x3FFF);
  for (size_t a = 0; a < 32; ++a) image.programBuffer[a] = static_cast<int32_t>(a);
  const auto run = [&image](const std::string& row) {
    const std::vector<std::string> w = test::Words(row);
    int32_t end = std::stoi(w.at(2), nullptr, 0);
    const auto answer = w.size() > 3 ? SaveIdAnswer::kYes : SaveIdAnswer::kNo;
    const auto text = FormatHexImage(std::stoi(w.at(1), nullptr, 0), end, test::TestDevice(w.at(0)), image, answer,
                                     FileFormat::kLegacy);
    return text.ok() ? "end " + std::to_string(end) + ": " + test::Escaped(text.value()) : text.message();
  };
  EXPECT_EQ(test::TableMismatches("save_ranges.txt", run), "");
}

TEST(SaveImageFile, DataSectionGoesWithItsPartsOnly) {
  for (const auto& [name, section] : {std::pair{"16F628", true}, {"16F628A", false}, {"16F84", true},
                                      {"16F877", true}, {"16C84", true}, {"16C622", false}, {"12C508A", false},
                                      {"16F648A", false}}) {
    const DeviceDescriptor device = test::MakeDevice({.name = name, .programSize = 0x3FF, .family = Family::kFlash});
    int32_t end = 8;
    const auto text = FormatHexImage(8, end, device, test::Sample16F84(), SaveIdAnswer::kYes, FileFormat::kLegacy);
    const auto lines = test::SplitLines(text.value());
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
  ASSERT_TRUE(
      SaveImageFile(path, 0, end, test::Pic16C622(), MemoryImage{}, SaveIdAnswer::kNo, FileFormat::kLegacy).ok());
  EXPECT_EQ(dir.Read("old.hex"), ":0000000000\r\n:00000001FF\r\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(SaveImageFile, FailureNamesThePathAndKeepsTheEnd) {
  const DeviceDescriptor device = test::Pic16F84();
  const MemoryImage image = test::SelectedImage(device);
  int32_t end = device.programSize;
  const Status status = SaveImageFile("/nonexistent/folder/x.hex", 0, end, device, image, SaveIdAnswer::kYes,
                                      FileFormat::kLegacy);
  ASSERT_FALSE(status.ok());
  EXPECT_NE(status.message().find("/nonexistent/folder/x.hex"), std::string::npos);
  EXPECT_EQ(end, device.programSize);

  int32_t beyond = 65540;
  EXPECT_FALSE(SaveImageFile("/tmp/never-written.hex", 65528, beyond, device, image, SaveIdAnswer::kNo,
                             FileFormat::kLegacy).ok());
  EXPECT_FALSE(std::filesystem::exists("/tmp/never-written.hex"));
}

TEST(FileNames, SuffixFolderNameKindAndCompanion) {
  const std::map<std::string, test::Call> calls = {
      {"WithHexSuffix", [](const auto& a) { return WithHexSuffix(a.at(0)); }},
      {"LastDirectoryOf", [](const auto& a) { return LastDirectoryOf(a.at(0)); }},
      {"FileNameOf", [](const auto& a) { return FileNameOf(a.at(0)); }},
      {"ImageFileKindOf",
       [](const auto& a) { return std::vector<std::string>{"HEX", "BIN", "TIF"}.at(size_t(ImageFileKindOf(a[0]))); }},
      {"CompanionPath", [](const auto& a) { return CompanionPath(a.at(0)); }}};
  EXPECT_EQ(test::TableMismatches("file_names.txt", calls), "");
}

// --- Outside tools read what we write ---------------------------------------

// What gpasm wrote loads and saves to the same bytes at the same addresses,
// and srec_cat and python-intelhex read every saved file strictly.
TEST(SaveImageFile, GpasmFilesSaveToFilesThatEveryReaderAccepts) {
  if (!test::HaveProgram("srec_cmp")) GTEST_SKIP() << "srec_cmp (package srecord) is not installed";
  test::TempDir dir;
  for (std::string name : test::DataFiles("examples", ".hex.txt")) {
    name.resize(name.size() - 4);  // as blink_12c508a.inhx8m.hex
    const std::string part = name.substr(name.find('_') + 1, name.find('.') - name.find('_') - 1);
    std::string upper = part;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const DeviceDescriptor device = test::TestDevice(upper);
    MemoryImage image = test::SelectedImage(device);
    const std::string source = test::ExamplePath(name);
    const LoadReport report = LoadImageFile(source, false, device, image);
    ASSERT_TRUE(report.loaded && report.messages.empty()) << name;
    const std::string saved = (dir.path() / name).string();
    int32_t end = device.programSize + 1;
    ASSERT_TRUE(SaveImageFile(saved, 0, end, device, image, SaveIdAnswer::kYes, FileFormat::kStandard).ok());
    const auto same = test::RunCommand("srec_cmp " + source + " -intel " + saved + " -intel -crop -within " + source +
                                       " -intel 2>&1");
    EXPECT_EQ(same.exitCode, 0) << name << ": " << same.out;
    const auto strict = test::RunCommand("srec_cat " + saved + " -intel -o /dev/null 2>&1");
    EXPECT_EQ(strict.exitCode, 0) << name << ": " << strict.out;
    const auto python = test::RunCommand("/usr/bin/python3 -c 'import intelhex,sys; intelhex.IntelHex(sys.argv[1])' " +
                                         saved + " 2>&1");
    EXPECT_EQ(python.exitCode, 0) << name << ": " << python.out;
  }
}

// A standard save of the sample image: every word as the chip holds it (14 bits), the
// data EEPROM one byte per word at 2100h, IDs and configuration at 2000h and
// 2007h, right sums; the name keeps its extension and .bin is raw.
TEST(SaveHexCommand, StandardSaveMatchesTheGoldenFileAndKeepsTheName) {
  test::TempDir dir;
  DeviceDescriptor device = test::Pic16F84();
  const auto hex = SaveHexCommand((dir.path() / "board.hx").string(), device, test::Sample16F84(), SaveIdAnswer::kYes,
                                  FileFormat::kStandard);
  ASSERT_TRUE(hex.ok()) << hex.message();
  EXPECT_EQ(hex.value(), (dir.path() / "board.hx").string());
  EXPECT_EQ(test::GoldenMismatch("save_16f84_standard.hex", dir.Read("board.hx")), "");
  EXPECT_EQ(device.programSize, test::Pic16F84().programSize);
  const auto bin = SaveHexCommand((dir.path() / "board.bin").string(), device, test::Sample16F84(),
                                  SaveIdAnswer::kYes, FileFormat::kStandard);
  ASSERT_TRUE(bin.ok()) << bin.message();
  EXPECT_EQ(dir.Read("board.bin").substr(0, 8), std::string("\xFF\x3F\xFF\x3F\x45\x23\x07\x00", 8));
  EXPECT_EQ(dir.Read("board.bin").size(), 2048U);
  EXPECT_EQ(SavedFileName("/tmp/x", FileFormat::kStandard), "/tmp/x.hex");
}

MemoryImage CalibratedImage() {
  MemoryImage image = test::SelectedImage(test::Pic14000());
  for (size_t a = 0xFC0; a <= 0xFFF; ++a) image.programBuffer[a] = static_cast<int32_t>(0x3400 + (a & 0x3F));
  image.programBuffer[0xFBF] = 0x1111;
  image.programBuffer[0x1000] = 0x2222;
  return image;
}

// Eight records from 1F80h to 1FF0h, then the data section of the parts that have one.
TEST(CalibrationFile, SavesTheCalibrationAreaAndTheDataSectionOfDataParts) {
  for (const DeviceDescriptor& device : {test::Pic14000(), test::Pic16F84()}) {
    test::TempDir dir;
    const std::string path = (dir.path() / "chip.cal").string();
    ASSERT_TRUE(SaveCalibrationFile(path, device, CalibratedImage(), FileFormat::kLegacy).ok());
    EXPECT_EQ(test::GoldenMismatch("calibration_" + device.name + ".hex", dir.Read("chip.cal")), "");
  }
}

// Loading it back changes only the area and the configuration word, which
// every load resets to the blank word.
TEST(CalibrationFile, RoundTripChangesOnlyTheAreaAndTheConfigurationWord) {
  test::TempDir dir;
  const std::string path = (dir.path() / "chip.cal").string();
  const DeviceDescriptor device = test::Pic14000();
  ASSERT_TRUE(SaveCalibrationFile(path, device, CalibratedImage(), FileFormat::kLegacy).ok());

  MemoryImage image = test::SelectedImage(device);
  std::fill(image.programBuffer.begin(), image.programBuffer.end(), 0x0777);
  image.configWord = 0x3F00;
  image.idWords = {1, 2, 3, 4, 0};
  image.dataBuffer.fill(0x12);
  const LoadReport report = LoadCalibrationFile(path, device, image, test::LoadAs(FileFormat::kLegacy));
  ASSERT_TRUE(report.loaded);
  EXPECT_TRUE(report.messages.empty());
  EXPECT_EQ(test::GoldenMismatch("calibration_loaded.txt", test::Dump(image)), "");
}

}  // namespace
}  // namespace quorvi
