// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/delay.h"

#include <gtest/gtest.h>

#include "hw/clock.h"

namespace quorvi {
namespace {

constexpr int64_t kMs = 1'000'000;

int64_t UnitsNs(int64_t units) { return units * 1'000'000'000 / 12'000; }

// Counts what a wait does on the virtual clock: time, spins, idles, pumps.
class CountingClock final : public Clock {
 public:
  int64_t Nanoseconds() override {
    ++reads;
    return now;
  }
  void Spin(int64_t ns) override {
    ++spins;
    now += ns;
  }
  void Idle(int64_t ns) override {
    ++idles;
    now += ns;
  }
  int64_t now = 0;
  int reads = 0, spins = 0, idles = 0;
};

TEST(DelayMs, ShortWaitsSpinRoundHalfEvenTenthsLessOneUnits) {
  struct Case {
    float ms;
    int64_t units;
  };
  for (const Case c : {Case{19.9F, 198}, {1.0F, 9}, {10.0F, 99}, {12.0F, 119}, {15.0F, 149}, {0.25F, 1},
                       {0.15F, 1}, {0.2F, 1}, {0.1F, 0}, {0.0F, 0}, {-3.0F, 0}, {19.99F, 199}}) {
    EXPECT_EQ(ShortWaitUnits(c.ms), c.units) << c.ms;
    VirtualClock clock;
    int pumps = 0;
    clock.SetEventPump([&] { ++pumps; });
    DelayMs(clock, c.ms);
    EXPECT_EQ(clock.Nanoseconds(), UnitsNs(c.units)) << c.ms;
    EXPECT_EQ(pumps, 0) << "short waits never let the window run: " << c.ms;
  }
}

TEST(DelayMs, TinyWaitsTouchNoClockAtAll) {
  for (const float ms : {0.0F, 0.1F}) {
    CountingClock clock;
    DelayMs(clock, ms);
    EXPECT_EQ(clock.reads + clock.spins + clock.idles, 0) << ms;
  }
}

TEST(DelayMs, LongWaitsCutTheFractionAndPump) {
  struct Case {
    float ms;
    int64_t waitedMs;
  };
  for (const Case c : {Case{20.0F, 20}, {20.9F, 20}, {100.0F, 100}, {250.0F, 250}, {1000.5F, 1000}}) {
    VirtualClock clock;
    int pumps = 0;
    clock.SetEventPump([&] { ++pumps; });
    DelayMs(clock, c.ms);
    EXPECT_EQ(clock.Nanoseconds(), c.waitedMs * kMs) << c.ms;
    EXPECT_GE(pumps, 1) << c.ms;
  }
}

TEST(DelayMs, LongWaitEndsOnTheMillisecondTickFromAMidTickStart) {
  VirtualClock clock;
  clock.Advance(300'000);  // 0.3 ms into the first millisecond
  DelayMs(clock, 20.0F);
  // The deadline is 20 on the millisecond clock, reached at exactly 20 ms.
  EXPECT_EQ(clock.Nanoseconds(), 20 * kMs);
}

TEST(DelayMs, LongWaitSurvivesTheMillisecondClockWrapping) {
  VirtualClock clock;
  clock.Advance((int64_t{1} << 32) * kMs - 5 * kMs);  // 5 ms before the 32-bit wrap
  const int64_t start = clock.Nanoseconds();
  DelayMs(clock, 50.0F);
  EXPECT_EQ(clock.Nanoseconds() - start, 50 * kMs);
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
