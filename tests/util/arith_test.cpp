// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/arith.h"

#include <gtest/gtest.h>

namespace quorvi {
namespace {

TEST(RoundHalfEven, HalvesGoToTheEvenNeighbour) {
  struct Case {
    double in;
    int64_t out;
  };
  for (const Case c : {Case{0.5, 0}, {1.5, 2}, {2.5, 2}, {3.5, 4}, {198.5, 198}, {199.5, 200}, {-0.5, 0},
                       {-1.5, -2}, {-2.5, -2}, {2.4999, 2}, {2.5001, 3}, {-2.6, -3}, {114.79, 115}}) {
    EXPECT_EQ(RoundHalfEven(c.in), c.out) << c.in;
  }
}

}  // namespace
}  // namespace quorvi

namespace quorvi {
namespace {

TEST(VbVal, ReadsNumbersAsTheOldValDid) {
  struct Case {
    const char* text;
    double value;
  };
  for (const Case& c : {Case{"", 0}, {"  12", 12}, {"1 2", 12}, {"12abc", 12}, {"03FF", 3}, {"-5", -5},
                        {"4.5", 4.5}, {"4.", 4}, {".5", 0.5}, {"1E3", 1000}, {"2D2", 200}, {"1e", 1}, {"abc", 0},
                        {"&hFFFF", -1}, {"&h8000", -32768}, {"&h10000", 65536}, {"&H3 FF", 0x3FF}, {"&o17", 15},
                        {"&hxyz", 0}}) {
    EXPECT_DOUBLE_EQ(VbVal(c.text), c.value) << c.text;
  }
}

TEST(HexVal, IgnoresBlanksAndReadsFourDigitsSigned) {
  EXPECT_EQ(HexVal(" 3BC"), 0x3BC);
  EXPECT_EQ(HexVal("FFFF"), -1);
  EXPECT_EQ(HexVal("12345"), 0x12345);
  EXPECT_EQ(HexVal("LPT1"), 0);
}

TEST(ToByte, RefusesWhatDoesNotFit) {
  EXPECT_EQ(ToByte(255.0), 255);
  EXPECT_EQ(ToByte(2.5), 2);
  EXPECT_FALSE(ToByte(256.0).has_value());
  EXPECT_FALSE(ToByte(-1.0).has_value());
}

}  // namespace
}  // namespace quorvi
