// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ops_fixtures.h"

#include "support/sim_app.h"

namespace quorvi::test {

sim::ChipState PatternedChip(const std::string& chipName) {
  sim::ChipState state = BlankChip(chipName);
  auto info = sim::FindChip(chipName);
  if (!info) return state;
  const int mask = sim::BlankWord(*info.value());
  for (size_t i = 0; i < state.program.size(); ++i) {
    state.program[i] = static_cast<int>((i * 37 + 5) % static_cast<size_t>(mask));
  }
  for (size_t j = 0; j < state.data.size(); ++j) state.data[j] = static_cast<int>((j * 11 + 1) % 0xFF);
  const int idMask = info.value()->kind == sim::ChipClass::kOtp12 ? 0xF : 0x3FFF;
  state.ids = {0x1234 & idMask, 0x0567 & idMask, 0x0009 & idMask, 0x2ABC & idMask};
  // The oscillator bits and the watchdog bit: never a protection bit.
  state.config = state.config & ~0x5;
  return state;
}

}  // namespace quorvi::test
