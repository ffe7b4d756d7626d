// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/fake_ftdi.h"

#include <gtest/gtest.h>

#include "hw/disconnected_port.h"
#include "hw/ftdi_port.h"
#include "support/board_wiring.h"

namespace quorvi::test {

FakeFtdiBus::FakeFtdiBus(std::unique_ptr<PortDriver> board, Clock& clock, const PinMap& wiring, FtdiChip chip)
    : byteNs(TimingOf(chip).byteNs),
      board_(std::move(board)),
      clock_(dynamic_cast<VirtualClock*>(&clock)),
      wiring_(wiring),
      chip_(chip) {}

Status FakeFtdiBus::Start(uint8_t outputMask, uint8_t levels) {
  outputs = outputMask;
  startLevels = levels;
  pins_ = levels;
  board_->WriteData(BoardByteFromPins(wiring_, levels));
  return Status::Ok();
}

Result<std::vector<uint8_t>> FakeFtdiBus::Transfer(std::span<const uint8_t> out) {
  ++transfers;
  bytes += static_cast<int64_t>(out.size());
  std::vector<uint8_t> in;
  in.reserve(out.size());
  for (const uint8_t byte : out) {
    in.push_back(static_cast<uint8_t>(PinsWithDataIn(wiring_, pins_, board_->ReadStatus())));
    // Only outputs follow the byte; a repeat changes no wire.
    const auto next = static_cast<uint8_t>((byte & outputs) | (pins_ & ~outputs));
    if (next != pins_) board_->WriteData(BoardByteFromPins(wiring_, next));
    pins_ = next;
    if (clock_ != nullptr) clock_->Advance(byteNs);
  }
  return in;
}

PortWiring FtdiWiring(const PinMap& wiring, FtdiChip chip, FakeFtdiBus** bus) {
  return [wiring, chip, bus](std::unique_ptr<PortDriver> board, Clock& clock) -> std::unique_ptr<PortDriver> {
    auto fake = std::make_unique<FakeFtdiBus>(std::move(board), clock, wiring, chip);
    if (bus != nullptr) *bus = fake.get();
    Result<std::unique_ptr<FtdiPort>> port = FtdiPort::Open(std::move(fake), wiring, clock);
    if (port) return std::move(port).value();
    ADD_FAILURE() << port.message();
    return std::make_unique<DisconnectedPort>(port.message());
  };
}

}  // namespace quorvi::test
