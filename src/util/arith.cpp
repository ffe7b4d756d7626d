// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/arith.h"

#include <cmath>

namespace quorvi {

int64_t RoundHalfEven(double value) {
  const double floor = std::floor(value);
  const double fraction = value - floor;
  auto whole = static_cast<int64_t>(floor);
  if (fraction > 0.5 || (fraction == 0.5 && (whole % 2) != 0)) ++whole;
  return whole;
}

}  // namespace quorvi
