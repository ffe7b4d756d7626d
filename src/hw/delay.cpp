// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/delay.h"

#include <cmath>

#include "hw/clock.h"
#include "util/arith.h"

namespace quorvi {

int64_t ShortWaitUnits(float ms) {
  if (!(ms < kLongWaitMs)) return 0;
  const int64_t tenths = RoundHalfEven(static_cast<double>(ms) * 10.0);
  return tenths >= 2 ? tenths - 1 : 0;
}

double RealDelayMs(float ms) {
  if (ms >= kLongWaitMs) return std::floor(static_cast<double>(ms));
  return static_cast<double>(ShortWaitUnits(ms)) / 12.0;  // units of 1/12000 s
}

void DelayMs(Clock& clock, float ms) {
  if (ms >= kLongWaitMs) {
    // The fraction is cut off: 20.9 ms waits 20, counted from now, not from a millisecond tick.
    const int64_t whole = ms < 2.0e9F ? static_cast<int64_t>(ms) : int64_t{2'000'000'000};
    const int64_t deadline = clock.Nanoseconds() + whole * 1'000'000;
    for (int64_t left = whole * 1'000'000; left > 0; left = deadline - clock.Nanoseconds()) {
      clock.PumpEvents();
      clock.Idle(left);
    }
    return;
  }
  const int64_t units = ShortWaitUnits(ms);
  if (units > 0) clock.Spin(units * 1'000'000'000 / 12'000);
}

void DelayUnit(Clock& clock) { clock.Spin(kDelayUnitNs); }

}  // namespace quorvi
