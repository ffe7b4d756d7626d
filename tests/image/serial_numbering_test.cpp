// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/serial_numbering.h"

#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "image/image_texts.h"
#include "support/devices.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

UniformDraw Fixed(double r) {
  return [r] { return r; };
}

UniformDraw NeverDrawn() {
  return [] {
    ADD_FAILURE() << "no random draw expected";
    return 0.0;
  };
}

SerialState Counting(double serial, int16_t start, int16_t size, int16_t increment = 1) {
  SerialState state;
  state.serialNumber = serial;
  state.startAddress = start;
  state.size = size;
  state.increment = increment;
  state.switchedOn = true;
  return state;
}

TEST(ApplySerial, FourteenBitPartGetsRetlwWordsLeastSignificantByteFirst) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = test::SelectedImage(device);
  ASSERT_TRUE(ApplySerial(Counting(0x123456, 0x3FD, 3), device, image, NeverDrawn()).ok());
  EXPECT_EQ(image.programBuffer[0x3FC], 0x3FFF);
  EXPECT_EQ(image.programBuffer[0x3FD], 0x3456);
  EXPECT_EQ(image.programBuffer[0x3FE], 0x3434);
  EXPECT_EQ(image.programBuffer[0x3FF], 0x3412);
  EXPECT_EQ(image.programBuffer[0x400], 0x55);
}

TEST(ApplySerial, TwelveBitPartGets0x800PlusTheByte) {
  const DeviceDescriptor device = test::Pic12C508A();
  MemoryImage image = test::SelectedImage(device);
  ASSERT_TRUE(ApplySerial(Counting(1193046, 0x3FD, 3), device, image, NeverDrawn()).ok());
  EXPECT_EQ(image.programBuffer[0x3FD], 0x856);
  EXPECT_EQ(image.programBuffer[0x3FE], 0x834);
  EXPECT_EQ(image.programBuffer[0x3FF], 0x812);
}

TEST(ApplySerial, OnlyFamilies1And2And4AreWritten) {
  struct Case {
    int16_t family;
    int32_t word;
  };
  for (const Case c : {Case{1, 0x3407}, {2, 0x3407}, {4, 0x807}, {3, 0x5555}, {5, 0x5555}, {6, 0x5555},
                       {7, 0x5555}, {8, 0x5555}, {9, 0x5555}}) {
    const DeviceDescriptor device = test::MakeDevice({.name = "X", .programSize = 0x3FF, .family = c.family});
    MemoryImage image;
    image.programBuffer[0x10] = 0x5555;
    ASSERT_TRUE(ApplySerial(Counting(7, 0x10, 1), device, image, NeverDrawn()).ok());
    EXPECT_EQ(image.programBuffer[0x10], c.word) << c.family;
  }
}

TEST(ApplySerial, BytesBeyondTheNumberAreZeroAndHalvesRoundToEven) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image;
  ASSERT_TRUE(ApplySerial(Counting(2.5, 0, 2), device, image, NeverDrawn()).ok());
  EXPECT_EQ(image.programBuffer[0], 0x3402);
  EXPECT_EQ(image.programBuffer[1], 0x3400);
  ASSERT_TRUE(ApplySerial(Counting(0x1FF, 0, 2), device, image, NeverDrawn()).ok());
  EXPECT_EQ(image.programBuffer[0], 0x34FF);
  EXPECT_EQ(image.programBuffer[1], 0x3401);
}

TEST(ApplySerial, NumbersOf2To31OrMoreOverflowAndChangeNothing) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = test::SelectedImage(device);
  const MemoryImage before = image;
  const Status status = ApplySerial(Counting(2147483648.0, 0, 1), device, image, NeverDrawn());
  ASSERT_FALSE(status.ok());
  EXPECT_NE(status.message().find("Overflow"), std::string::npos);
  EXPECT_EQ(image, before);
  EXPECT_TRUE(ApplySerial(Counting(2147483647.0, 0, 4), device, image, NeverDrawn()).ok());
  EXPECT_EQ(image.programBuffer[3], 0x347F);
}

TEST(ApplySerial, AddressesOutsideTheBufferFailAndChangeNothing) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image;
  const MemoryImage before = image;
  EXPECT_FALSE(ApplySerial(Counting(1, -1, 2), device, image, NeverDrawn()).ok());
  EXPECT_EQ(image, before);
}

TEST(ApplySerial, RandomModePlacesAFreshDrawNotTheShownNumber) {
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image;
  SerialState state = Counting(41, 0, 2);
  state.random = 1;
  // Int(0.1234 x 100 + 1) = 13.
  ASSERT_TRUE(ApplySerial(state, device, image, Fixed(0.1234)).ok());
  EXPECT_EQ(image.programBuffer[0], 0x340D);
  EXPECT_EQ(state.serialNumber, 41);
  EXPECT_EQ(DrawSerialNumber(3, Fixed(0.0)), 1);
  EXPECT_EQ(DrawSerialNumber(3, Fixed(0.9999999)), 1000);
}

TEST(ClockSeededUniform, DrawsWithinZeroToOne) {
  const UniformDraw draw = ClockSeededUniform();
  for (int i = 0; i < 100; ++i) {
    const double r = draw();
    ASSERT_GE(r, 0.0);
    ASSERT_LT(r, 1.0);
  }
}

TEST(SerialActive, NeedsTheSwitchSizeAndIncrement) {
  EXPECT_TRUE(SerialActive(Counting(1, 0, 2, 1)));
  EXPECT_FALSE(SerialActive(Counting(1, 0, 0, 1)));
  EXPECT_FALSE(SerialActive(Counting(1, 0, 2, 0)));
  SerialState off = Counting(1, 0, 2, 1);
  off.switchedOn = false;
  EXPECT_FALSE(SerialActive(off));
}

TEST(AdvanceSerialAfterWrite, CountsRewritesTheCompanionAndPlacesTheNextNumber) {
  test::TempDir dir;
  const std::string imagePath = dir.Write("board.HEX", ":00000001FF\n");
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image = test::SelectedImage(device);
  SerialState state = Counting(41, 0x3FC, 4, 1);
  ASSERT_TRUE(AdvanceSerialAfterWrite(state, imagePath, device, image, NeverDrawn()).ok());
  EXPECT_EQ(state.serialNumber, 42);
  EXPECT_EQ(SerialIndicatorText(state), "0042");
  EXPECT_EQ(test::SplitLines(dir.Read("board.SQT")), (std::vector<std::string>{"42", "1020", "4", "1"}));
  EXPECT_EQ(image.programBuffer[0x3FC], 0x342A);
  EXPECT_EQ(image.programBuffer[0x3FD], 0x3400);
}

TEST(AdvanceSerialAfterWrite, RandomModeDrawsTwice) {
  test::TempDir dir;
  const std::string imagePath = dir.Write("board.hex", "");
  const DeviceDescriptor device = test::Pic16F84();
  MemoryImage image;
  SerialState state = Counting(41, 0, 1, 1);
  state.random = 1;
  double next = 0.05;
  const UniformDraw draw = [&next] {
    const double r = next;
    next += 0.1;
    return r;
  };
  ASSERT_TRUE(AdvanceSerialAfterWrite(state, imagePath, device, image, draw).ok());
  EXPECT_EQ(state.serialNumber, 1);             // Int(0.05 x 10 + 1)
  EXPECT_EQ(image.programBuffer[0], 0x3402);    // Int(0.15 x 10 + 1), the second draw
  EXPECT_EQ(test::SplitLines(dir.Read("board.SQT"))[0], "1");
}

TEST(AdvanceSerialAfterWrite, InactiveNumberingDoesNothing) {
  test::TempDir dir;
  const std::string imagePath = dir.Write("board.hex", "");
  MemoryImage image;
  const MemoryImage before = image;
  SerialState state = Counting(41, 0, 4, 0);
  ASSERT_TRUE(AdvanceSerialAfterWrite(state, imagePath, test::Pic16F84(), image, NeverDrawn()).ok());
  EXPECT_EQ(state.serialNumber, 41);
  EXPECT_EQ(image, before);
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "board.SQT"));
}

TEST(SerialTexts, LeadingZerosToTheirWidths) {
  EXPECT_EQ(FormatLeadingZeros(42, 4), "0042");
  EXPECT_EQ(FormatLeadingZeros(123456, 4), "123456");
  EXPECT_EQ(FormatLeadingZeros(-42, 4), "-0042");
  EXPECT_EQ(FormatLeadingZeros(7, 0), "7");
  const SerialDialogTexts texts = FormatSerialDialog(Counting(1193046, 0x3FD, 3, 1));
  EXPECT_EQ(texts.serialNumber, "000000001193046");
  EXPECT_EQ(texts.startAddress, "01021");
  EXPECT_EQ(texts.size, "003");
  EXPECT_EQ(texts.increment, "001");
}

TEST(CompanionFile, PathSwapsTheLastThreeCharacters) {
  EXPECT_EQ(CompanionPath("/x/board.HEX"), "/x/board.SQT");
  EXPECT_EQ(CompanionPath("/x/board.hex"), "/x/board.SQT");
  EXPECT_EQ(CompanionPath("/x/board.hx"), "/x/boardSQT");
}

TEST(CompanionFile, WritesAndReadsTheFourNumbers) {
  test::TempDir dir;
  const std::string path = (dir.path() / "a.SQT").string();
  SerialState state = Counting(123456789012345.0, -2, 8, 300);
  state.random = 1;
  ASSERT_TRUE(WriteCompanionFile(path, state).ok());
  EXPECT_EQ(dir.Read("a.SQT"), "123456789012345\r\n-2\r\n8\r\n300\r\n");
  SerialState back;
  ASSERT_TRUE(ReadCompanionFile(path, back));
  EXPECT_EQ(back.serialNumber, state.serialNumber);
  EXPECT_EQ(back.startAddress, -2);
  EXPECT_EQ(back.size, 8);
  EXPECT_EQ(back.increment, 300);
  EXPECT_EQ(back.random, 0);  // not stored
}

TEST(CompanionFile, ReadingToleratesBrokenContent) {
  struct Case {
    const char* content;
    SerialState expected;
  };
  const SerialState old = Counting(5, 6, 7, 8);
  for (const Case& c : {Case{"", old}, Case{"100\n", Counting(100, 6, 7, 8)},
                        Case{"100\nabc\n3\n", Counting(100, 6, 3, 8)},
                        Case{" 100 , 20 , 2 , 1 ", Counting(100, 20, 2, 1)},
                        Case{"1e3\r\n99999\r\n2\r\n1\r\n", Counting(1000, 6, 2, 1)},
                        Case{"\x01\xFF" "garbage", old}}) {
    test::TempDir dir;
    SerialState state = old;
    ASSERT_TRUE(ReadCompanionFile(dir.Write("a.SQT", c.content), state));
    EXPECT_EQ(state, c.expected) << c.content;
  }
  SerialState state = old;
  EXPECT_FALSE(ReadCompanionFile("/nonexistent/a.SQT", state));
  EXPECT_EQ(state, old);
}

TEST(CompanionFile, OpeningAnImageSetsTheSwitchFromTheCompanion) {
  test::TempDir dir;
  const std::string image = dir.Write("board.hex", ":00000001FF\n");
  SerialState state;
  SerialOnOpen open = ReadCompanionOnOpen(image, state);
  EXPECT_FALSE(state.switchedOn);
  EXPECT_EQ(open.colour, kSerialOffColour);
  EXPECT_EQ(open.indicator, "");

  dir.Write("board.SQT", "41\n100\n4\n1\n");
  open = ReadCompanionOnOpen(image, state);
  EXPECT_TRUE(state.switchedOn);
  EXPECT_EQ(open.colour, kSerialOnColour);
  EXPECT_EQ(open.indicator, "0041");

  dir.Write("board.SQT", "41\n100\n4\n0\n");
  open = ReadCompanionOnOpen(image, state);
  EXPECT_TRUE(state.switchedOn);
  EXPECT_FALSE(SerialActive(state));
  EXPECT_EQ(open.indicator, "");
}

TEST(SerialMenu, TogglesOnlyWithAnImageFile) {
  SerialState state;
  EXPECT_EQ(ToggleSerialMenu(state, false), SerialMenuEffect::kNeedImageFile);
  EXPECT_FALSE(state.switchedOn);
  EXPECT_EQ(NeedImageFileMessage().text, image_text::kNeedHexFile);
  EXPECT_EQ(NeedImageFileMessage().title, image_text::kErrorTitle);
  EXPECT_EQ(ToggleSerialMenu(state, true), SerialMenuEffect::kSwitchedOnShowDialog);
  EXPECT_TRUE(state.switchedOn);
  EXPECT_EQ(ToggleSerialMenu(state, true), SerialMenuEffect::kSwitchedOff);
  EXPECT_FALSE(state.switchedOn);
}

TEST(SerialDialog, InputRules) {
  SerialState state = Counting(1, 2, 3, 4);
  ASSERT_TRUE(SetSerialNumberFromInput(state, "1193046").ok());
  EXPECT_EQ(state.serialNumber, 1193046);
  EXPECT_FALSE(SetSerialNumberFromInput(state, "twelve").ok());
  EXPECT_FALSE(SetSerialNumberFromInput(state, "").ok());
  EXPECT_EQ(state.serialNumber, 1193046);

  auto accepted = SetSizeFromInput(state, "9");
  ASSERT_TRUE(accepted.ok());
  EXPECT_FALSE(accepted.value());
  EXPECT_EQ(state.size, 3);
  accepted = SetSizeFromInput(state, "8");
  ASSERT_TRUE(accepted.ok());
  EXPECT_TRUE(accepted.value());
  EXPECT_EQ(state.size, 8);
  EXPECT_FALSE(SetSizeFromInput(state, "x").ok());
  EXPECT_EQ(state.size, 8);

  ASSERT_TRUE(SetStartAddressFromInput(state, "1021").ok());
  EXPECT_EQ(state.startAddress, 1021);
  EXPECT_FALSE(SetStartAddressFromInput(state, "40000").ok());
  EXPECT_EQ(state.startAddress, 1021);
  ASSERT_TRUE(SetIncrementFromInput(state, "2.5").ok());
  EXPECT_EQ(state.increment, 2);
  EXPECT_FALSE(SetIncrementFromInput(state, "1 2").ok());

  SetRandomFromCheckBox(state, true);
  EXPECT_EQ(state.random, 1);
  SetRandomFromCheckBox(state, false);
  EXPECT_EQ(state.random, 0);
  EXPECT_STREQ(image_text::kPromptSize, "Enter the size of the serial number (max 8 bytes)");
}

}  // namespace
}  // namespace quorvi
