// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/adjust.h"

#include <gtest/gtest.h>

#include "support/recorded_link.h"

namespace quorvi {
namespace {

constexpr uint8_t kVddBit = 0x04;  // the supply lines are active low
constexpr uint8_t kVpp1Bit = 0x08;
constexpr uint8_t kVpp2Bit = 0x10;
constexpr uint8_t kVpp3Bit = 0x20;

bool On(const PortLink& link, uint8_t bit) { return (link.outputShadow() & bit) == 0; }

TEST(AdjustTest, EachToggleSwitchesItsSupplyAndTellsWhichPinToMeasure) {
  struct Case {
    AdjustSupply supply;
    uint8_t bit;
    const char* text;
  };
  for (const Case c : {Case{AdjustSupply::kVdd, kVddBit, "Check for 5V on Textool pin 11"},
                       {AdjustSupply::kVpp1, kVpp1Bit, "Check for 13V on Textool pin 4"},
                       {AdjustSupply::kVpp2, kVpp2Bit, "Check for 13V on Textool pin 1"},
                       {AdjustSupply::kVpp3, kVpp3Bit, "Check for 13V on Textool pin 18"}}) {
    test::RecordedLink rec;
    EXPECT_EQ(ToggleAdjustSupply(rec.link, c.supply, true), c.text);
    EXPECT_TRUE(On(rec.link, c.bit)) << c.text;
    EXPECT_EQ(ToggleAdjustSupply(rec.link, c.supply, false), "");
    EXPECT_FALSE(On(rec.link, c.bit)) << c.text;
  }
}

TEST(AdjustTest, VddEntryRules) {
  auto entry = ReadAdjustVddEntry("7");
  ASSERT_TRUE(std::holds_alternative<AdjustVddEntry>(entry));
  EXPECT_EQ(std::get<AdjustVddEntry>(entry).text, "7.0");
  EXPECT_FLOAT_EQ(std::get<AdjustVddEntry>(entry).volts, 7.0F);
  for (const auto& [answer, text] : {std::pair{"10", "Voltage to high"}, {"0", "wrong value"}, {"-3", "wrong value"},
                                     {"abc", "wrong value"}}) {
    const auto refused = ReadAdjustVddEntry(answer);
    ASSERT_TRUE(std::holds_alternative<UserMessage>(refused)) << answer;
    EXPECT_EQ(std::get<UserMessage>(refused).text, text) << answer;
  }
}

// Closing switches every supply off, the Vpps before Vdd; with Shift held it
// first switches each Vpp on and off, then Vdd, 250 ms apiece.
TEST(AdjustTest, ClosingSwitchesEverySupplyOffAndShiftCyclesEachFirst) {
  for (const bool shift : {false, true}) {
    test::RecordedLink rec;
    for (const AdjustSupply on : {AdjustSupply::kVdd, AdjustSupply::kVpp1, AdjustSupply::kVpp2, AdjustSupply::kVpp3}) {
      if (!shift) ToggleAdjustSupply(rec.link, on, true);  // with Shift, everything starts off
    }
    rec.TakeWrites();
    const uint8_t start = rec.link.outputShadow();
    const int64_t before = rec.clock.Nanoseconds();
    CloseAdjust(rec.link, shift);
    const int64_t took = rec.clock.Nanoseconds() - before;
    EXPECT_EQ(took >= 7 * 250'000'000LL, shift);
    EXPECT_LT(took, shift ? 7 * 251'000'000LL : 100'000'000LL);
    const std::vector<uint8_t> writes = rec.TakeWrites();
    for (const uint8_t bit : {kVddBit, kVpp1Bit, kVpp2Bit, kVpp3Bit}) {
      int switchedOn = 0;
      bool wasOn = (start & bit) == 0;
      for (const uint8_t byte : writes) {
        switchedOn += (byte & bit) == 0 && !wasOn ? 1 : 0;
        wasOn = (byte & bit) == 0;
      }
      EXPECT_EQ(switchedOn, shift ? 1 : 0) << shift << " bit " << int{bit};
      EXPECT_FALSE(On(rec.link, bit)) << shift << " bit " << int{bit};
    }
  }
}

}  // namespace
}  // namespace quorvi
