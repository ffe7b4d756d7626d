// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/vcd_trace.h"

#include <algorithm>
#include <array>
#include <utility>

#include "hw/port_link.h"

namespace quorvi {

namespace {

constexpr std::array<VcdWire, 9> kWires{{
    {"DataOut", 'a'},
    {"Clock", 'b'},
    {"Vdd", 'c'},
    {"Vpp1", 'd'},
    {"Vpp2", 'e'},
    {"Vpp3", 'f'},
    {"VddStep", 'g'},
    {"DataIn", 'h'},
    {"SDA", 'i'},
}};
// The data register's bits of the first seven wires.
constexpr std::array<uint8_t, 7> kDataMasks{line::kDataOut, line::kClock, line::kVdd,    line::kVpp1,
                                            line::kVpp2,    line::kVpp3,  line::kVddStep};
constexpr uint16_t kDataInBit = 1U << 7;
constexpr uint16_t kSdaBit = 1U << 8;

uint16_t Levels(uint8_t data, bool dataIn, bool sda) {
  uint16_t levels = (dataIn ? kDataInBit : 0) | (sda ? kSdaBit : 0);
  for (size_t i = 0; i < kDataMasks.size(); ++i) {
    if ((data & kDataMasks[i]) != 0) levels = static_cast<uint16_t>(levels | 1U << i);
  }
  return levels;
}

}  // namespace

Result<std::unique_ptr<VcdTracePort>> VcdTracePort::Open(std::unique_ptr<PortDriver> inner, Clock& clock,
                                                         const std::string& path, TraceWindow window) {
  Result<std::unique_ptr<TraceSink>> sink = OpenTraceSink(path);
  if (!sink) return sink.status();
  auto writer = std::make_unique<VcdWriter>(std::move(sink).value(), kWires);
  return std::unique_ptr<VcdTracePort>(new VcdTracePort(std::move(inner), clock, std::move(writer), path, window));
}

VcdTracePort::VcdTracePort(std::unique_ptr<PortDriver> inner, Clock& clock, std::unique_ptr<VcdWriter> writer,
                           std::string path, TraceWindow window)
    : inner_(std::move(inner)), clock_(clock), writer_(std::move(writer)), path_(std::move(path)), window_(window) {}

VcdTracePort::~VcdTracePort() { (void)Close(); }

Status VcdTracePort::Close() {
  if (writer_) CloseAt(writer_->lastStamp() + 1);
  return closed_;
}

void VcdTracePort::CloseAt(int64_t ns) {
  const bool started = writer_->started();
  const bool written = writer_->Close(ns);
  writer_.reset();
  if (!written) {
    closed_ = Status::Fail("Cannot write the trace file " + path_ + ": it is incomplete (disk full?)");
  } else if (!started && levelsKnown_) {
    closed_ = Status::Fail("The trace file " + path_ + " holds no samples: the last line change, at " +
                           std::to_string(lastTime_ / 1'000'000) + " ms, came before the trace window");
  }
}

bool VcdTracePort::Sda(uint8_t data, bool dataIn) const {
  const bool out = (data & line::kDataOut) != 0;
  return out && inner_->BusLevel().value_or(dataIn);
}

void VcdTracePort::Emit(uint8_t data, bool dataIn) {
  data_ = data;
  dataIn_ = dataIn;
  const uint16_t levels = Levels(data, dataIn, Sda(data, dataIn));
  const uint16_t before = std::exchange(levels_, levels);
  const bool first = !std::exchange(levelsKnown_, true);
  if (!writer_ || (!first && levels == before)) return;
  // Edges that depend on each other must not share a timestamp, or decoders miss them.
  // A port that queues writes keeps the time they reach the lines.
  Clock* timeline = inner_->WireClock();
  const int64_t now = std::max((timeline != nullptr ? *timeline : clock_).Nanoseconds(), lastTime_ + 1);
  lastTime_ = now;
  if (now < window_.startNs) return;
  if (!writer_->started()) {
    if (first || now == window_.startNs) {
      writer_->Start(now, levels);
      return;
    }
    // The window opened between two changes: the levels that held then.
    writer_->Start(window_.startNs, before);
  }
  if (now > window_.endNs) {
    CloseAt(window_.endNs);
  } else {
    writer_->Change(now, levels, before);
  }
}

void VcdTracePort::WriteData(uint8_t value) {
  inner_->WriteData(value);
  Emit(value, dataIn_);
}

uint8_t VcdTracePort::ReadStatus() {
  const uint8_t status = inner_->ReadStatus();
  Emit(data_, (status & line::kDataIn) != 0);
  return status;
}

std::string VcdTracePort::Describe() const { return inner_->Describe() + ", traced to " + path_; }

}  // namespace quorvi
