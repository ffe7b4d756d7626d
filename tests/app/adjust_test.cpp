// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/adjust.h"

#include <gtest/gtest.h>

#include "support/golden.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

TEST(AdjustTest, TogglesVddEntriesAndClosingDoWhatTheirRowsSay) {
  std::map<std::string, test::Call> calls = {
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
  calls["Close"] = [](const auto& a) {
    test::RecordedLink rec;
    for (const AdjustSupply on : {AdjustSupply::kVdd, AdjustSupply::kVpp1, AdjustSupply::kVpp2, AdjustSupply::kVpp3}) {
      if (a.empty()) ToggleAdjustSupply(rec.link, on, true);  // with Shift, everything starts off
    }
    rec.TakeWrites();
    const int64_t before = rec.clock.Nanoseconds();
    CloseAdjust(rec.link, !a.empty());
    std::string writes;
    for (const uint8_t byte : rec.TakeWrites()) writes += " " + test::Hex(byte, 2);
    return "took " + std::to_string((rec.clock.Nanoseconds() - before) / 1'000'000) + " ms, writes" + writes;
  };
  EXPECT_EQ(test::TableMismatches("adjust.txt", calls), "");
}

}  // namespace
}  // namespace quorvi
