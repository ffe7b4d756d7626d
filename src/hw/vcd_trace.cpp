// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/vcd_trace.h"

#include <algorithm>
#include <array>
#include <utility>

#include "hw/port_link.h"

namespace quorvi {

namespace {

struct Wire {
  const char* name;
  char id;
  uint8_t mask;  // in the data byte; 0 for DataIn and SDA
};

constexpr char kSdaId = 'i';

constexpr std::array<Wire, 9> kWires{{
    {"DataOut", 'a', line::kDataOut},
    {"Clock", 'b', line::kClock},
    {"Vdd", 'c', line::kVdd},
    {"Vpp1", 'd', line::kVpp1},
    {"Vpp2", 'e', line::kVpp2},
    {"Vpp3", 'f', line::kVpp3},
    {"VddStep", 'g', line::kVddStep},
    {"DataIn", 'h', 0},
    {"SDA", kSdaId, 0},
}};

bool Level(const Wire& wire, uint8_t data, bool dataIn, bool sda) {
  if (wire.id == kSdaId) return sda;
  return wire.mask == 0 ? dataIn : (data & wire.mask) != 0;
}

}  // namespace

Result<std::unique_ptr<VcdTracePort>> VcdTracePort::Open(std::unique_ptr<PortDriver> inner, Clock& clock,
                                                         const std::string& path) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) return Status::Fail("Cannot write the trace file " + path);
  file << "$version Quorvi port trace $end\n$timescale 1 ns $end\n$scope module board $end\n";
  for (const Wire& wire : kWires) file << "$var wire 1 " << wire.id << ' ' << wire.name << " $end\n";
  file << "$upscope $end\n$enddefinitions $end\n";
  return std::unique_ptr<VcdTracePort>(new VcdTracePort(std::move(inner), clock, std::move(file), path));
}

VcdTracePort::VcdTracePort(std::unique_ptr<PortDriver> inner, Clock& clock, std::ofstream file, std::string path)
    : inner_(std::move(inner)), clock_(clock), file_(std::move(file)), path_(std::move(path)) {}

VcdTracePort::~VcdTracePort() { (void)Close(); }

Status VcdTracePort::Close() {
  if (!file_.is_open()) return Status::Ok();
  // A final timestamp so viewers show the last levels for a moment.
  if (started_) file_ << '#' << (lastTime_ + 1) << '\n';
  file_.close();
  if (!file_) return Status::Fail("Cannot write the trace file " + path_ + ": it is incomplete (disk full?)");
  return Status::Ok();
}

bool VcdTracePort::Sda(uint8_t data, bool dataIn) const {
  const bool out = (data & line::kDataOut) != 0;
  return out && inner_->BusLevel().value_or(dataIn);
}

void VcdTracePort::Emit(uint8_t data, bool dataIn) {
  const bool sda = Sda(data, dataIn);
  if (!file_.is_open()) {
    sda_ = sda;
    return;
  }
  // Edges that depend on each other must not share a timestamp, or decoders miss them.
  // A port that queues writes keeps the time they reach the lines.
  Clock* timeline = inner_->WireClock();
  const int64_t now = std::max((timeline != nullptr ? *timeline : clock_).Nanoseconds(), lastTime_ + 1);
  if (!started_) {
    file_ << '#' << now << "\n$dumpvars\n";
    for (const Wire& wire : kWires) file_ << (Level(wire, data, dataIn, sda) ? '1' : '0') << wire.id << '\n';
    file_ << "$end\n";
    started_ = true;
    lastTime_ = now;
  } else {
    bool stamped = false;
    for (const Wire& wire : kWires) {
      const bool level = Level(wire, data, dataIn, sda);
      if (level == Level(wire, data_, dataIn_, sda_)) continue;
      if (!stamped) {
        file_ << '#' << now << '\n';
        stamped = true;
        lastTime_ = now;
      }
      file_ << (level ? '1' : '0') << wire.id << '\n';
    }
  }
  data_ = data;
  dataIn_ = dataIn;
  sda_ = sda;
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
