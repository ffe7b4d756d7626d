// SPDX-License-Identifier: GPL-3.0-or-later
// The programmer board on an FTDI chip in synchronous bit-bang mode. Every
// USB round trip costs about a millisecond (FT232R) or 125 µs (FT232H,
// FT2232H), so writes are queued and sent in one transfer, waits inside a
// queue are held on the wire by repeating the lines' byte, and DataIn is
// taken from the samples the chip returns with each byte.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "hw/clock.h"
#include "hw/ftdi_bus.h"
#include "hw/pin_map.h"
#include "hw/port_driver.h"

namespace quorvi {

/// What the wire costs: the shortest tick of the bit-bang clock (the port
/// counts its holds in these, so a slower chip only lengthens them) and the
/// time a transfer waits for its answer.
struct FtdiTiming {
  int64_t byteNs = 1000;
  int64_t roundTripNs = 1'000'000;
};
FtdiTiming TimingOf(FtdiChip chip);

/// "ft232r", "ft232h" or "ft2232h": the pin map that fits the chip.
std::string_view PresetFor(FtdiChip chip);

class FtdiPort final : public PortDriver {
 public:
  /// Puts the idle byte on the pins as they become outputs; `clock` is the
  /// host's, on which transfers and long waits take their time.
  static Result<std::unique_ptr<FtdiPort>> Open(std::unique_ptr<FtdiBus> bus, const PinMap& map, Clock& clock);
  ~FtdiPort() override;

  void WriteData(uint8_t value) override;
  uint8_t ReadStatus() override;
  std::string Describe() const override;
  std::optional<std::string> NotConnectedReason() const override { return failure_; }
  void MarkSample() override;
  std::vector<uint8_t> TakeSamples() override;
  void Flush() override;
  Clock* WireClock() override { return &timeline_; }

  /// Transfers so far: each is one USB round trip.
  int64_t transfers() const { return transfers_; }
  int64_t bytesSent() const { return bytesSent_; }

 private:
  class Timeline final : public Clock {
   public:
    explicit Timeline(FtdiPort& port) : port_(port) {}
    int64_t Nanoseconds() override;
    void Spin(int64_t ns) override;
    void Idle(int64_t ns) override;
    bool Estimates() const override { return port_.host_.Estimates(); }
    void PumpEvents() override { port_.host_.PumpEvents(); }

   private:
    FtdiPort& port_;
  };

  FtdiPort(std::unique_ptr<FtdiBus> bus, const PinMap& map, Clock& clock);
  void Queue(uint64_t levels);
  void CatchUp();
  uint8_t StatusOf(uint8_t pins) const;

  std::unique_ptr<FtdiBus> bus_;
  PinMap map_;
  Clock& host_;
  FtdiTiming timing_;
  Timeline timeline_{*this};
  uint64_t levels_ = 0;
  std::vector<uint8_t> queue_;
  std::vector<size_t> marks_;     // queue positions whose samples were asked for
  std::vector<uint8_t> answers_;  // status bytes of marks already sent
  // The wire's time at the end of the queue; host time counts only while nothing is queued.
  int64_t wireNs_ = 0;
  int64_t hostMarkNs_ = 0;
  int64_t transfers_ = 0;
  int64_t bytesSent_ = 0;
  std::optional<std::string> failure_;
};

}  // namespace quorvi
