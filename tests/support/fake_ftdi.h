// SPDX-License-Identifier: GPL-3.0-or-later
// An FTDI chip in synchronous bit-bang mode, wired to the simulated board:
// each byte drives the pins a tick long, and the pins are sampled before it,
// as the chip does. Only the library boundary is fake; the port is the real one.
#pragma once

#include <memory>

#include "hw/clock.h"
#include "hw/ftdi_bus.h"
#include "hw/pin_map.h"
#include "hw/port_driver.h"
#include "support/sim_app.h"

namespace quorvi::test {

class FakeFtdiBus final : public FtdiBus {
 public:
  /// `clock` moves a tick per byte when it is virtual, as the wire takes that long.
  FakeFtdiBus(std::unique_ptr<PortDriver> board, Clock& clock, const PinMap& wiring, FtdiChip chip);

  FtdiChip Chip() const override { return chip_; }
  std::string Describe() const override { return "fake FTDI"; }
  Status Start(uint8_t outputs, uint8_t levels) override;
  Result<std::vector<uint8_t>> Transfer(std::span<const uint8_t> out) override;

  /// How long each byte holds the pins: the chip's own tick unless a test makes the baud faster.
  int64_t byteNs;
  /// Round trips and bytes so far.
  int64_t transfers = 0;
  int64_t bytes = 0;
  /// What Start was given: the direction mask and the first levels.
  uint8_t outputs = 0;
  uint8_t startLevels = 0;

 private:
  std::unique_ptr<PortDriver> board_;
  VirtualClock* clock_;
  PinMap wiring_;
  FtdiChip chip_;
  uint8_t pins_ = 0;
};

/// The FTDI port over a fake chip wired by `wiring` to the board; `bus`
/// receives the fake so a test can count its round trips.
PortWiring FtdiWiring(const PinMap& wiring, FtdiChip chip, FakeFtdiBus** bus = nullptr);

}  // namespace quorvi::test
