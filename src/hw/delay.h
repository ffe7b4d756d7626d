// SPDX-License-Identifier: GPL-3.0-or-later
// The one millisecond wait every protocol uses.
#pragma once

#include <cstdint>

namespace quorvi {

class Clock;

/// One delay unit: 1/12000 s.
inline constexpr int64_t kDelayUnitNs = 1'000'000'000 / 12'000;
/// Waits from this length on let the window run; shorter ones spin.
inline constexpr float kLongWaitMs = 20.0F;
/// The request that spins exactly one delay unit (the "0.1 ms step").
inline constexpr float kOneUnitMs = 0.2F;

/// Waits about `ms` milliseconds. From 20 ms on: the integer part of `ms` on
/// the millisecond clock, pumping events. Below: (round-half-even(ms x 10) - 1)
/// delay units, spinning, so 1 ms gives 0.75 ms and 0.1 ms nothing at all.
void DelayMs(Clock& clock, float ms);

/// Waits one delay unit, spinning.
void DelayUnit(Clock& clock);

/// The number of delay units a short wait of `ms` spins (0 for long waits).
int64_t ShortWaitUnits(float ms);

/// How long `DelayMs(ms)` really waits, in milliseconds.
double RealDelayMs(float ms);

}  // namespace quorvi
