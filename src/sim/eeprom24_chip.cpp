// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/eeprom24_chip.h"

#include <algorithm>
#include <utility>

namespace quorvi::sim {

namespace {

constexpr int kDeviceCode = 0xA0;  // 1010 in the control byte's top nibble
constexpr int kDeviceCodeMask = 0xF0;

// The bus timing a part takes: 100 kHz, the 24C01A/02A data sheet's
// (DS21202) and I2C standard mode; 400 kHz, the 24LC512's (DS21754) at
// 4.5-5.5 V. Where the 100 kHz sheets differ (tSU:STO 4.0 or 4.7 us) the longer is kept.
struct BusSpec {
  int64_t high, low, startSetup, startHold, stopSetup, busFree, dataSetup;
  const char* name;
};
constexpr BusSpec kStandard{4000, 4700, 4700, 4000, 4700, 4700, 250, "100 kHz (DS21202)"};
constexpr BusSpec kFast{600, 1300, 600, 600, 600, 1300, 100, "400 kHz (DS21754)"};

bool Contains(const std::vector<int>& list, int value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

Eeprom24Chip::Eeprom24Chip(const ChipInfo& info, ChipState state) : info_(info), state_(std::move(state)) {
  page_.resize(static_cast<size_t>(info_.pageBytes));
}

Status Eeprom24Chip::UvErase() { return Status::Fail("A serial EEPROM has no window to erase through"); }

std::optional<bool> Eeprom24Chip::DataDrive() const {
  if (driveLow_) return false;
  return std::nullopt;
}

int Eeprom24Chip::Mask() const { return info_.programWords - 1; }

void Eeprom24Chip::Reset() {
  phase_ = Phase::kIdle;
  bitIndex_ = 0;
  shift_ = 0;
  driveLow_ = false;
  ackClockSeen_ = false;
  masterAcked_ = false;
  dataBytes_ = 0;
  std::fill(page_.begin(), page_.end(), std::nullopt);
}

bool Eeprom24Chip::Selected(int control) const {
  if ((control & kDeviceCodeMask) != kDeviceCode) return false;
  const int select = (control >> 1) & 0b111;
  if ((select & info_.selectPins) != (kSocketChipSelect & info_.selectPins)) return false;
  return (select & info_.fixedZeroBits) == 0;
}

int Eeprom24Chip::NextAddress(int address) const {
  if (info_.rollWithinBlock) {
    // 24LC515 (DS21673): the counter rolls over inside its 32 KB block.
    const int blockSpan = info_.programWords / 2;
    return (address & ~(blockSpan - 1)) | ((address + 1) & (blockSpan - 1));
  }
  return (address + 1) & Mask();
}

bool Eeprom24Chip::Waited(int64_t sinceNs, int64_t nowNs, int64_t minimumNs, const char* what) {
  const auto needed = static_cast<int64_t>(static_cast<double>(minimumNs) * state_.timingMargin);
  if (nowNs - sinceNs >= needed) return true;
  const BusSpec& spec = info_.fastBus ? kFast : kStandard;
  Violate(nowNs, std::string(info_.name) + ": " + what + " " + std::to_string(nowNs - sinceNs) + " ns; the " +
                     spec.name + " bus needs " + std::to_string(minimumNs) + " ns");
  Reset();  // the transfer is lost: no acknowledge until the next start
  return false;
}

void Eeprom24Chip::Update(const SocketPins& pins, int64_t nowNs) {
  if (!pins.vdd || pins.vddVolts < info_.minWriteVdd) {
    // Power gone: a write cycle cut short stores nothing; the page buffer is lost.
    powered_ = false;
    busy_ = false;
    Reset();
    scl_ = pins.clock;
    sda_ = pins.data;
    masterData_ = pins.data;
    return;
  }
  powered_ = true;
  if (busy_ && !state_.faults.endlessWrite && nowNs >= busyUntilNs_) FinishWriteCycle();

  const BusSpec& spec = info_.fastBus ? kFast : kStandard;
  const bool sda = pins.data && !driveLow_;
  const bool scl = pins.clock;
  if (scl && scl_ && sda_ && !sda) {
    if (Waited(sclRiseNs_, nowNs, spec.startSetup, "start condition after SCL rose") &&
        Waited(stopNs_, nowNs, spec.busFree, "start condition after the last stop")) {
      OnStart();
    }
    startNs_ = nowNs;
  } else if (scl && scl_ && !sda_ && sda) {
    if (Waited(sclRiseNs_, nowNs, spec.stopSetup, "stop condition after SCL rose")) OnStop(nowNs);
    stopNs_ = nowNs;
  } else if (!scl_ && scl) {
    if (Waited(sclFallNs_, nowNs, spec.low, "SCL low for") &&
        Waited(sdaNs_, nowNs, spec.dataSetup, "SDA set up before SCL rose for")) {
      OnRise(sda);
    }
    sclRiseNs_ = nowNs;
  } else if (scl_ && !scl) {
    if (Waited(sclRiseNs_, nowNs, spec.high, "SCL high for") &&
        Waited(startNs_, nowNs, spec.startHold, "SCL fell after the start condition")) {
      OnFall();
    }
    startNs_ = kLongAgo;
    sclFallNs_ = nowNs;
  }
  if (pins.data != masterData_) sdaNs_ = nowNs;
  masterData_ = pins.data;
  scl_ = scl;
  sda_ = pins.data && !driveLow_;
}

void Eeprom24Chip::OnStart() {
  // A start in the middle of a page load abandons it.
  Reset();
  if (busy_) return;  // no acknowledge during the write cycle
  phase_ = Phase::kControl;
}

void Eeprom24Chip::OnStop(int64_t nowNs) {
  // The write cycle starts on a stop at a byte boundary after at least one
  // acknowledged data byte; the stop's own clock rise may have begun a bit.
  const bool startWrite = phase_ == Phase::kWriteData && bitIndex_ <= 1 && !ackClockSeen_ && dataBytes_ > 0;
  if (startWrite) {
    cycleBase_ = pageBase_;
    cyclePage_ = page_;
    busy_ = true;
    busyUntilNs_ = nowNs + static_cast<int64_t>(info_.programUs * 1000.0 * state_.timingMargin);
  }
  Reset();
}

void Eeprom24Chip::FinishWriteCycle() {
  busy_ = false;
  for (int i = 0; i < info_.pageBytes; ++i) {
    const std::optional<uint8_t>& byte = cyclePage_[static_cast<size_t>(i)];
    const int address = cycleBase_ + i;
    if (byte && !Contains(state_.faults.neverProgram, address)) state_.program[static_cast<size_t>(address)] = *byte;
  }
}

void Eeprom24Chip::OnRise(bool sda) {
  if (phase_ == Phase::kIdle) return;
  if (bitIndex_ == 8) {
    ackClockSeen_ = true;
    if (phase_ == Phase::kRead) masterAcked_ = !sda;
    return;
  }
  if (phase_ != Phase::kRead) shift_ = ((shift_ << 1) | (sda ? 1 : 0)) & 0xFF;
  ++bitIndex_;
}

void Eeprom24Chip::LoadNextByte() {
  txByte_ = state_.program[static_cast<size_t>(pointer_)];
  pointer_ = NextAddress(pointer_);
  bitIndex_ = 0;
  driveLow_ = (txByte_ & 0x80) == 0;
}

void Eeprom24Chip::OnFall() {
  if (phase_ == Phase::kIdle) return;
  if (phase_ == Phase::kRead) {
    if (bitIndex_ < 8) {
      driveLow_ = ((txByte_ >> (7 - bitIndex_)) & 1) == 0;
    } else if (!ackClockSeen_) {
      driveLow_ = false;  // released for the master's acknowledge
    } else if (masterAcked_) {
      ackClockSeen_ = false;
      masterAcked_ = false;
      LoadNextByte();
    } else {
      // Not acknowledged: the read ends; wait for a stop or a start.
      driveLow_ = false;
      phase_ = Phase::kIdle;
    }
    return;
  }
  if (bitIndex_ < 8) return;
  if (!ackClockSeen_) {
    ByteReceived();
    return;
  }
  // End of our acknowledge slot.
  driveLow_ = false;
  ackClockSeen_ = false;
  shift_ = 0;
  bitIndex_ = 0;
  phase_ = next_;
  if (phase_ == Phase::kRead) LoadNextByte();
}

void Eeprom24Chip::Acknowledge(Phase next) {
  driveLow_ = true;
  next_ = next;
}

void Eeprom24Chip::ByteReceived() {
  switch (phase_) {
    case Phase::kControl: {
      if (!Selected(shift_)) {
        phase_ = Phase::kIdle;
        return;
      }
      block_ = ((shift_ >> 1) & info_.blockMask) << info_.blockShift;
      if ((shift_ & 1) != 0) {
        Acknowledge(Phase::kRead);
      } else {
        Acknowledge(info_.addressBytes == 2 ? Phase::kAddressHigh : Phase::kAddressLow);
      }
      return;
    }
    case Phase::kAddressHigh:
      if (state_.faults.nackAddress) {
        phase_ = Phase::kIdle;
        return;
      }
      pendingAddress_ = shift_ << 8;
      Acknowledge(Phase::kAddressLow);
      return;
    case Phase::kAddressLow: {
      if (state_.faults.nackAddress) {
        phase_ = Phase::kIdle;
        return;
      }
      const int wordMask = info_.addressBytes == 2 ? (info_.rollWithinBlock ? 0x7FFF : 0xFFFF) : 0xFF;
      const int low = info_.addressBytes == 2 ? pendingAddress_ | shift_ : shift_;
      pointer_ = (block_ | (low & wordMask)) & Mask();
      pageBase_ = pointer_ & ~(info_.pageBytes - 1);
      dataBytes_ = 0;
      std::fill(page_.begin(), page_.end(), std::nullopt);
      Acknowledge(Phase::kWriteData);
      return;
    }
    case Phase::kWriteData: {
      if (Contains(state_.faults.nackBytes, pointer_)) {
        phase_ = Phase::kIdle;
        return;
      }
      // The page buffer wraps: past the page's end the bytes go to its start.
      const int offset = pointer_ & (info_.pageBytes - 1);
      page_[static_cast<size_t>(offset)] = static_cast<uint8_t>(shift_);
      pointer_ = pageBase_ | ((offset + 1) & (info_.pageBytes - 1));
      ++dataBytes_;
      Acknowledge(Phase::kWriteData);
      return;
    }
    case Phase::kIdle:
    case Phase::kRead: return;
  }
}

}  // namespace quorvi::sim
