// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/board_wiring.h"

#include "hw/port_link.h"

namespace quorvi::test {

uint8_t BoardByteFromPins(const PinMap& wiring, uint64_t pinLevels) {
  uint8_t byte = 0;
  for (size_t i = 0; i < kBoardLines; ++i) {
    if (static_cast<BoardLine>(i) == BoardLine::kDataIn) continue;
    const PinAssignment& pin = wiring.lines[i];
    if ((((pinLevels >> pin.pin) & 1U) != 0) != pin.inverted) byte = static_cast<uint8_t>(byte | (1U << i));
  }
  return byte;
}

uint64_t PinsWithDataIn(const PinMap& wiring, uint64_t pinLevels, uint8_t boardStatus) {
  const PinAssignment& in = wiring.lines[static_cast<size_t>(BoardLine::kDataIn)];
  const bool high = ((boardStatus & line::kDataIn) != 0) != in.inverted;
  const uint64_t bit = uint64_t{1} << in.pin;
  return high ? (pinLevels | bit) : (pinLevels & ~bit);
}

}  // namespace quorvi::test
