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

TEST(AdjustTest, EachToggleTellsWhichPinToMeasure) {
  test::RecordedLink rec;
  EXPECT_EQ(ToggleAdjustSupply(rec.link, AdjustSupply::kVdd, true), "Check for 5V on Textool pin 11");
  EXPECT_TRUE(On(rec.link, kVddBit));
  EXPECT_EQ(ToggleAdjustSupply(rec.link, AdjustSupply::kVpp2, true), "Check for 13V on Textool pin 1");
  EXPECT_TRUE(On(rec.link, kVpp2Bit));
  EXPECT_EQ(ToggleAdjustSupply(rec.link, AdjustSupply::kVpp2, false), "");
  EXPECT_FALSE(On(rec.link, kVpp2Bit));
  EXPECT_EQ(ToggleAdjustSupply(rec.link, AdjustSupply::kVpp1, true), "Check for 13V on Textool pin 4");
  EXPECT_EQ(ToggleAdjustSupply(rec.link, AdjustSupply::kVpp3, true), "Check for 13V on Textool pin 18");
}

TEST(AdjustTest, VddEntryRules) {
  auto entry = ReadAdjustVddEntry("7");
  ASSERT_TRUE(std::holds_alternative<AdjustVddEntry>(entry));
  EXPECT_EQ(std::get<AdjustVddEntry>(entry).text, "7.0");
  EXPECT_FLOAT_EQ(std::get<AdjustVddEntry>(entry).volts, 7.0F);
  EXPECT_EQ(std::get<UserMessage>(ReadAdjustVddEntry("10")).text, "Voltage to high");
  EXPECT_EQ(std::get<UserMessage>(ReadAdjustVddEntry("0")).text, "wrong value");
  EXPECT_EQ(std::get<UserMessage>(ReadAdjustVddEntry("-3")).text, "wrong value");
  EXPECT_EQ(std::get<UserMessage>(ReadAdjustVddEntry("abc")).text, "wrong value");
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
