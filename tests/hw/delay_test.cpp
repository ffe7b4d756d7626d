// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/delay.h"

#include <gtest/gtest.h>

#include "hw/clock.h"

namespace quorvi {
namespace {

constexpr int64_t kMs = 1'000'000;

int64_t Units(int64_t units) { return units * 1'000'000'000 / 12'000; }

// Below 20 ms: round-half-even(tenths) - 1 units, spun, the window never pumped.
// From 20 ms: whole milliseconds on the 32-bit millisecond clock, pumping.
TEST(DelayMs, ShortWaitsSpinUnitsAndLongWaitsEndOnTheMillisecondClock) {
  struct Case {
    float ms;
    int64_t units;
    int64_t waitedNs;
    int64_t startNs = 0;
  };
  for (const Case c :
       {Case{19.9F, 198, Units(198)}, {1.0F, 9, Units(9)}, {10.0F, 99, Units(99)}, {12.0F, 119, Units(119)},
        {15.0F, 149, Units(149)}, {0.25F, 1, Units(1)}, {0.15F, 1, Units(1)}, {0.2F, 1, Units(1)}, {0.1F, 0, 0},
        {0.0F, 0, 0}, {-3.0F, 0, 0}, {19.99F, 199, Units(199)}, {20.0F, 0, 20 * kMs}, {20.9F, 0, 20 * kMs},
        {250.0F, 0, 250 * kMs}, {1000.5F, 0, 1000 * kMs},
        {20.0F, 0, 20 * kMs - 300'000, 300'000},                        // ends on the tick, not 20 ms after
        {50.0F, 0, 50 * kMs, (int64_t{1} << 32) * kMs - 5 * kMs}}) {  // across the clock's wrap
    EXPECT_EQ(ShortWaitUnits(c.ms), c.units) << c.ms;
    VirtualClock clock;
    clock.Advance(c.startNs);
    int pumps = 0;
    clock.SetEventPump([&] { ++pumps; });
    DelayMs(clock, c.ms);
    EXPECT_EQ(clock.Nanoseconds() - c.startNs, c.waitedNs) << c.ms;
    EXPECT_EQ(pumps > 0, c.ms >= 20.0F) << c.ms;
    if (c.startNs == 0) {
      EXPECT_NEAR(RealDelayMs(c.ms), static_cast<double>(c.waitedNs) / 1e6, 1e-5) << c.ms;
    }
  }
}

TEST(DelayMs, LongWaitIdlesInSlicesOnTheRealClockAndPumpsBetween) {
  RealClock clock;
  int pumps = 0;
  clock.SetEventPump([&] { ++pumps; });
  const int64_t start = clock.Nanoseconds();
  DelayMs(clock, 20.0F);
  // Not a timing test: only that it waited at all and let the window run more than once.
  EXPECT_GE(clock.Nanoseconds() - start, 19 * kMs);
  EXPECT_GE(pumps, 2);
}

TEST(DelayUnit, IsOneTwelveThousandthOfASecond) {
  VirtualClock clock;
  for (int i = 0; i < 12; ++i) DelayUnit(clock);
  EXPECT_NEAR(static_cast<double>(clock.Nanoseconds()), 1'000'000.0, 12.0);
}

}  // namespace
}  // namespace quorvi
