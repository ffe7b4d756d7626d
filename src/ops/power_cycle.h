// SPDX-License-Identifier: GPL-3.0-or-later
// A first check of a board with a meter: the supplies on and off again in
// the order every operation uses, with nothing sent to the chip.
#pragma once

#include <cstdint>
#include <vector>

#include "app/app_state.h"

namespace quorvi {

/// One step of a power cycle: what was done, when, and the lines after it.
struct PowerStep {
  const char* what;
  int64_t ns;
  uint8_t lines;
};

/// Vdd on, 100 ms, the device's Vpp on, 100 ms, then Vpp and Vdd off.
std::vector<PowerStep> PowerCycle(AppState& state);

}  // namespace quorvi
