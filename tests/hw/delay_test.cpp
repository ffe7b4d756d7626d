// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/delay.h"

#include <gtest/gtest.h>

#include "hw/clock.h"
#include "support/golden.h"

namespace quorvi {
namespace {

constexpr int64_t kMs = 1'000'000;

std::string Delay(const std::vector<std::string>& w) {
  const float ms = std::stof(w.at(0));
  const int64_t start = std::stoll(w.at(1));
  VirtualClock clock;
  clock.Advance(start);
  int pumps = 0;
  clock.SetEventPump([&] { ++pumps; });
  DelayMs(clock, ms);
  const int64_t waited = clock.Nanoseconds() - start;
  if (start == 0) {
    EXPECT_NEAR(RealDelayMs(ms), static_cast<double>(waited) / 1e6, 1e-5) << ms;
  }
  return std::to_string(ShortWaitUnits(ms)) + " units, waits " + std::to_string(waited) + " ns, " +
         (pumps > 0 ? "pumped" : "not pumped");
}

TEST(DelayMs, ShortWaitsSpinUnitsAndLongWaitsWholeMilliseconds) {
  EXPECT_EQ(test::TableMismatches("delay.txt", {{"DelayMs", Delay}}), "");
}

// Not timing tests: only that no wait on the real clock ends before its length,
// whether it sleeps, spins or both, and that long ones let the window run.
TEST(DelayMs, RealWaitsNeverEndEarlyAndLongOnesPump) {
  RealClock clock;
  int pumps = 0;
  clock.SetEventPump([&] { ++pumps; });
  for (const float ms : {0.2F, 0.5F, 1.0F, 5.0F, 20.0F, 20.9F}) {
    const int64_t start = clock.Nanoseconds();
    DelayMs(clock, ms);
    EXPECT_GE(clock.Nanoseconds() - start, static_cast<int64_t>(RealDelayMs(ms) * kMs)) << ms;
  }
  EXPECT_GE(pumps, 2);
  const int64_t start = clock.Nanoseconds();
  clock.Spin(clock.wakeUpMarginNs() + kMs);
  EXPECT_GE(clock.Nanoseconds() - start, clock.wakeUpMarginNs() + kMs);
}

TEST(DelayUnit, IsOneTwelveThousandthOfASecond) {
  VirtualClock clock;
  for (int i = 0; i < 12; ++i) DelayUnit(clock);
  EXPECT_NEAR(static_cast<double>(clock.Nanoseconds()), 1'000'000.0, 12.0);
}

}  // namespace
}  // namespace quorvi
