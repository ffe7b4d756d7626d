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

// What loading `path` leaves for each device of `specs` (":keep" keeps the
// buffer), from an image whose every program slot holds a mark, so that a
// stray write or clear shows.
std::string LoadResults(const std::string& path, const std::vector<std::string>& specs) {
  std::string out;
  for (const std::string& spec : specs) {
    const bool keep = spec.ends_with(":keep");
    const DeviceDescriptor device = test::TestDevice(keep ? spec.substr(0, spec.size() - 5) : spec);
    MemoryImage image = test::SelectedImage(device);
    std::fill(image.programBuffer.begin(), image.programBuffer.end(), 0x1111);
    image.configWord = 0x1234;
    const MemoryImage before = image;
    const LoadReport report = LoadImageFile(path, keep, device, image);
    out += "== " + spec + (report.loaded ? "\n" : " refused\n");
    for (const UserMessage& message : report.messages) {
      out += test::Replaced(test::Shown(message), path, "FILE") + "\n";
    }
    out += report.loaded ? test::Dump(image) : image == before ? "" : "but the image changed\n";
  }
  return out;
}

// Each NAME.txt in tests/data/load and tests/data/examples names the devices
// to load the file NAME for after its "load", then has what each load leaves.
TEST(LoadImageFile, EachFileLoadsAsItsCaseSays) {
  const std::string examples = QUORVI_EXAMPLES_DIR;
  for (const auto& [folder, inputs] : {std::pair{"load", test::DataPath("load")}, {"examples", examples}}) {
    for (const std::string& name : test::DataFiles(folder, ".txt")) {
      const std::string expected = test::Golden(std::string(folder) + "/" + name);
      const size_t load = expected.find("\nload ") + 1;  // after the comment that says what the case shows
      ASSERT_NE(load, 0U) << name;
      const size_t end = expected.find('\n', load) + 1;
      const std::vector<std::string> words = test::Words(expected.substr(load, end - load - 1));
      const std::string path = inputs + "/" + name.substr(0, name.size() - 4);
      const std::string actual = LoadResults(path, std::vector(words.begin() + 1, words.end()));
      EXPECT_EQ(test::GoldenMismatch(std::string(folder) + "/" + name, expected.substr(0, end) + actual), "");
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

// A .BIN fills the program buffer at most, as does a .TIF after its header;
// big parts look at the 18F configuration bytes only, and finding none say so.
TEST(LoadImageFile, BinaryFilesFillTheProgramBufferAtMost) {
  test::TempDir dir;
  MemoryImage image = test::SelectedImage(test::Eeprom24LC512());
  const LoadReport full =
      LoadImageFile(dir.Write("full.bin", std::string(65537, '\x42')), false, test::Eeprom24LC512(), image);
  ASSERT_TRUE(full.loaded);
  EXPECT_EQ(image.programBuffer[65536], 0x42);
  ASSERT_EQ(full.messages.size(), 1U);
  EXPECT_EQ(full.messages[0].text, image_text::kConfigMissing);
  for (const auto& [name, size] : {std::pair{"big.bin", size_t{65538}}, {"big.tif", size_t{65538 + 25}}}) {
    for (const auto& device : {test::Pic16F84(), test::Pic18F452(), test::Pic12C508A()}) {
      const MemoryImage before = image;
      const LoadReport big = LoadImageFile(dir.Write(name, std::string(size, 'x')), false, device, image);
      EXPECT_FALSE(big.loaded);
      EXPECT_EQ(image, before);
      ASSERT_EQ(big.messages.size(), 1U);
      EXPECT_NE(big.messages[0].text.find("65538 bytes"), std::string::npos) << big.messages[0].text;
    }
  }
}

TEST(LoadImageFile, BigDevicesReportProgressEvery128Words) {
  std::vector<int> percents;
  LoadOptions options;
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

// Each file that cannot be read names itself and why; in quiet mode a missing
// file ends the run with an empty log, anything else with that one line.
TEST(LoadImageFile, AnUnreadableFileSaysWhichAndWhy) {
  test::TempDir dir;
  const std::string folder = dir.path().string();
  const std::string huge = dir.Write("huge.hex", "");
  std::filesystem::resize_file(huge, kLargestInputBytes + 1);
  const std::pair<std::string, std::string> cases[] = {
      {"/nonexistent/folder/x.hex", "file not found: /nonexistent/folder/x.hex"},
      {folder, folder + ": is a directory"},
      {"/dev/zero", "/dev/zero: is not a regular file"},
      {huge, huge + ": is too large (16777217 bytes; at most 16777216)"},
  };
  for (const auto& [path, message] : cases) {
    for (const bool quiet : {false, true}) {
      MemoryImage image = test::SelectedImage(test::Pic16F84());
      const MemoryImage before = image;
      LoadOptions options;
      options.quiet = quiet;
      const LoadReport report = LoadImageFile(path, false, test::Pic16F84(), image, options);
      EXPECT_FALSE(report.loaded);
      EXPECT_TRUE(report.progressLeftShown);
      EXPECT_EQ(image, before);
      if (quiet) {
        EXPECT_EQ(report.quietEnd, message.starts_with("file not found") ? "" : message) << path;
        EXPECT_TRUE(report.messages.empty());
      } else {
        EXPECT_FALSE(report.quietEnd.has_value());
        ASSERT_EQ(report.messages.size(), 1U);
        EXPECT_EQ(report.messages[0].text, message);
      }
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
