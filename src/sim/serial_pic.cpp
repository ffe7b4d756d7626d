// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/serial_pic.h"

#include <algorithm>
#include <cmath>

namespace quorvi::sim {

namespace {

constexpr int kCommandBits = 6;
constexpr int kFrameClocks = 16;

bool IsLoad(int code) { return code == 0 || code == 2 || code == 3; }
bool IsRead(int code) { return code == 4 || code == 5; }

}  // namespace

SerialPicChip::SerialPicChip(const ChipInfo& info, ChipState state) : info_(info), state_(std::move(state)) {}

bool SerialPicChip::Lasted(int64_t startNs, int64_t nowNs, int documentUs) const {
  const double needNs = static_cast<double>(documentUs) * 1000.0 * state_.timingMargin;
  return static_cast<double>(nowNs - startNs) >= needNs;
}

int SerialPicChip::WithMarginFaults(int address, int value) const {
  for (const MarginCell& cell : state_.faults.marginCells) {
    if (cell.address != address) continue;
    const bool low = cell.belowVolts && vddVolts_ < *cell.belowVolts;
    const bool high = cell.aboveVolts && vddVolts_ > *cell.aboveVolts;
    if (low || high) value ^= cell.xorMask;
  }
  return value;
}

bool SerialPicChip::NeverPrograms(int address) const {
  const auto& list = state_.faults.neverProgram;
  return std::find(list.begin(), list.end(), address) != list.end();
}

void SerialPicChip::LeaveMode() {
  if (inMode_) Abort();
  inMode_ = false;
  phase_ = Phase::kCommand;
  bitCount_ = 0;
  code_ = 0;
  drive_.reset();
}

void SerialPicChip::TryEntry(const SocketPins& pins, int64_t nowNs) {
  if (inMode_ || entryDecided_ || !powered_ || !vpp_) return;
  entryDecided_ = true;
  bool ordered = false;
  switch (info_.entry) {
    case Entry::kVddFirst: ordered = vppRoseWhilePowered_ && vppSinceNs_ > poweredSinceNs_; break;
    case Entry::kVppFirstOrQuick:
      // With MCLR enabled the part sits in reset until Vpp comes; with MCLR
      // off it runs its own program unless Vpp comes first or at once.
      ordered = !vppRoseWhilePowered_ || nowNs - poweredSinceNs_ <= int64_t{info_.vppWindowUs} * 1000 ||
                (state_.config & info_.mclreMask) != 0;
      break;
  }
  // Clock and data must be low while MCLR rises, or the part starts in another mode.
  if (!ordered || pins.clock || pins.data) return;
  inMode_ = true;
  phase_ = Phase::kCommand;
  bitCount_ = 0;
  code_ = 0;
  Reset();
}

void SerialPicChip::Update(const SocketPins& pins, int64_t nowNs) {
  // A cycle whose time is up finished under the supply it had, before this change.
  if (inMode_) Settle(nowNs);
  vddVolts_ = pins.vdd ? pins.vddVolts : 0.0;
  const bool powered = pins.vdd && pins.vddVolts >= kMinOperatingVolts;

  if (powered && !powered_) {
    poweredSinceNs_ = nowNs;
    vppRoseWhilePowered_ = false;
  }
  if (pins.vpp && !vpp_) {
    vppSinceNs_ = nowNs;
    vppRoseWhilePowered_ = powered;
  }
  if ((!powered && powered_) || (!pins.vpp && vpp_)) {
    LeaveMode();
    entryDecided_ = false;
  }
  powered_ = powered;
  vpp_ = pins.vpp;
  if (!powered_ || !vpp_) {
    clock_ = pins.clock;
    return;
  }
  if (!inMode_) {
    TryEntry(pins, nowNs);
    clock_ = pins.clock;
    return;
  }
  if (pins.clock && !clock_) RisingEdge(nowNs);
  if (!pins.clock && clock_) FallingEdge(pins.data, nowNs);
  clock_ = pins.clock;
}

void SerialPicChip::RisingEdge(int64_t nowNs) {
  Interrupt(nowNs);
  if (phase_ != Phase::kRead) return;
  ++clocksInFrame_;
  // Bits 0..13 go out on the rising edges of clocks 2..15; 1 and 16 are start and stop.
  if (clocksInFrame_ >= 2 && clocksInFrame_ <= 15 && readWord_) {
    drive_ = ((*readWord_ >> (clocksInFrame_ - 2)) & 1) != 0;
  } else {
    drive_.reset();
  }
}

void SerialPicChip::FallingEdge(bool data, int64_t nowNs) {
  switch (phase_) {
    case Phase::kCommand: {
      if (data) code_ |= 1 << bitCount_;
      if (++bitCount_ < kCommandBits) return;
      const int command = code_;
      bitCount_ = 0;
      code_ = 0;
      clocksInFrame_ = 0;
      word_ = 0;
      // Loads and reads are commands too: they end whatever cycle is open.
      Command(command, nowNs);
      if (IsLoad(command)) {
        loadCode_ = command;
        phase_ = Phase::kLoad;
      } else if (IsRead(command)) {
        readWord_ = Read(command);
        phase_ = Phase::kRead;
      }
      return;
    }
    case Phase::kLoad:
      ++clocksInFrame_;
      if (clocksInFrame_ >= 2 && clocksInFrame_ <= 15 && data) word_ |= 1 << (clocksInFrame_ - 2);
      if (clocksInFrame_ == kFrameClocks) {
        phase_ = Phase::kCommand;
        Load(loadCode_, word_, nowNs);
      }
      return;
    case Phase::kRead:
      if (clocksInFrame_ == kFrameClocks) {
        drive_.reset();
        phase_ = Phase::kCommand;
      }
      return;
  }
}

}  // namespace quorvi::sim
