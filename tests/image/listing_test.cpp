// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/listing.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "image/image_test_util.h"
#include "support/devices.h"

namespace quorvi {
namespace {

TEST(Listing, SixteenF84MatchesTheGoldenFiles) {
  const MemoryImage image = test::Sample16F84();
  for (const auto& [lines, golden] : {std::pair{ProgramListingLines(test::Pic16F84(), image), "program"},
                                      {DataListingLines(test::Pic16F84(), image), "data"}}) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    EXPECT_EQ(test::GoldenMismatch(std::string("listing_16f84_") + golden + ".txt", text), "");
  }
  EXPECT_TRUE(DataListingLines(test::Pic16C622(), image).empty());
  EXPECT_EQ(DataListingLines(test::MakeDevice({.name = "X", .dataBytes = 1024}), image).size(), 32U);
}

TEST(Config18Line, ShowsTheRegistersAWriteSets) {
  MemoryImage image;
  image.config18Bytes = {0x00, 0x22, 0x0C, 0x0E, 0x00, 0x01, 0x81, 0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};
  EXPECT_EQ(Config18Line(test::Pic18F452(), image),
            "1H=22 2L=0C 2H=0E 3H=01 4L=81 5L=0F 5H=C0 6L=0F 6H=E0 7L=0F 7H=40");
  EXPECT_EQ(Config18Line(test::MakeDevice({.name = "18F458", .programSize = 0x3FFF, .family = Family::kPic18}), image),
            "1H=22 2L=0C 2H=0E 4L=81 5L=0F 5H=C0 6L=0F 6H=E0 7L=0F 7H=40");
  EXPECT_EQ(Config18Line(test::Pic16F84(), image), "");
}

using Args = std::vector<std::string>;

EditTarget Target(const std::string& word) { return word == "data" ? EditTarget::kData : EditTarget::kProgram; }

int Int(const std::string& word) { return std::stoi(word, nullptr, 0); }

std::string Key(const Args& a) {
  MemoryImage image;
  const bool data = a.at(0) == "data";
  const auto at = static_cast<size_t>(Int(a.at(2)));
  if (data) image.dataBuffer[at] = 77;
  if (!data) image.programBuffer[at] = 77;
  WordEditor editor = OpenWordEditor(Target(a.at(0)), data ? "00: " : "0000: ", Int(a.at(2))).value();
  editor.hexMode = a.at(1) == "hex";
  const char key = a.at(3) == "enter" ? '\r' : a.at(3).at(0);
  const auto effect = EditorKeyPress(editor, image, test::Pic16F84(), key, a.at(4));
  const char* const kEffects[] = {"ignored", "stepped", "next control"};
  const int32_t cell = data ? image.dataBuffer[at] : image.programBuffer[at];
  return std::string(effect.ok() ? kEffects[static_cast<int>(effect.value())] : "refused") + ", at " +
         std::to_string(editor.address) + ", cell " + std::to_string(cell);
}

TEST(Listing, EachCallGivesWhatItsRowSays) {
  const std::map<std::string, test::Call> calls = {
      {"ProgramListing",
       [](const Args& a) {
         const auto lines = ProgramListingLines(test::MakeDevice({.name = "X", .programSize = Int(a.at(0))}), {});
         return std::to_string(lines.size()) + " lines" + (lines.empty() ? "" : ", last " + lines.back().substr(0, 4));
       }},
      {"ProgramClickColumn", [](const Args& a) { return std::to_string(ProgramClickColumn(std::stod(a.at(0)))); }},
      {"DataClickColumn", [](const Args& a) { return std::to_string(DataClickColumn(std::stod(a.at(0)))); }},
      {"OpenWordEditor",
       [](const Args& a) {
         const auto editor = OpenWordEditor(Target(a.at(0)), a.at(1), Int(a.at(2)));
         return editor.ok() ? std::to_string(editor.value().address) + " " + EditorAddressText(editor.value()) + " " +
                                  editor.value().caption
                            : "refused";
       }},
      {"Key", Key},
  };
  EXPECT_EQ(test::TableMismatches("listing.txt", calls), "");
}

TEST(WordEditor, ShowsTheCellInItsMode) {
  MemoryImage image;
  image.programBuffer[0x3FB] = 0x2A;
  image.dataBuffer[0x0A] = 0x0B;
  WordEditor program = OpenWordEditor(EditTarget::kProgram, "03F8: ", 3).value();
  EXPECT_EQ(EditorValueText(program, image), "002A");
  EXPECT_EQ(EditorValueText(OpenWordEditor(EditTarget::kData, "08: ", 2).value(), image), "B");
  program.hexMode = false;
  EXPECT_EQ(EditorValueText(program, image), "42");
}

TEST(Hex16To8, SplitsWordsLowByteFirstThroughTheCycleTable) {
  MemoryImage image;
  for (size_t k = 0; k < 8192; ++k) image.programBuffer[k] = static_cast<int32_t>(k);
  image.programBuffer[0] = 0x1234;
  image.programBuffer[1] = -1;
  image.programBuffer[2] = -256;
  image.programBuffer[16384] = 0x77;
  std::vector<int16_t> cycles(8192, 9);
  ASSERT_TRUE(Hex16To8(image, cycles).ok());
  // -1 / 256 truncates to 0; -256 / 256 is -1.
  EXPECT_EQ(std::vector(image.programBuffer.begin(), image.programBuffer.begin() + 6),
            (std::vector<int32_t>{0x34, 0x12, 0xFF, 0, 0x00, -1}));
  EXPECT_EQ(image.programBuffer[2 * 8191], 8191 & 0xFF);
  EXPECT_EQ(image.programBuffer[2 * 8191 + 1], 8191 / 256);
  EXPECT_EQ(image.programBuffer[16384], 0x77);
  EXPECT_EQ(cycles[0], 0x1234);  // the write-cycle table is the scratch area
  EXPECT_EQ(cycles[8191], 8191);

  image.programBuffer[100] = 0x8000;  // wider than 16 bits signed: nothing changes
  const MemoryImage before = image;
  const Status status = Hex16To8(image, cycles);
  ASSERT_FALSE(status.ok());
  EXPECT_NE(status.message().find("Overflow"), std::string::npos);
  EXPECT_EQ(image, before);
  EXPECT_EQ(cycles[0], 0x1234);
  std::vector<int16_t> small(10);
  EXPECT_FALSE(Hex16To8(image, small).ok());
}

}  // namespace
}  // namespace quorvi
