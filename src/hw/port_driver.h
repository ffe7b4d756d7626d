// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorvi {

/// The only way to the programmer board: one byte out on the port's data
/// register, one byte in from its status register. Backends: Linux ppdev, raw
/// port I/O, the simulated board, and test doubles.
class PortDriver {
 public:
  virtual ~PortDriver() = default;

  /// Puts `value` on the data register (pins 2..9).
  virtual void WriteData(uint8_t value) = 0;
  /// Reads the status register (base + 1); DataIn is bit 0x40.
  virtual uint8_t ReadStatus() = 0;
  /// The data line's level at the socket (our DataOut wired with the chip's
  /// drive) when the backend knows it at every moment, as the simulated
  /// board does; a real port knows only what the last status read said.
  virtual std::optional<bool> BusLevel() const { return std::nullopt; }
  /// A short description for the user, such as "/dev/parport0 (ppdev)".
  virtual std::string Describe() const = 0;
  /// Why the lines go nowhere, when no port is behind them; ports that wrap
  /// another pass its answer on.
  virtual std::optional<std::string> NotConnectedReason() const { return std::nullopt; }
};

}  // namespace quorvi
