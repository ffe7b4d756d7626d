// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/listing.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "image/image_texts.h"
#include "support/devices.h"

namespace quorvi {
namespace {

TEST(Listing, SixteenF84MatchesTheGoldenFiles) {
  const MemoryImage image = test::Sample16F84();
  EXPECT_EQ(test::JoinLines(ProgramListingLines(test::Pic16F84(), image)), test::Golden("listing_16f84_program.txt"));
  EXPECT_EQ(test::JoinLines(DataListingLines(test::Pic16F84(), image)), test::Golden("listing_16f84_data.txt"));
  EXPECT_TRUE(DataListingLines(test::Pic16C622(), image).empty());
  EXPECT_EQ(DataListingLines(test::MakeDevice({.name = "X", .dataBytes = 1024}), image).size(), 32U);
}

TEST(Listing, LastProgramLineFollowsTheSizeMinusSevenRule) {
  struct Case {
    int32_t size;
    size_t lines;
    const char* last;
  };
  const MemoryImage image;
  for (const Case c : {Case{0, 64, "01F8"}, {1020, 127, "03F0"}, {1024, 128, "03F8"}, {1023, 128, "03F8"},
                       {7, 1, "0000"}, {6, 0, ""}, {0xFFFF, 8192, "FFF8"}}) {
    const auto lines = ProgramListingLines(test::MakeDevice({.name = "X", .programSize = c.size}), image);
    ASSERT_EQ(lines.size(), c.lines) << c.size;
    if (c.lines > 0) {
      EXPECT_EQ(lines.back().substr(0, 4), c.last) << c.size;
    }
  }
}

TEST(Config18Line, ShowsTheRegistersAWriteSets) {
  MemoryImage image;
  // Pairs, odd address first: 300001h=22 300000h=00, 300003h=0E 300002h=0C, ...
  image.config18Bytes = {0x22, 0x00, 0x0E, 0x0C, 0x01, 0x00, 0x00, 0x81, 0xC0, 0x0F, 0xE0, 0x0F, 0x00, 0x00};
  EXPECT_EQ(Config18Line(test::Pic18F452(), image), "1H=22 2L=0C 2H=0E 3H=01 4L=81 5L=0F 5H=C0 6L=0F 6H=E0");
  EXPECT_EQ(Config18Line(test::MakeDevice({.name = "18F458", .programSize = 0x3FFF, .family = 7}), image),
            "1H=22 2L=0C 2H=0E 4L=81 5L=0F 5H=C0 6L=0F 6H=E0");
  EXPECT_EQ(Config18Line(test::Pic16F84(), image), "");
}

TEST(Listing, ClickColumnsComeFromTheTwipPosition) {
  // 1169.5 rounds to 1170 first, 1168.5 to 1168 (halves to even); -440 / 530 truncates toward zero.
  for (const auto& [x, column] : {std::pair{640.0, 0}, {1169.0, 0}, {1170.0, 1}, {1169.5, 1}, {1168.5, 0},
                                  {640.0 + 7 * 530, 7}, {200.0, 0}, {100.0, -1}}) {
    EXPECT_EQ(ProgramClickColumn(x), column) << x;
  }
  EXPECT_EQ(DataClickColumn(450), 0);
  EXPECT_EQ(DataClickColumn(770), 1);
  EXPECT_EQ(DataClickColumn(769), 0);
}

TEST(WordEditor, OpensOnTheClickedWord) {
  struct Case {
    EditTarget target;
    const char* line;
    int column;
    std::optional<int32_t> address;  // nothing: outside the buffer
    const char* addressText;
  };
  constexpr auto kP = EditTarget::kProgram;
  constexpr auto kD = EditTarget::kData;
  // Line addresses from 8000h read negative and are corrected.
  for (const Case c : {Case{kP, "03F8: 3FFF 3FFF 3FFF 002A ", 3, 0x3FB, "03FB"}, {kP, "FFF8: ", 7, 0xFFFF, "FFFF"},
                       {kP, "8000: ", -1, 0x7FFF, "7FFF"}, {kD, "08: FF FF 0B ", 2, 0x0A, "0A"},
                       {kD, "00: ", -1, std::nullopt, ""}, {kD, "F8: ", 9, std::nullopt, ""}}) {
    const auto editor = OpenWordEditor(c.target, c.line, c.column);
    ASSERT_EQ(editor.ok(), c.address.has_value()) << c.line << c.column;
    if (!editor.ok()) continue;
    EXPECT_EQ(editor.value().address, c.address) << c.line;
    EXPECT_EQ(EditorAddressText(editor.value()), c.addressText) << c.line;
    EXPECT_EQ(editor.value().caption, c.target == kP ? image_text::kEditProgramCaption : image_text::kEditDataCaption);
  }
  MemoryImage image;
  image.programBuffer[0x3FB] = 0x2A;
  image.dataBuffer[0x0A] = 0x0B;
  WordEditor program = OpenWordEditor(kP, "03F8: ", 3).value();
  const WordEditor data = OpenWordEditor(kD, "08: ", 2).value();
  EXPECT_EQ(EditorValueText(program, image), "002A");
  EXPECT_EQ(EditorValueText(data, image), "B");
  program.hexMode = false;
  EXPECT_EQ(EditorValueText(program, image), "42");
}

// A key stores the typed text first (in hex mode four hex digits read as a
// signed 16-bit number; decimals round halves to even); a refused text
// keeps the cell. "+" and "-" then step within the device and the buffer.
TEST(WordEditor, KeysStoreThenStepWithinTheLimits) {
  struct Press {
    EditTarget target;
    bool hex;
    int32_t from;
    char key;
    const char* typed;
    std::optional<EditorKeyEffect> effect;  // nothing: the store failed
    int32_t to;
    int32_t stored;
  };
  using enum EditorKeyEffect;
  constexpr auto kP = EditTarget::kProgram;
  constexpr auto kD = EditTarget::kData;
  constexpr char kEnter = 13;
  for (const Press p : {
           Press{kP, true, 1, kEnter, "3ff", kStoredNextControl, 1, 0x3FF},
           {kP, true, 1, kEnter, "FFFF", kStoredNextControl, 1, -1},
           {kP, true, 1, kEnter, "12345", kStoredNextControl, 1, 0x12345},
           {kP, false, 1, kEnter, "1000", kStoredNextControl, 1, 1000},
           {kP, false, 1, kEnter, "2.5", kStoredNextControl, 1, 2},
           {kP, false, 1, kEnter, "12abc", kStoredNextControl, 1, 12},
           {kP, false, 1, kEnter, "3000000000", std::nullopt, 1, 77},
           {kD, false, 1, kEnter, "200", kStoredNextControl, 1, 200},
           {kD, false, 1, kEnter, "40000", std::nullopt, 1, 77},
           {kD, true, 1, kEnter, "12345", std::nullopt, 1, 77},
           {kP, true, 0, '-', "11", kStepped, 0, 0x11},
           {kP, true, 0, '+', "22", kStepped, 1, 0x22},
           {kP, true, 0x3FF, '+', "33", kStepped, 0x3FF, 0x33},
           {kP, true, 0x3FF, '-', "44", kStepped, 0x3FE, 0x44},
           {kP, true, 0x3FE, 'x', "66", kIgnored, 0x3FE, 77},
           {kD, true, 255, '+', "1", kStepped, 256, 1},
           {kD, true, 256, '+', "2", kStepped, 256, 2},
           {kD, true, 3, '+', "FFFFF", std::nullopt, 3, 77},
       }) {
    MemoryImage image;
    if (p.target == kP) {
      image.programBuffer[static_cast<size_t>(p.from)] = 77;
    } else {
      image.dataBuffer[static_cast<size_t>(p.from)] = 77;
    }
    WordEditor editor = OpenWordEditor(p.target, p.target == kP ? "0000: " : "00: ", p.from).value();
    editor.hexMode = p.hex;
    const auto effect = EditorKeyPress(editor, image, test::Pic16F84(), p.key, p.typed);
    EXPECT_EQ(effect.ok() ? std::optional(effect.value()) : std::nullopt, p.effect) << p.key << p.typed;
    EXPECT_EQ(editor.address, p.to) << p.key << p.typed;
    EXPECT_EQ(p.target == kP ? image.programBuffer[static_cast<size_t>(p.from)]
                             : image.dataBuffer[static_cast<size_t>(p.from)],
              p.stored)
        << p.key << p.typed;
  }
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
