// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/board_wiring.h"

#include <gtest/gtest.h>

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

namespace {

PinMap ParsedOr(std::string_view text, std::string_view preset) {
  Result<PinMap> map = ParsePinMap(text, "inverted.pins");
  EXPECT_TRUE(map) << map.message();
  return map ? map.value() : PresetPinMap(preset).value();
}

}  // namespace

PinMap InvertedFt232hWiring() {
  return ParsedOr("adapter ft232h\nDataOut ADBUS3\nClock ADBUS0 inverted\nVdd ADBUS7\nVpp1 ADBUS6 inverted\n"
                  "Vpp2 ADBUS5\nVpp3 ADBUS4\nVddStep ADBUS2\nDataIn ADBUS1 inverted\n",
                  "ft232h");
}

PinMap InvertedRpiWiring() {
  return ParsedOr("adapter rpi\nDataOut GPIO20\nClock GPIO21 inverted\nVdd GPIO16 inverted\nVpp1 GPIO12\n"
                  "Vpp2 GPIO13\nVpp3 GPIO19\nVddStep GPIO26\nDataIn GPIO2 inverted\n",
                  "rpi");
}

}  // namespace quorvi::test
