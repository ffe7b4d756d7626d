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

TEST(HexVal, ReadsLikeTheOldAmpersandHConversion) {
  struct Case {
    const char* text;
    int32_t value;
  };
  for (const Case c : {Case{"0", 0}, {"7FFF", 0x7FFF}, {"8000", -32768}, {"FFFF", -1}, {"ffff", -1},
                       {"0FFFF", -1}, {"10000", 0x10000}, {"FFFFFFFF", -1}, {"12ZZ", 0x12}, {"ZZ12", 0},
                       {"", 0}, {"3F", 0x3F}, {" 1", 1}, {"3 F", 0x3F}}) {  // blanks are skipped
    EXPECT_EQ(HexVal(c.text), c.value) << c.text;
  }
}

TEST(HexPairVal, ReadsTwoHexDigitsOrZero) {
  EXPECT_EQ(HexPairVal("3F"), 0x3F);
  EXPECT_EQ(HexPairVal("ff"), 0xFF);
  EXPECT_EQ(HexPairVal("1G"), 0);
  EXPECT_EQ(HexPairVal("G1"), 0);
  EXPECT_EQ(HexPairVal("1"), 0);
  EXPECT_EQ(HexPairVal("\r\n"), 0);
  EXPECT_EQ(HexWordVal("3F", "FF"), 0x3FFF);
  EXPECT_EQ(HexWordVal("80", "00"), -32768);
  EXPECT_EQ(HexWordVal("FF", "FF"), -1);
  EXPECT_EQ(HexWordVal("ZZ", "12"), 0x12);
}

TEST(HexText, ShowsTheValueAsItsWidthHoldsIt) {
  EXPECT_EQ(HexText(0), "0");
  EXPECT_EQ(HexText(0x3FFF), "3FFF");
  EXPECT_EQ(HexText(-1), "FFFFFFFF");
  EXPECT_EQ(HexText(0x12345), "12345");
  EXPECT_EQ(HexText16(-1), "FFFF");
  EXPECT_EQ(HexText16(0xAB), "AB");
  EXPECT_EQ(PadLeft("AB", 4), "00AB");
  EXPECT_EQ(PadLeft("12345", 4), "12345");
  EXPECT_EQ(PadLeft("7", 3, ' '), "  7");
}

TEST(HalveHalfEven, RoundsHalvesToEven) {
  for (const auto& [in, out] : {std::pair{0, 0}, {1, 0}, {2, 1}, {3, 2}, {5, 2}, {7, 4}, {-1, 0}, {-3, -2},
                                {-32768, -16384}, {-2, -1}}) {
    EXPECT_EQ(HalveHalfEven(in), out) << in;
  }
}

TEST(ToInt32, RoundsHalvesToEvenAndRefusesOverflow) {
  EXPECT_EQ(ToInt32(2.5), 2);
  EXPECT_EQ(ToInt32(3.5), 4);
  EXPECT_EQ(ToInt32(2147483647.0), 2147483647);
  EXPECT_EQ(ToInt32(2147483647.5), std::nullopt);
  EXPECT_EQ(ToInt32(2147483648.0), std::nullopt);
  EXPECT_EQ(ToInt32(-2147483648.0), -2147483647 - 1);
  EXPECT_EQ(ToInt32(1e300), std::nullopt);
  EXPECT_EQ(ToInt16(32767.0), 32767);
  EXPECT_EQ(ToInt16(32767.5), std::nullopt);
  EXPECT_EQ(ToInt16(-32768.4), -32768);
}

TEST(VbVal, ReadsTheLeadingNumber) {
  EXPECT_EQ(VbVal("12abc"), 12.0);
  EXPECT_EQ(VbVal("  -3.5e2x"), -350.0);
  EXPECT_EQ(VbVal("abc"), 0.0);
  EXPECT_EQ(VbVal(""), 0.0);
  EXPECT_EQ(VbVal("+7"), 7.0);
  EXPECT_EQ(VbVal("1e"), 1.0);
}

TEST(ParseNumber, NeedsTheWholeTextToBeANumber) {
  EXPECT_EQ(ParseNumber(" 42 "), 42.0);
  EXPECT_EQ(ParseNumber("1193046"), 1193046.0);
  EXPECT_EQ(ParseNumber("-2.5"), -2.5);
  EXPECT_EQ(ParseNumber("+3"), 3.0);
  EXPECT_EQ(ParseNumber("12abc"), std::nullopt);
  EXPECT_EQ(ParseNumber(""), std::nullopt);
  EXPECT_EQ(ParseNumber("inf"), std::nullopt);
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
