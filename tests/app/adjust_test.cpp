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

TEST(AdjustTest, ClosingLeavesVpp3AsItWas) {
  test::RecordedLink rec;
  ToggleAdjustSupply(rec.link, AdjustSupply::kVdd, true);
  ToggleAdjustSupply(rec.link, AdjustSupply::kVpp1, true);
  ToggleAdjustSupply(rec.link, AdjustSupply::kVpp3, true);
  const int64_t before = rec.clock.Nanoseconds();
  CloseAdjust(rec.link, false);
  EXPECT_FALSE(On(rec.link, kVddBit));
  EXPECT_FALSE(On(rec.link, kVpp1Bit));
  EXPECT_TRUE(On(rec.link, kVpp3Bit));
  EXPECT_LT(rec.clock.Nanoseconds() - before, 100'000'000);
}

TEST(AdjustTest, ShiftReleaseCyclesEverySupplyInTurn) {
  test::RecordedLink rec;
  const int64_t before = rec.clock.Nanoseconds();
  CloseAdjust(rec.link, true);
  // Three Vpp switches on and off, then Vdd on: seven waits of 250 ms.
  EXPECT_GE(rec.clock.Nanoseconds() - before, 7 * 250'000'000LL);
  int vpp3Pulses = 0;
  bool wasOn = false;
  for (uint8_t byte : rec.TakeWrites()) {
    const bool on = (byte & kVpp3Bit) == 0;
    if (on && !wasOn) ++vpp3Pulses;
    wasOn = on;
  }
  EXPECT_EQ(vpp3Pulses, 1);
  EXPECT_FALSE(On(rec.link, kVddBit));
  EXPECT_FALSE(On(rec.link, kVpp3Bit));
}

}  // namespace
}  // namespace quorvi
