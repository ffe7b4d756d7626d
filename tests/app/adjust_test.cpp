// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/adjust.h"

#include <gtest/gtest.h>

#include "support/golden.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

constexpr uint8_t kVddBit = 0x04;  // the supply lines are active low
constexpr uint8_t kVpp1Bit = 0x08;
constexpr uint8_t kVpp2Bit = 0x10;
constexpr uint8_t kVpp3Bit = 0x20;

bool On(const PortLink& link, uint8_t bit) { return (link.outputShadow() & bit) == 0; }

TEST(AdjustTest, TogglesAndVddEntriesDoWhatTheirRowsSay) {
  const std::map<std::string, test::Call> calls = {
      {"Toggle",
       [](const auto& a) {
         const std::map<std::string, AdjustSupply> supplies = {{"Vdd", AdjustSupply::kVdd},
                                                               {"Vpp1", AdjustSupply::kVpp1},
                                                               {"Vpp2", AdjustSupply::kVpp2},
                                                               {"Vpp3", AdjustSupply::kVpp3}};
         test::RecordedLink rec;
         std::string out;
         for (const bool on : {true, false}) {
           const std::string text = ToggleAdjustSupply(rec.link, supplies.at(a.at(0)), on);
           out += (on ? "\"" : "; \"") + text + "\", lines " + test::Hex(rec.link.outputShadow(), 2);
         }
         return out;
       }},
      {"Entry", [](const auto& a) {
         const auto entry = ReadAdjustVddEntry(a.at(0));
         if (const auto* refused = std::get_if<UserMessage>(&entry)) return refused->text;
         const auto& taken = std::get<AdjustVddEntry>(entry);
         return taken.text + ", " + test::Number(taken.volts) + " V";
       }}};
  EXPECT_EQ(test::TableMismatches("adjust.txt", calls), "");
}

// Closing switches Vpp1, Vpp2 and Vdd off and leaves Vpp3 as it was; with
// Shift held it first switches each Vpp on and off, then Vdd, 250 ms apiece.
TEST(AdjustTest, ClosingLeavesVpp3AndShiftCyclesEverySupplyFirst) {
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
      EXPECT_EQ(On(rec.link, bit), bit == kVpp3Bit && !shift) << shift << " bit " << int{bit};
    }
  }
}

}  // namespace
}  // namespace quorvi
