// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/arith.h"

#include <gtest/gtest.h>

namespace quorvi {
namespace {

template <typename In, typename Out>
struct Case {
  In in;
  Out out;
};

TEST(Arith, RoundingHalvesGoToTheEvenNeighbour) {
  for (const auto c : {Case<double, int64_t>{0.5, 0}, {1.5, 2}, {2.5, 2}, {3.5, 4}, {198.5, 198}, {199.5, 200},
                       {-0.5, 0}, {-1.5, -2}, {-2.5, -2}, {2.4999, 2}, {2.5001, 3}, {-2.6, -3}, {114.79, 115}}) {
    EXPECT_EQ(RoundHalfEven(c.in), c.out) << c.in;
  }
  for (const auto c : {Case<int, int>{0, 0}, {1, 0}, {2, 1}, {3, 2}, {5, 2}, {7, 4}, {-1, 0}, {-3, -2},
                       {-32768, -16384}, {-2, -1}}) {
    EXPECT_EQ(HalveHalfEven(c.in), c.out) << c.in;
  }
}

TEST(Arith, HexValReadsLikeTheOldAmpersandHConversion) {
  for (const auto c : {Case<const char*, int32_t>{"0", 0}, {"7FFF", 0x7FFF}, {"8000", -32768}, {"FFFF", -1},
                       {"ffff", -1}, {"0FFFF", -1}, {"10000", 0x10000}, {"12345", 0x12345}, {"FFFFFFFF", -1},
                       {"12ZZ", 0x12}, {"ZZ12", 0}, {"LPT1", 0}, {"", 0}, {" 1", 1}, {"3 F", 0x3F}}) {
    EXPECT_EQ(HexVal(c.in), c.out) << c.in;
  }
  for (const auto c : {Case<const char*, int32_t>{"3F", 0x3F}, {"ff", 0xFF}, {"1G", 0}, {"G1", 0}, {"1", 0},
                       {"\r\n", 0}}) {
    EXPECT_EQ(HexPairVal(c.in), c.out) << c.in;
  }
  EXPECT_EQ(HexWordVal("3F", "FF"), 0x3FFF);
  EXPECT_EQ(HexWordVal("80", "00"), -32768);
  EXPECT_EQ(HexWordVal("FF", "FF"), -1);
  EXPECT_EQ(HexWordVal("ZZ", "12"), 0x12);
}

TEST(Arith, HexTextShowsTheValueAsItsWidthHoldsIt) {
  for (const auto& [text, expected] : {std::pair{HexText(0), "0"}, {HexText(0x3FFF), "3FFF"}, {HexText(-1), "FFFFFFFF"},
                                       {HexText(0x12345), "12345"}, {HexText16(-1), "FFFF"}, {HexText16(0xAB), "AB"},
                                       {PadLeft("AB", 4), "00AB"}, {PadLeft("12345", 4), "12345"},
                                       {PadLeft("7", 3, ' '), "  7"}}) {
    EXPECT_EQ(text, expected);
  }
}

TEST(Arith, NarrowingRoundsHalvesToEvenAndRefusesOverflow) {
  for (const auto c : {Case<double, std::optional<int32_t>>{2.5, 2}, {3.5, 4}, {2147483647.0, 2147483647},
                       {2147483647.5, std::nullopt}, {2147483648.0, std::nullopt}, {-2147483648.0, INT32_MIN},
                       {1e300, std::nullopt}}) {
    EXPECT_EQ(ToInt32(c.in), c.out) << c.in;
  }
  for (const auto c : {Case<double, std::optional<int16_t>>{32767.0, 32767}, {32767.5, std::nullopt},
                       {-32768.4, -32768}}) {
    EXPECT_EQ(ToInt16(c.in), c.out) << c.in;
  }
  for (const auto c : {Case<double, std::optional<uint8_t>>{255.0, 255}, {2.5, 2}, {256.0, std::nullopt},
                       {-1.0, std::nullopt}}) {
    EXPECT_EQ(ToByte(c.in), c.out) << c.in;
  }
}

TEST(Arith, VbValReadsNumbersAsTheOldValDid) {
  for (const auto c : {Case<const char*, double>{"", 0}, {"  12", 12}, {"1 2", 12}, {"12abc", 12}, {"03FF", 3},
                       {"-5", -5}, {"  -3.5e2x", -350}, {"+7", 7}, {"4.5", 4.5}, {"4.", 4}, {".5", 0.5},
                       {"1E3", 1000}, {"2D2", 200}, {"1e", 1}, {"abc", 0}, {"&hFFFF", -1}, {"&h8000", -32768},
                       {"&h10000", 65536}, {"&H3 FF", 0x3FF}, {"&o17", 15}, {"&hxyz", 0}}) {
    EXPECT_DOUBLE_EQ(VbVal(c.in), c.out) << c.in;
  }
}

TEST(Arith, ParseNumberNeedsTheWholeTextToBeANumber) {
  for (const auto c : {Case<const char*, std::optional<double>>{" 42 ", 42}, {"1193046", 1193046}, {"-2.5", -2.5},
                       {"+3", 3}, {"12abc", std::nullopt}, {"", std::nullopt}, {"inf", std::nullopt}}) {
    EXPECT_EQ(ParseNumber(c.in), c.out) << c.in;
  }
}

}  // namespace
}  // namespace quorvi
