// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorvi {

class Clock;

/// The only way to the programmer board: one byte out on the port's data
/// register, one byte in from its status register. Backends: Linux ppdev, raw
/// port I/O, the simulated board, FTDI bit-bang, Linux GPIO, and test doubles.
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

  /// What the last access cost on the real device, for the virtual clock's
  /// estimates, when it is not a parallel port access.
  virtual std::optional<int64_t> LastAccessCostNs() const { return std::nullopt; }

  // Batching, for backends whose every round trip is costly (USB): writes
  // are queued, and a sample of the status is answered only after the queue
  // went out. The defaults keep a port that answers at once as it is: a mark
  // reads the status there and then.

  /// Marks that the status is to be sampled at this point of the line sequence.
  virtual void MarkSample() { marked_.push_back(ReadStatus()); }
  /// Sends what is queued and hands over the status bytes of the marks since
  /// the last call, in order.
  virtual std::vector<uint8_t> TakeSamples() {
    Flush();
    return std::exchange(marked_, {});
  }
  /// Sends what is queued; returns when the lines hold its last byte.
  virtual void Flush() {}
  /// The backend's own timeline of the lines, when it queues writes: waits
  /// must be taken on it, so that they fall between the right writes on the
  /// wire. Null: the lines change when written, and waits are the caller's clock's.
  virtual Clock* WireClock() { return nullptr; }

 private:
  std::vector<uint8_t> marked_;
};

/// A port in front of another (a trace, a guard): passes every call on, so
/// that a wrapper changes only what it means to and never hides batching.
class PortWrapper : public PortDriver {
 public:
  void WriteData(uint8_t value) override { Inner().WriteData(value); }
  uint8_t ReadStatus() override { return Inner().ReadStatus(); }
  std::optional<bool> BusLevel() const override { return Inner().BusLevel(); }
  std::string Describe() const override { return Inner().Describe(); }
  std::optional<std::string> NotConnectedReason() const override { return Inner().NotConnectedReason(); }
  std::optional<int64_t> LastAccessCostNs() const override { return Inner().LastAccessCostNs(); }
  void MarkSample() override { Inner().MarkSample(); }
  std::vector<uint8_t> TakeSamples() override { return Inner().TakeSamples(); }
  void Flush() override { Inner().Flush(); }
  Clock* WireClock() override { return Inner().WireClock(); }

 protected:
  virtual PortDriver& Inner() const = 0;
};

}  // namespace quorvi
