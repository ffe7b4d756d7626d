// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/board_gpio.h"

#include <gtest/gtest.h>

#include "hw/disconnected_port.h"
#include "hw/gpio_port.h"
#include "support/board_wiring.h"

namespace quorvi::test {

BoardGpioChip::BoardGpioChip(std::unique_ptr<PortDriver> board, const PinMap& wiring, std::string path)
    : board_(std::move(board)), wiring_(wiring), path_(std::move(path)) {}

std::optional<GpioFailure> BoardGpioChip::Request(std::span<const unsigned> outputs, std::span<const int> levels,
                                                  unsigned input) {
  ++requests;
  if (refusal) return refusal;
  EXPECT_EQ(levels.size(), outputs.size());
  outputs_.assign(outputs.begin(), outputs.end());
  input_ = input;
  Drive(levels);
  return std::nullopt;
}

Status BoardGpioChip::SetOutputs(std::span<const int> levels) {
  ++setCalls;
  if (setFails) return Status::Fail(*setFails);
  Drive(levels);
  return Status::Ok();
}

Result<bool> BoardGpioChip::GetInput() {
  ++getCalls;
  return ((PinsWithDataIn(wiring_, pins_, board_->ReadStatus()) >> input_) & 1U) != 0;
}

void BoardGpioChip::Drive(std::span<const int> levels) {
  for (size_t i = 0; i < outputs_.size() && i < levels.size(); ++i) {
    const uint64_t bit = uint64_t{1} << outputs_[i];
    pins_ = levels[i] != 0 ? pins_ | bit : pins_ & ~bit;
  }
  board_->WriteData(BoardByteFromPins(wiring_, pins_));
}

PortWiring GpioWiring(const PinMap& map) {
  return [map](std::unique_ptr<PortDriver> board, Clock&) -> std::unique_ptr<PortDriver> {
    Result<std::unique_ptr<PortDriver>> port =
        OpenGpioPort(std::make_unique<BoardGpioChip>(std::move(board), map), map, "test pins");
    if (port) return std::move(port).value();
    ADD_FAILURE() << port.message();
    return std::make_unique<DisconnectedPort>(port.message());
  };
}

}  // namespace quorvi::test
