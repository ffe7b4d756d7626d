// SPDX-License-Identifier: GPL-3.0-or-later
// The old numeric rules the behaviour depends on, each in one place.
#pragma once

#include <cstdint>

namespace quorvi {

/// Rounds to the nearest integer, halves to even (2.5 -> 2, 3.5 -> 4).
int64_t RoundHalfEven(double value);

/// A 16-bit flag: True is -1 and False is 0; other values mean neither.
using Flag = int16_t;
inline constexpr Flag kTrue = -1;
inline constexpr Flag kFalse = 0;

}  // namespace quorvi
