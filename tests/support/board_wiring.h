// SPDX-License-Identifier: GPL-3.0-or-later
// The wires between a bit-bang adapter and the programmer board, for the
// fakes of the adapters' libraries: they see pins, the board sees its lines.
#pragma once

#include <cstdint>

#include "hw/pin_map.h"

namespace quorvi::test {

/// The board's data byte for the adapter's pin levels, as `wiring` connects them.
uint8_t BoardByteFromPins(const PinMap& wiring, uint64_t pinLevels);

/// The adapter's pin levels with DataIn's pin showing the board's status byte.
uint64_t PinsWithDataIn(const PinMap& wiring, uint64_t pinLevels, uint8_t boardStatus);

/// Wirings unlike the presets: other pins, and Clock, a supply and DataIn inverted.
PinMap InvertedFt232hWiring();
PinMap InvertedRpiWiring();

}  // namespace quorvi::test
