// SPDX-License-Identifier: GPL-3.0-or-later
// A GPIO chip whose lines are wired to the programmer board, for the GPIO
// port's tests: what libgpiod would put on the pins, the board sees on its lines.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "hw/gpio_chip.h"
#include "hw/pin_map.h"
#include "hw/port_driver.h"
#include "support/sim_app.h"

namespace quorvi::test {

class BoardGpioChip final : public GpioChip {
 public:
  /// `board` takes the data byte the pins make through `wiring`.
  BoardGpioChip(std::unique_ptr<PortDriver> board, const PinMap& wiring, std::string path = "/dev/gpiochip0");

  const std::string& Path() const override { return path_; }
  std::optional<GpioFailure> Request(std::span<const unsigned> outputs, std::span<const int> levels,
                                     unsigned input) override;
  Status SetOutputs(std::span<const int> levels) override;
  Result<bool> GetInput() override;

  /// Request's answer instead of taking the lines.
  std::optional<GpioFailure> refusal;
  /// SetOutputs' answer instead of setting them: the chip went away.
  std::optional<std::string> setFails;
  int requests = 0;
  int setCalls = 0;
  int getCalls = 0;

 private:
  void Drive(std::span<const int> levels);

  std::unique_ptr<PortDriver> board_;
  PinMap wiring_;
  std::string path_;
  std::vector<unsigned> outputs_;
  unsigned input_ = 0;
  uint64_t pins_ = 0;
};

/// Puts a GPIO port between a SimApp and its board, over a BoardGpioChip wired as `map`.
PortWiring GpioWiring(const PinMap& map);

}  // namespace quorvi::test
