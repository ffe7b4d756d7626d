// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/listing.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "image/image_texts.h"
#include "support/devices.h"

namespace quorvi {
namespace {

TEST(ProgramListing, LinesShowEightWordsWithATrailingBlank) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = test::SelectedImage(device);
  image.programBuffer[9] = 0x12;
  image.programBuffer[10] = -1;
  const auto lines = ProgramListingLines(device, image);
  ASSERT_EQ(lines.size(), 128U);
  EXPECT_EQ(lines[0], "0000: 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF ");
  EXPECT_EQ(lines[1], "0008: 3FFF 0012 FFFFFFFF 3FFF 3FFF 3FFF 3FFF 3FFF ");
  EXPECT_EQ(lines[127].substr(0, 6), "03F8: ");
}

TEST(ProgramListing, LastLineFollowsTheSizeMinusSevenRule) {
  struct Case {
    int32_t size;
    size_t lines;
    const char* last;
  };
  MemoryImage image;
  for (const Case c : {Case{0, 64, "01F8"}, {1020, 127, "03F0"}, {1024, 128, "03F8"}, {1023, 128, "03F8"},
                       {7, 1, "0000"}, {6, 0, ""}, {0xFFFF, 8192, "FFF8"}}) {
    const auto lines = ProgramListingLines(test::MakeDevice({.name = "X", .programSize = c.size}), image);
    ASSERT_EQ(lines.size(), c.lines) << c.size;
    if (c.lines > 0) {
      EXPECT_EQ(lines.back().substr(0, 4), c.last) << c.size;
    }
  }
}

TEST(DataListing, LinesShowEightBytes) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = test::SelectedImage(device);
  image.dataBuffer[8] = 0x0A;
  image.dataBuffer[9] = -1;
  const auto lines = DataListingLines(device, image);
  ASSERT_EQ(lines.size(), 8U);
  EXPECT_EQ(lines[0], "00: FF FF FF FF FF FF FF FF ");
  EXPECT_EQ(lines[1], "08: 0A FFFF FF FF FF FF FF FF ");
  EXPECT_EQ(lines[7].substr(0, 4), "38: ");
  EXPECT_TRUE(DataListingLines(test::Pic16C622(), image).empty());
  EXPECT_EQ(DataListingLines(test::MakeDevice({.name = "X", .dataBytes = 1024}), image).size(), 32U);
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

TEST(ListingClick, ColumnsComeFromTheTwipPosition) {
  EXPECT_EQ(ProgramClickColumn(640), 0);
  EXPECT_EQ(ProgramClickColumn(1169), 0);
  EXPECT_EQ(ProgramClickColumn(1170), 1);
  EXPECT_EQ(ProgramClickColumn(1169.5), 1);  // rounds to 1170 first
  EXPECT_EQ(ProgramClickColumn(1168.5), 0);  // rounds to 1168, halves to even
  EXPECT_EQ(ProgramClickColumn(640 + 7 * 530), 7);
  EXPECT_EQ(ProgramClickColumn(200), 0);  // -440 / 530 truncates toward zero
  EXPECT_EQ(ProgramClickColumn(100), -1);
  EXPECT_EQ(DataClickColumn(450), 0);
  EXPECT_EQ(DataClickColumn(770), 1);
  EXPECT_EQ(DataClickColumn(769), 0);
}

TEST(WordEditor, OpensOnTheClickedWord) {
  MemoryImage image;
  image.programBuffer[0x3FB] = 0x2A;
  auto editor = OpenWordEditor(EditTarget::kProgram, "03F8: 3FFF 3FFF 3FFF 002A ", 3);
  ASSERT_TRUE(editor.ok());
  EXPECT_EQ(editor.value().address, 0x3FB);
  EXPECT_EQ(editor.value().caption, image_text::kEditProgramCaption);
  EXPECT_EQ(EditorAddressText(editor.value()), "03FB");
  EXPECT_EQ(EditorValueText(editor.value(), image), "002A");
  editor.value().hexMode = false;
  EXPECT_EQ(EditorValueText(editor.value(), image), "42");

  image.dataBuffer[0x0A] = 0x0B;
  auto data = OpenWordEditor(EditTarget::kData, "08: FF FF 0B ", 2);
  ASSERT_TRUE(data.ok());
  EXPECT_EQ(data.value().address, 0x0A);
  EXPECT_EQ(data.value().caption, image_text::kEditDataCaption);
  EXPECT_EQ(EditorValueText(data.value(), image), "B");
}

TEST(WordEditor, HighLineAddressesReadNegativeAndAreCorrected) {
  const auto editor = OpenWordEditor(EditTarget::kProgram, "FFF8: ", 7);
  ASSERT_TRUE(editor.ok());
  EXPECT_EQ(editor.value().address, 0xFFFF);
  const auto low = OpenWordEditor(EditTarget::kProgram, "8000: ", -1);
  ASSERT_TRUE(low.ok());
  EXPECT_EQ(low.value().address, 0x7FFF);
  EXPECT_FALSE(OpenWordEditor(EditTarget::kData, "00: ", -1).ok());
  EXPECT_FALSE(OpenWordEditor(EditTarget::kData, "F8: ", 9).ok());
}

TEST(WordEditor, StoresHexAndDecimalEntries) {
  MemoryImage image;
  WordEditor editor = OpenWordEditor(EditTarget::kProgram, "0000: ", 1).value();
  ASSERT_TRUE(EditorStore(editor, image, "3ff").ok());
  EXPECT_EQ(image.programBuffer[1], 0x3FF);
  ASSERT_TRUE(EditorStore(editor, image, "FFFF").ok());
  EXPECT_EQ(image.programBuffer[1], -1);  // four hex digits read as a signed 16-bit number
  ASSERT_TRUE(EditorStore(editor, image, "12345").ok());
  EXPECT_EQ(image.programBuffer[1], 0x12345);
  editor.hexMode = false;
  ASSERT_TRUE(EditorStore(editor, image, "1000").ok());
  EXPECT_EQ(image.programBuffer[1], 1000);
  ASSERT_TRUE(EditorStore(editor, image, "2.5").ok());
  EXPECT_EQ(image.programBuffer[1], 2);
  ASSERT_TRUE(EditorStore(editor, image, "12abc").ok());
  EXPECT_EQ(image.programBuffer[1], 12);
  EXPECT_FALSE(EditorStore(editor, image, "3000000000").ok());
  EXPECT_EQ(image.programBuffer[1], 12);

  WordEditor data = OpenWordEditor(EditTarget::kData, "00: ", 0).value();
  data.hexMode = false;
  ASSERT_TRUE(EditorStore(data, image, "200").ok());
  EXPECT_EQ(image.dataBuffer[0], 200);
  EXPECT_FALSE(EditorStore(data, image, "40000").ok());
  data.hexMode = true;
  EXPECT_FALSE(EditorStore(data, image, "12345").ok());
  EXPECT_EQ(image.dataBuffer[0], 200);
}

TEST(WordEditor, PlusAndMinusStepWithinTheLimits) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image;
  WordEditor editor = OpenWordEditor(EditTarget::kProgram, "0000: ", 0).value();
  EXPECT_FALSE(EditorCanStepDown(editor));
  auto effect = EditorKeyPress(editor, image, device, '-', "11");
  ASSERT_TRUE(effect.ok());
  EXPECT_EQ(effect.value(), EditorKeyEffect::kStepped);
  EXPECT_EQ(editor.address, 0);
  EXPECT_EQ(image.programBuffer[0], 0x11);

  ASSERT_TRUE(EditorKeyPress(editor, image, device, '+', "22").ok());
  EXPECT_EQ(editor.address, 1);
  EXPECT_TRUE(EditorCanStepDown(editor));
  EXPECT_EQ(image.programBuffer[0], 0x22);

  editor.address = 0x3FF;
  ASSERT_TRUE(EditorKeyPress(editor, image, device, '+', "33").ok());
  EXPECT_EQ(editor.address, 0x3FF);
  EXPECT_EQ(image.programBuffer[0x3FF], 0x33);
  ASSERT_TRUE(EditorKeyPress(editor, image, device, '-', "44").ok());
  EXPECT_EQ(editor.address, 0x3FE);

  const auto enter = EditorKeyPress(editor, image, device, 13, "55");
  ASSERT_TRUE(enter.ok());
  EXPECT_EQ(enter.value(), EditorKeyEffect::kStoredNextControl);
  EXPECT_EQ(editor.address, 0x3FE);
  EXPECT_EQ(image.programBuffer[0x3FE], 0x55);

  const auto other = EditorKeyPress(editor, image, device, 'x', "66");
  ASSERT_TRUE(other.ok());
  EXPECT_EQ(other.value(), EditorKeyEffect::kIgnored);
  EXPECT_EQ(image.programBuffer[0x3FE], 0x55);

  WordEditor data = OpenWordEditor(EditTarget::kData, "F8: ", 7).value();
  ASSERT_TRUE(EditorKeyPress(data, image, device, '+', "1").ok());
  EXPECT_EQ(data.address, 256);
  ASSERT_TRUE(EditorKeyPress(data, image, device, '+', "2").ok());
  EXPECT_EQ(data.address, 256);
  EXPECT_EQ(image.dataBuffer[256], 2);
}

TEST(WordEditor, FailedStoreDoesNotStep) {
  MemoryImage image;
  WordEditor data = OpenWordEditor(EditTarget::kData, "00: ", 3).value();
  const auto effect = EditorKeyPress(data, image, test::Pic16F84(), '+', "FFFFF");
  EXPECT_FALSE(effect.ok());
  EXPECT_EQ(data.address, 3);
}

TEST(Hex16To8, SplitsWordsLowByteFirst) {
  MemoryImage image;
  for (size_t k = 0; k < 8192; ++k) image.programBuffer[k] = static_cast<int32_t>(k);
  image.programBuffer[0] = 0x1234;
  image.programBuffer[1] = -1;
  image.programBuffer[2] = -256;
  image.programBuffer[16384] = 0x77;
  std::vector<int16_t> cycles(8192, 9);
  ASSERT_TRUE(Hex16To8(image, cycles).ok());
  EXPECT_EQ(image.programBuffer[0], 0x34);
  EXPECT_EQ(image.programBuffer[1], 0x12);
  EXPECT_EQ(image.programBuffer[2], 0xFF);
  EXPECT_EQ(image.programBuffer[3], 0);  // -1 / 256 truncates to 0
  EXPECT_EQ(image.programBuffer[4], 0x00);
  EXPECT_EQ(image.programBuffer[5], -1);
  EXPECT_EQ(image.programBuffer[2 * 8191], 8191 & 0xFF);
  EXPECT_EQ(image.programBuffer[2 * 8191 + 1], 8191 / 256);
  EXPECT_EQ(image.programBuffer[16384], 0x77);
  EXPECT_EQ(cycles[0], 0x1234);  // the cycle table is the scratch area
  EXPECT_EQ(cycles[8191], 8191);
}

TEST(Hex16To8, WideWordIsAnOverflowThatChangesNothing) {
  MemoryImage image;
  image.programBuffer[0] = 0x1234;
  image.programBuffer[100] = 0x8000;
  const MemoryImage before = image;
  std::vector<int16_t> cycles(8192, 9);
  const Status status = Hex16To8(image, cycles);
  ASSERT_FALSE(status.ok());
  EXPECT_NE(status.message().find("Overflow"), std::string::npos);
  EXPECT_EQ(image, before);
  EXPECT_EQ(cycles[0], 9);
  std::vector<int16_t> small(10);
  EXPECT_FALSE(Hex16To8(image, small).ok());
}

}  // namespace
}  // namespace quorvi
