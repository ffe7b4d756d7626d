// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/serial_numbering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>

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

SerialState Random(SerialState state) {
  state.random = 1;
  return state;
}

TEST(ApplySerial, PlacesOneRetlwWordPerByteLeastSignificantFirst) {
  struct Case {
    const char* what;
    int16_t family;
    SerialState state;
    std::vector<std::pair<size_t, int32_t>> words;  // all others keep their mark
    const char* error = nullptr;
  };
  std::vector<Case> cases = {
      {"14-bit part", 1, Counting(0x123456, 0x3FD, 3), {{0x3FD, 0x3456}, {0x3FE, 0x3434}, {0x3FF, 0x3412}}},
      {"12-bit part", 4, Counting(1193046, 0x3FD, 3), {{0x3FD, 0x856}, {0x3FE, 0x834}, {0x3FF, 0x812}}},
      {"one-time programmable 14-bit part", 2, Counting(7, 0x10, 1), {{0x10, 0x3407}}},
      {"halves round to even, bytes beyond the number are 0", 1, Counting(2.5, 0, 2), {{0, 0x3402}, {1, 0x3400}}},
      {"carry into the second byte", 1, Counting(0x1FF, 0, 2), {{0, 0x34FF}, {1, 0x3401}}},
      {"the largest 32-bit number", 1, Counting(2147483647.0, 0, 4),
       {{0, 0x34FF}, {1, 0x34FF}, {2, 0x34FF}, {3, 0x347F}}},
      {"2^31 overflows", 1, Counting(2147483648.0, 0, 1), {}, "Overflow"},
      {"an address before the buffer", 1, Counting(1, -1, 2), {}, "outside program memory"},
      // Int(0.1234 x 100 + 1) = 13, not the 41 shown.
      {"random mode places a fresh draw", 1, Random(Counting(41, 0, 2)), {{0, 0x340D}, {1, 0x3400}}},
  };
  for (const int16_t family : std::initializer_list<int16_t>{3, 5, 6, 7, 8, 9}) {
    cases.push_back({"family without serial numbers", family, Counting(7, 0x10, 1), {}});
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.what) + ", family " + std::to_string(c.family));
    const DeviceDescriptor device = test::MakeDevice({.name = "X", .programSize = 0x3FF, .family = c.family});
    MemoryImage image;
    std::fill(image.programBuffer.begin(), image.programBuffer.end(), 0x5555);
    std::vector<int32_t> expected = image.programBuffer;
    for (const auto& [address, word] : c.words) expected[address] = word;
    const Status status = ApplySerial(c.state, device, image, c.state.random == 1 ? Fixed(0.1234) : NeverDrawn());
    EXPECT_EQ(status.ok(), c.error == nullptr) << status.message();
    if (c.error != nullptr) {
      EXPECT_NE(status.message().find(c.error), std::string::npos) << status.message();
    }
    const auto [got, want] = std::mismatch(image.programBuffer.begin(), image.programBuffer.end(), expected.begin());
    EXPECT_TRUE(got == image.programBuffer.end())
        << "word 0x" << std::hex << (got - image.programBuffer.begin()) << " is " << *got << ", not " << *want;
  }
}

TEST(ApplySerial, DrawsFromOneToTenToTheSize) {
  EXPECT_EQ(DrawSerialNumber(3, Fixed(0.0)), 1);
  EXPECT_EQ(DrawSerialNumber(3, Fixed(0.9999999)), 1000);
  const UniformDraw draw = ClockSeededUniform();
  for (int i = 0; i < 100; ++i) {
    const double r = draw();
    ASSERT_GE(r, 0.0);
    ASSERT_LT(r, 1.0);
  }
}

TEST(AdvanceSerialAfterWrite, RewritesTheCompanionAndPlacesTheNextNumberWhenActive) {
  struct Case {
    SerialState state;
    const char* companion;  // empty: none written
    const char* indicator;
    std::vector<std::pair<size_t, int32_t>> words;
  };
  SerialState off = Counting(41, 0, 4, 1);
  off.switchedOn = false;
  // Counting adds the increment; random mode draws the number shown
  // (Int(0.05 x 10 + 1) = 1), then draws again for the one placed (2).
  for (const Case& c : {Case{Counting(41, 0x3FC, 4, 1), "42\r\n1020\r\n4\r\n1\r\n", "0042",
                             {{0x3FC, 0x342A}, {0x3FD, 0x3400}, {0x3FE, 0x3400}, {0x3FF, 0x3400}}},
                        Case{Random(Counting(41, 0, 1, 1)), "1\r\n0\r\n1\r\n1\r\n", "1", {{0, 0x3402}}},
                        Case{off, "", "0041", {}}, Case{Counting(41, 0, 0, 1), "", "41", {}},
                        Case{Counting(41, 0, 4, 0), "", "0041", {}}}) {
    test::TempDir dir;
    const std::string imagePath = dir.Write("board.HEX", ":00000001FF\n");
    MemoryImage image = test::SelectedImage(test::Pic16F84());
    std::vector<int32_t> expected = image.programBuffer;
    for (const auto& [address, word] : c.words) expected[address] = word;
    SerialState state = c.state;
    double next = 0.05;
    const UniformDraw draws = [&next] { return std::exchange(next, next + 0.1); };
    ASSERT_TRUE(
        AdvanceSerialAfterWrite(state, imagePath, test::Pic16F84(), image, state.random ? draws : NeverDrawn()).ok());
    EXPECT_EQ(dir.Read("board.SQT"), c.companion);
    EXPECT_EQ(SerialIndicatorText(state), c.indicator);
    EXPECT_TRUE(image.programBuffer == expected) << c.indicator;
  }
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
  SerialState expected = state;
  expected.random = 0;  // not stored
  expected.switchedOn = false;
  EXPECT_EQ(back, expected);
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

// A refused text leaves the field as it was; a size of 9 or more is refused
// quietly, without a message.
TEST(SerialDialog, EachFieldTakesOnlyTheNumbersItCanHold) {
  using Set = std::function<std::string(SerialState&, const std::string&)>;
  auto outcome = [](Status (*set)(SerialState&, const std::string&)) -> Set {
    return [set](SerialState& state, const std::string& text) { return set(state, text).ok() ? "taken" : "refused"; };
  };
  const Set number = outcome(SetSerialNumberFromInput), start = outcome(SetStartAddressFromInput),
            increment = outcome(SetIncrementFromInput);
  const Set size = [](SerialState& state, const std::string& text) -> std::string {
    const Result<bool> taken = SetSizeFromInput(state, text);
    return !taken.ok() ? "refused" : taken.value() ? "taken" : "quiet";
  };
  struct Case {
    Set set;
    const char* text;
    const char* outcome;
    SerialState after;
  };
  const SerialState before = Counting(1, 2, 3, 4);
  for (const Case& c :
       {Case{number, "1193046", "taken", Counting(1193046, 2, 3, 4)}, {number, "twelve", "refused", before},
        {number, "", "refused", before}, {size, "8", "taken", Counting(1, 2, 8, 4)}, {size, "9", "quiet", before},
        {size, "x", "refused", before}, {start, "1021", "taken", Counting(1, 1021, 3, 4)},
        {start, "40000", "refused", before}, {increment, "2.5", "taken", Counting(1, 2, 3, 2)},
        {increment, "1 2", "refused", before}}) {
    SerialState state = before;
    EXPECT_EQ(c.set(state, c.text), c.outcome) << c.text;
    EXPECT_EQ(state, c.after) << c.text;
  }
  EXPECT_STREQ(image_text::kPromptSize, "Enter the size of the serial number (max 8 bytes)");
}

}  // namespace
}  // namespace quorvi
