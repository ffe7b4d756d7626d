// SPDX-License-Identifier: GPL-3.0-or-later
// The chip-state reader, and a chip built from whatever it accepts.
#include <cstdint>
#include <string>

#include "sim/chip_model.h"
#include "sim/chip_state.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace quorvi::sim;
  const std::string text(reinterpret_cast<const char*>(data), size);
  quorvi::Result<ChipState> state = ChipStateFromJson(text);
  if (state) (void)MakeChip(std::move(state).value());
  return 0;
}
