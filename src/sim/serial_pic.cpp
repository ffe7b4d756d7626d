// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/serial_pic.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace quorvi::sim {

namespace {

constexpr int kCommandBits = 6;
constexpr int kFrameClocks = 16;

// DS39025 p.18 Table 6-1 (and DS30262 for the 16F8x): setup and hold of data
// around the falling clock edge, tdly2 between a command's last falling edge
// and the next rising edge, thld0 from MCLR at Vpp to the first clock.
constexpr int64_t kSetupNs = 100;
constexpr int64_t kHoldNs = 100;
constexpr int64_t kCommandToDataNs = 1000;
constexpr int64_t kEntryToClockNs = 5000;

bool IsLoad(int code) { return code == 0 || code == 2 || code == 3; }
bool IsRead(int code) { return code == 4 || code == 5; }
bool IsBegin(int code) { return code == code::kBeginProgramming || code == code::kBeginProgrammingOnly; }

std::string Ns(int64_t ns) { return std::to_string(ns) + " ns"; }

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

void SerialPicChip::Spoil(int64_t nowNs, const std::string& rule) {
  spoiled_ = true;
  Violate(nowNs, std::string(info_.name) + ": " + rule);
}

void SerialPicChip::LeaveMode(int64_t nowNs) {
  if (inMode_) Abort(nowNs);
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
  entryNs_ = nowNs;
  firstClock_ = true;
  commandEnded_ = false;
  spoiled_ = false;
  loadedSinceBegin_ = false;
  data_ = pins.data;
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
  if (!powered && powered_ && pins.vpp) {
    Violate(nowNs, std::string(info_.name) +
                       ": Vdd switched off while MCLR was at Vpp; the programming documents leave with Vpp first");
  }
  if ((!powered && powered_) || (!pins.vpp && vpp_)) {
    LeaveMode(nowNs);
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
  if (pins.data != data_) {
    data_ = pins.data;
    DataChanged(nowNs);
  }
  if (pins.clock && !clock_) RisingEdge(nowNs);
  if (!pins.clock && clock_) FallingEdge(pins.data, nowNs);
  clock_ = pins.clock;
}

void SerialPicChip::DataChanged(int64_t nowNs) {
  if (!clock_ && nowNs - lastFallNs_ < kHoldNs) {
    Spoil(nowNs, "data changed " + Ns(nowNs - lastFallNs_) + " after the falling clock edge; DS39025 p.18 Table 6-1 "
                 "holds it " + Ns(kHoldNs));
  }
  lastDataNs_ = nowNs;
}

void SerialPicChip::RisingEdge(int64_t nowNs) {
  if (firstClock_ && nowNs - entryNs_ < kEntryToClockNs) {
    Spoil(nowNs, "first clock " + Ns(nowNs - entryNs_) + " after entering programming mode; DS39025 p.18 Table 6-1 "
                 "(thld0) needs " + Ns(kEntryToClockNs));
  }
  firstClock_ = false;
  if (commandEnded_ && nowNs - lastFallNs_ < kCommandToDataNs) {
    Spoil(nowNs, "clock " + Ns(nowNs - lastFallNs_) + " after a command; DS39025 p.18 Table 6-1 (tdly2) needs " +
                     Ns(kCommandToDataNs));
  }
  commandEnded_ = false;
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
  if (nowNs - lastDataNs_ < kSetupNs) {
    Spoil(nowNs, "data set " + Ns(nowNs - lastDataNs_) +
                     " before the falling clock edge; DS39025 p.18 Table 6-1 needs " +
                     Ns(kSetupNs));
  }
  lastFallNs_ = nowNs;
  switch (phase_) {
    case Phase::kCommand: {
      if (data) code_ |= 1 << bitCount_;
      if (++bitCount_ < kCommandBits) return;
      const int command = code_;
      bitCount_ = 0;
      code_ = 0;
      clocksInFrame_ = 0;
      word_ = 0;
      commandEnded_ = true;
      const bool garbled = spoiled_;
      if (IsBegin(command) && !loadedSinceBegin_ && !garbled) {
        Violate(nowNs, std::string(info_.name) + ": Begin Programming without a Load since the last one; the "
                                                 "programming documents load before every cycle");
        spoiled_ = true;
      }
      if (!spoiled_) {
        // Loads and reads are commands too: they end whatever cycle is open.
        Command(command, nowNs);
        if (IsBegin(command)) loadedSinceBegin_ = false;
      }
      if (IsLoad(command)) {
        loadCode_ = command;
        phase_ = Phase::kLoad;
      } else if (IsRead(command)) {
        readWord_ = spoiled_ ? std::nullopt : Read(command);
        phase_ = Phase::kRead;
      }
      if (phase_ == Phase::kCommand) spoiled_ = false;
      return;
    }
    case Phase::kLoad:
      ++clocksInFrame_;
      if (clocksInFrame_ >= 2 && clocksInFrame_ <= 15 && data) word_ |= 1 << (clocksInFrame_ - 2);
      if (clocksInFrame_ == kFrameClocks) {
        phase_ = Phase::kCommand;
        if (!spoiled_) {
          Load(loadCode_, word_, nowNs);
          loadedSinceBegin_ = true;
        }
        spoiled_ = false;
      }
      return;
    case Phase::kRead:
      if (clocksInFrame_ == kFrameClocks) {
        drive_.reset();
        phase_ = Phase::kCommand;
        spoiled_ = false;
      }
      return;
  }
}

}  // namespace quorvi::sim
