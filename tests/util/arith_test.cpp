// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/arith.h"

#include <gtest/gtest.h>

namespace quorvi {
namespace {

TEST(RoundHalfEven, HalvesGoToTheEvenNeighbour) {
  struct Case {
    double in;
    int64_t out;
  };
  for (const Case c : {Case{0.5, 0}, {1.5, 2}, {2.5, 2}, {3.5, 4}, {198.5, 198}, {199.5, 200}, {-0.5, 0},
                       {-1.5, -2}, {-2.5, -2}, {2.4999, 2}, {2.5001, 3}, {-2.6, -3}, {114.79, 115}}) {
    EXPECT_EQ(RoundHalfEven(c.in), c.out) << c.in;
  }
}

}  // namespace
}  // namespace quorvi
