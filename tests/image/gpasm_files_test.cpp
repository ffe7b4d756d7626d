// SPDX-License-Identifier: GPL-3.0-or-later
// The example programs as gpasm assembles them must load with the right
// words, IDs, configuration and EEPROM bytes.
#include <gtest/gtest.h>

#include <map>

#include "image/image_reader.h"
#include "image/image_test_util.h"
#include "support/devices.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(GpasmFile, EachExampleLoadsWithItsWordsIdsConfigurationAndEeprom) {
  struct Example {
    std::string name;
    DeviceDescriptor device;
    std::map<size_t, int32_t> words;  // program address -> word
    std::array<int32_t, 4> ids;
    int32_t configWord;
    std::vector<int16_t> eeprom;  // from data address 0
    std::vector<const char*> formats = {".inhx8m.hex", ".inhx32.hex"};
    std::array<uint8_t, 14> config18 = {};  // looked at on 18F devices only
  };
  const Example examples[] = {
      {"blink_12c508a", test::Pic12C508A(),
       {{0, 0x025}, {1, 0xCFE}, {2, 0x006}, {3, 0x506}, {4, 0x406}, {5, 0xA03}, {6, 0xFFF}, {0x1FF, 0xFFF}},
       {1, 2, 3, 4}, 0xFEA, {}},
      {"eeprom_16f84a", test::Pic16F84A(),
       {{0, 0x1683}, {1, 0x0186}, {2, 0x1283}, {3, 0x0189}, {4, 0x1683}, {5, 0x1408}, {6, 0x1283}, {7, 0x0808},
        {8, 0x0086}, {9, 0x2809}, {10, 0x3FFF}},
       {4, 3, 2, 1}, 0x3FF1, {0x12, 0x34, 0x56, 0x4F, 0x4B, 0xFF}},
      {"eeprom_16f628a", test::Pic16F628A(),
       {{0, 0x2805}, {1, 0x3FFF}, {4, 0x0009}, {5, 0x3007}, {6, 0x009F}, {7, 0x1683}, {8, 0x0186}, {0x0E, 0x280E},
        {0x0F, 0x3FFF}},
       {0, 0xA, 5, 0xF}, 0x3F50, {0xA5, 0x5A, 0x00, 0xFF, 0x80, 0xFF}},
      // gpasm starts the bytes at 0x300001 with a 3-byte record: the old reader
      // rounds that to word 0 with 2 words, takes the checksum as the fourth
      // byte and the line end plus ':' as the checksum, so the record after it
      // (0x300005) is skipped. The IDs (upper 0020) and EEPROM (upper 00F0) are
      // dropped; words from 8000h read negative.
      {"blink_18f452", test::Pic18F452(),
       {{0, 0x6A93}, {1, 0x708A}, {2, static_cast<int16_t>(0xD7FE)}, {3, 0x3FFF}},
       {0x3FFF, 0x3FFF, 0x3FFF, 0x3FFF}, 0x3FFF, std::vector<int16_t>(256, 0xFF), {".inhx32.hex"},
       {0x0C, 0x22, 0xC0, 0x0E, 0xFF, 0xFF, 0xFF, 0xFF, 0xC0, 0x0F, 0xE0, 0x0F, 0xFF, 0xFF}},
  };
  for (const Example& e : examples) {
    for (const char* format : e.formats) {
      SCOPED_TRACE(e.name + format);
      MemoryImage image = test::SelectedImage(e.device);
      const LoadReport report = LoadImageFile(test::ExamplePath(e.name + format), false, e.device, image);
      ASSERT_TRUE(report.loaded) << (report.messages.empty() ? "" : report.messages[0].text);
      EXPECT_TRUE(report.messages.empty());
      for (const auto& [address, word] : e.words) EXPECT_EQ(image.programBuffer[address], word) << address;
      for (size_t i = 0; i < 4; ++i) EXPECT_EQ(image.idWords[i], e.ids[i]) << i;
      EXPECT_EQ(image.configWord, e.configWord);
      for (size_t i = 0; i < e.eeprom.size(); ++i) EXPECT_EQ(image.dataBuffer[i], e.eeprom[i]) << i;
      if (e.device.family == 7) {
        EXPECT_EQ(image.config18Bytes, e.config18);
      }
    }
  }
}

TEST(GpasmFile, ExamplesAreWhatGpasmMakesOfTheirSources) {
  if (!test::HaveProgram("gpasm")) GTEST_SKIP() << "gpasm (package gputils) is not installed";
  struct Source {
    const char* name;
    const char* part;
    bool inhx8m;
  };
  test::TempDir dir;
  for (const Source s : {Source{"blink_12c508a", "12c508a", true}, {"eeprom_16f84a", "16f84a", true},
                         {"eeprom_16f628a", "16f628a", true}, {"blink_18f452", "18f452", false}}) {
    for (const bool eight : {false, true}) {
      if (eight && !s.inhx8m) continue;
      const std::string kind = eight ? "inhx8m" : "inhx32";
      const std::string out = (dir.path() / (std::string(s.name) + "." + kind + ".hex")).string();
      const std::string command = "gpasm -q -p " + std::string(s.part) + (eight ? " -a inhx8m " : " ") +
                                  test::ExamplePath(std::string(s.name) + ".asm") + " -o " + out;
      ASSERT_EQ(test::RunCommand(command).exitCode, 0) << command;
      const std::string made = dir.Read(std::string(s.name) + "." + kind + ".hex");
      EXPECT_FALSE(made.empty());
      EXPECT_EQ(made, test::RunCommand("cat " + test::ExamplePath(std::string(s.name) + "." + kind + ".hex")).out)
          << s.name << " " << kind;
    }
  }
}

}  // namespace
}  // namespace quorvi
