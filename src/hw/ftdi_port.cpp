// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/ftdi_port.h"

#include <utility>

#include "hw/port_link.h"

namespace quorvi {

namespace {

// A queue this long goes out on its own: memory stays bounded and the
// lines never wait behind a whole chip's writes.
constexpr size_t kLongestQueue = 64 * 1024;

}  // namespace

FtdiTiming TimingOf(FtdiChip chip) {
  // Full speed USB answers on the 1 ms latency timer; high speed on the 125 µs microframe.
  const bool highSpeed = chip == FtdiChip::kFt232h || chip == FtdiChip::kFt2232h;
  return {.byteNs = 1000, .roundTripNs = highSpeed ? 125'000 : 1'000'000};
}

std::string_view PresetFor(FtdiChip chip) {
  switch (chip) {
    case FtdiChip::kFt232h:
      return "ft232h";
    case FtdiChip::kFt2232h:
      return "ft2232h";
    default:
      return "ft232r";
  }
}

FtdiPort::FtdiPort(std::unique_ptr<FtdiBus> bus, const PinMap& map, Clock& clock)
    : bus_(std::move(bus)), map_(map), host_(clock), timing_(TimingOf(bus_->Chip())) {}

FtdiPort::~FtdiPort() { Flush(); }

Result<std::unique_ptr<FtdiPort>> FtdiPort::Open(std::unique_ptr<FtdiBus> bus, const PinMap& map, Clock& clock) {
  if (map.OutputPins() > 0xFF || map.lines[static_cast<size_t>(BoardLine::kDataIn)].pin > 7) {
    return Status::Fail("the pin map names pins an FTDI chip lacks: use an ft232r, ft232h or ft2232h map");
  }
  std::unique_ptr<FtdiPort> port(new FtdiPort(std::move(bus), map, clock));
  port->levels_ = map.PinLevels(line::kIdle);
  if (Status started = port->bus_->Start(static_cast<uint8_t>(map.OutputPins()), static_cast<uint8_t>(port->levels_));
      !started) {
    return started;
  }
  port->wireNs_ = clock.Nanoseconds();
  port->hostMarkNs_ = port->wireNs_;
  return port;
}

std::string FtdiPort::Describe() const {
  return bus_->Describe() + " (bit-bang, " + std::string(map_.adapter->name) + " pins)";
}

void FtdiPort::CatchUp() {
  if (!queue_.empty()) return;
  const int64_t now = host_.Nanoseconds();
  if (now > hostMarkNs_) wireNs_ += now - hostMarkNs_;
  hostMarkNs_ = now;
}

void FtdiPort::Queue(uint64_t levels) {
  CatchUp();
  levels_ = levels;
  queue_.push_back(static_cast<uint8_t>(levels));
  wireNs_ += timing_.byteNs;
  if (queue_.size() >= kLongestQueue) Flush();
}

void FtdiPort::WriteData(uint8_t value) { Queue(map_.PinLevels(value)); }

uint8_t FtdiPort::StatusOf(uint8_t pins) const { return map_.DataIn(pins) ? line::kDataIn : 0; }

void FtdiPort::MarkSample() {
  // The chip samples the pins before it writes a byte: a repeat of the
  // present levels brings back the pins as they are now.
  Queue(levels_);
  marks_.push_back(queue_.size() - 1);
}

uint8_t FtdiPort::ReadStatus() {
  MarkSample();
  Flush();
  const uint8_t status = answers_.back();
  answers_.pop_back();
  return status;
}

std::vector<uint8_t> FtdiPort::TakeSamples() {
  Flush();
  return std::exchange(answers_, {});
}

void FtdiPort::Flush() {
  if (queue_.empty()) return;
  Result<std::vector<uint8_t>> in = bus_->Transfer(queue_);
  ++transfers_;
  bytesSent_ += static_cast<int64_t>(queue_.size());
  host_.ChargePortAccess(timing_.roundTripNs);
  if (!in && !failure_) failure_ = in.message();
  for (const size_t mark : marks_) {
    // A lost transfer reads as DataIn low throughout: never a blank or matching chip.
    answers_.push_back(in ? StatusOf(in.value()[mark]) : uint8_t{0});
  }
  marks_.clear();
  queue_.clear();
  hostMarkNs_ = host_.Nanoseconds();
}

int64_t FtdiPort::Timeline::Nanoseconds() {
  port_.CatchUp();
  return port_.wireNs_;
}

void FtdiPort::Timeline::Spin(int64_t ns) {
  // Held on the wire: the lines' byte repeated for as many ticks as the wait needs.
  for (int64_t held = 0; held < ns; held += port_.timing_.byteNs) port_.Queue(port_.levels_);
}

void FtdiPort::Timeline::Idle(int64_t ns) {
  port_.Flush();
  port_.host_.Idle(ns);
}

}  // namespace quorvi
