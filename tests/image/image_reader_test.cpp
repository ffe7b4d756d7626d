// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_reader.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "image/image_test_util.h"
#include "image/image_texts.h"
#include "image/memory_image.h"
#include "support/devices.h"
#include "support/run_command.h"
#include "support/temp_dir.h"
#include "util/file_check.h"

namespace quorvi {
namespace {

using test::HexRecord;

// What loading `path` leaves for each device of `entries` (":keep" keeps the
// buffer, ":quiet" loads in quiet mode), from an image whose every program
// slot holds a mark, so that a stray write or clear shows.
std::string LoadResults(const std::string& path, const std::vector<std::string>& entries, FileFormat format) {
  std::string out;
  for (const std::string& entry : entries) {
    const bool keep = entry.ends_with(":keep"), quiet = entry.ends_with(":quiet");
    const DeviceDescriptor device = test::TestDevice(keep || quiet ? entry.substr(0, entry.rfind(':')) : entry);
    MemoryImage image = test::SelectedImage(device);
    std::fill(image.programBuffer.begin(), image.programBuffer.end(), 0x1111);
    image.configWord = 0x1234;
    const MemoryImage before = image;
    LoadOptions options;
    options.quiet = quiet;
    options.format = format;
    const LoadReport report = LoadImageFile(path, keep, device, image, options);
    out += "== " + entry + (report.loaded ? "" : " refused") + (report.progressLeftShown ? ", progress shown" : "") +
           (report.quietEnd ? ", quiet end \"" + *report.quietEnd + "\"" : "") + "\n";
    for (const UserMessage& message : report.messages) out += test::Shown(message) + "\n";
    for (const std::string& note : report.notes) out += "note: " + note + "\n";
    out += report.loaded ? test::Dump(image) : image == before ? "" : "but the image changed\n";
  }
  return test::Replaced(out, path, "FILE");
}

// Each NAME.txt in tests/data/load (legacy files), tests/data/load_standard
// and tests/data/examples names the devices to load the file NAME for after
// its "load", then has what each load leaves.
TEST(LoadImageFile, EachFileLoadsAsItsCaseSays) {
  struct Folder {
    const char* name;
    std::string inputs;
    FileFormat format;
  };
  for (const auto& [folder, inputs, format] :
       {Folder{"load", test::DataPath("load"), FileFormat::kLegacy},
        Folder{"load_standard", test::DataPath("load_standard"), FileFormat::kStandard},
        Folder{"examples", QUORVI_EXAMPLES_DIR, FileFormat::kStandard}}) {
    for (const std::string& name : test::DataFiles(folder, ".txt")) {
      const std::string expected = test::Golden(std::string(folder) + "/" + name);
      const size_t load = expected.find("\nload ") + 1;  // after the comment that says what the case shows
      ASSERT_NE(load, 0U) << name;
      const size_t end = expected.find('\n', load) + 1;
      const std::vector<std::string> words = test::Words(expected.substr(load, end - load - 1));
      const std::string path = inputs + "/" + name.substr(0, name.size() - 4);
      const std::string actual = LoadResults(path, std::vector(words.begin() + 1, words.end()), format);
      EXPECT_EQ(test::GoldenMismatch(std::string(folder) + "/" + name, expected.substr(0, end) + actual), "");
    }
  }
}

// Files made here: a .BIN as big as the program buffer and one byte more, a
// .TIF that big after its header, and files that cannot be read, which name
// themselves and why; in quiet mode a missing file ends the run with an empty
// log, anything else with that one line.
TEST(LoadImageFile, MadeAndUnreadableFilesLoadAsTheirCasesSay) {
  test::TempDir dir;
  std::filesystem::resize_file(dir.Write("huge.hex", ""), kLargestInputBytes + 1);
  std::string out;
  for (const auto& [path, entries] : std::vector<std::pair<std::string, std::string>>{
           {dir.Write("full.bin", std::string(65537, '\x42')), "24LC512"},
           {dir.Write("big.bin", std::string(65538, 'x')), "16F84 18F452 12C508A"},
           {dir.Write("big.tif", std::string(65538 + 25, 'x')), "16F84 18F452 12C508A"},
           {"/nonexistent/folder/x.hex", "16F84 16F84:quiet"},
           {dir.path().string(), "16F84 16F84:quiet"},
           {"/dev/zero", "16F84 16F84:quiet"},
           {dir.path() / "huge.hex", "16F84 16F84:quiet"}}) {
    out += "# " + path + "\n" + LoadResults(path, test::Words(entries), FileFormat::kLegacy);
  }
  EXPECT_EQ(test::GoldenMismatch("load_made.txt", test::Replaced(out, dir.path().string(), "$DIR")), "");
}

TEST(LoadImageFile, BigDevicesReportProgressEvery128Words) {
  std::vector<int> percents;
  LoadOptions options;
  options.format = FileFormat::kLegacy;
  options.progress = [&](int percent) { percents.push_back(percent); };
  test::TempDir dir;
  const std::string path = dir.Write("big.hex", HexRecord(0, 0, {1, 0}) + "\n" + HexRecord(2, 0, {2, 0}) + "\n" +
                                                    HexRecord(0xFF00, 0, {3, 0}) + "\n:00000001FF\n");
  MemoryImage big = test::SelectedImage(test::Pic18F6720());
  ASSERT_TRUE(LoadImageFile(path, false, test::Pic18F6720(), big, options).loaded);
  EXPECT_EQ(percents, (std::vector<int>{0, 50}));
  percents.clear();
  MemoryImage small = test::SelectedImage(test::Pic18F452());
  ASSERT_TRUE(LoadImageFile(path, false, test::Pic18F452(), small, options).loaded);
  EXPECT_TRUE(percents.empty());
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
      const FileFormat format = round % 2 == 0 ? FileFormat::kStandard : FileFormat::kLegacy;
      const LoadReport report = LoadImageFile(dir.Write("junk.hex", bytes), false, device, image, test::LoadAs(format));
      if (!report.loaded) {
        EXPECT_EQ(image, before) << round;
        ASSERT_EQ(report.messages.size(), 1U);
        EXPECT_EQ(report.messages[0].title, image_text::kErrorTitle);
      }
    }
  }
}

// "Clear Buffer" blanks slots 0..32760 and keeps the configuration, IDs and
// 18F bytes; selecting a device blanks its own words, IDs and configuration,
// an 18F's configuration bytes too (selection knows no serial-EEPROM blank).
// Both blank every data byte.
TEST(MemoryImage, ClearAndSelectionBlankTheirAreasWithTheFamilysBlank) {
  std::string out;
  for (const bool select : {false, true}) {
    for (const char* name : {"16F84", "12C508A", "24C16", "18F452", "16C622:map21"}) {
      MemoryImage image;
      std::fill(image.programBuffer.begin(), image.programBuffer.end(), 7);
      image.dataBuffer.fill(3);
      image.configWord = 0x1234;
      image.idWords = {1, 2, 3, 4, 5};
      image.config18Bytes.fill(0x42);
      (select ? ResetImageOnSelection : ClearImage)(test::TestDevice(name), image);
      out += std::string(select ? "== select " : "== clear ") + name + "\n" + test::Dump(image);
    }
  }
  EXPECT_EQ(test::GoldenMismatch("memory_image_reset.txt", out), "");
}

// The examples, whose loads are the cases in tests/data/examples, are what
// gpasm makes of their sources.
TEST(GpasmFile, ExamplesAreWhatGpasmMakesOfTheirSources) {
  if (!test::HaveProgram("gpasm")) GTEST_SKIP() << "gpasm (package gputils) is not installed";
  test::TempDir dir;
  for (std::string name : test::DataFiles("examples", ".hex.txt")) {
    name.resize(name.size() - 4);  // as blink_12c508a.inhx8m.hex
    const std::string source = name.substr(0, name.find('.')), part = source.substr(source.find('_') + 1);
    const std::string command = "gpasm -q -p " + part + (name.ends_with("inhx8m.hex") ? " -a inhx8m " : " ") +
                                test::ExamplePath(source + ".asm") + " -o " + (dir.path() / name).string();
    ASSERT_EQ(test::RunCommand(command).exitCode, 0) << command;
    EXPECT_NE(dir.Read(name), "");
    EXPECT_EQ(dir.Read(name), test::RunCommand("cat " + test::ExamplePath(name)).out) << name;
  }
}

}  // namespace
}  // namespace quorvi
