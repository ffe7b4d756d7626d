// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/sim_board.h"

#include <array>
#include <cstdio>

#include "hw/port_link.h"

namespace quorvi::sim {

SimBoard::SimBoard(Clock& clock, std::unique_ptr<ChipModel> chip) : clock_(clock), chip_(std::move(chip)) {}

Result<std::unique_ptr<SimBoard>> MakeBoard(Clock& clock, ChipState state) {
  Result<std::unique_ptr<ChipModel>> chip = MakeChip(std::move(state));
  if (!chip) return chip.status();
  return std::make_unique<SimBoard>(clock, std::move(chip).value());
}

std::string SimBoard::Describe() const {
  if (!ChipPresent()) return "simulated board (empty socket)";
  return "simulated board with a " + std::string(chip_->info().name);
}

void SimBoard::Insert(std::unique_ptr<ChipModel> chip) {
  chip_ = std::move(chip);
  Sync();
}

std::unique_ptr<ChipModel> SimBoard::Remove() { return std::move(chip_); }

double SimBoard::VddVolts() const { return step_ * kVoltsPerVddStep; }

SocketPins SimBoard::Pins() const {
  uint8_t vppLine = line::kVpp1;
  if (chip_) {
    switch (chip_->info().vppSwitch) {
      case 2: vppLine = line::kVpp2; break;
      case 3: vppLine = line::kVpp3; break;
      default: break;
    }
  }
  return {.vdd = (output_ & line::kVdd) == 0,
          .vddVolts = VddVolts(),
          .vpp = (output_ & vppLine) == 0,
          .clock = (output_ & line::kClock) != 0,
          .data = (output_ & line::kDataOut) != 0};
}

void SimBoard::TrackVddStep(uint8_t value, int64_t nowNs) {
  const bool wasHigh = (output_ & line::kVddStep) != 0;
  const bool high = (value & line::kVddStep) != 0;
  if (!wasHigh && !stepResetDone_ && nowNs - stepLowSinceNs_ >= kStepResetNs) {
    step_ = kPowerOnStep;
    stepResetDone_ = true;
  }
  if (wasHigh && !high) {
    stepLowSinceNs_ = nowNs;
    stepResetDone_ = false;
  } else if (!wasHigh && high && !stepResetDone_) {
    step_ = (step_ + 1) % 256;  // counts on the rising edge, wrapping 255 -> 0
  }
}

void SimBoard::Sync() {
  const int64_t now = clock_.Nanoseconds();
  TrackVddStep(output_, now);
  if (ChipPresent()) chip_->Update(Pins(), now);
}

namespace {

constexpr std::array<uint8_t, 4> kSupplies{line::kVdd, line::kVpp1, line::kVpp2, line::kVpp3};

const char* SupplyName(uint8_t supply) {
  switch (supply) {
    case line::kVdd: return "Vdd";
    case line::kVpp1: return "Vpp1";
    case line::kVpp2: return "Vpp2";
    default: return "Vpp3";
  }
}

bool On(uint8_t output, uint8_t supply) { return (output & supply) == 0; }  // active low

std::string Us(int64_t ns) { return std::to_string(ns / 1000) + " us"; }

}  // namespace

void SimBoard::Fault(int64_t nowNs, const std::string& what) {
  char at[32];
  std::snprintf(at, sizeof at, "%.3f ms: ", static_cast<double>(nowNs) / 1e6);
  faults_.push_back(at + what);
}

std::vector<std::string> SimBoard::Problems() const {
  std::vector<std::string> all = faults_;
  const int64_t now = clock_.Nanoseconds();
  for (const auto& [vpp, since] : aloneSinceNs_) {
    if (!VppAloneAllowed(vpp, now - since)) {
      all.push_back(std::string(SupplyName(vpp)) + " on without Vdd since " + Us(since) + " and still on");
    }
  }
  if (chip_) all.insert(all.end(), chip_->violations().begin(), chip_->violations().end());
  return all;
}

bool SimBoard::VppAloneAllowed(uint8_t vppLine, int64_t ns) const {
  if (!chip_) return false;
  const ChipInfo& info = chip_->info();
  // The memory sockets take their supply through that switch.
  if (info.kind == ChipClass::kEeprom24) return true;
  const uint8_t own = info.vppSwitch == 2 ? line::kVpp2 : info.vppSwitch == 3 ? line::kVpp3 : line::kVpp1;
  return info.entry == Entry::kVppFirstOrQuick && vppLine == own && ns <= kShortestSupplyNs;
}

void SimBoard::TrackSupplies(uint8_t value, int64_t nowNs) {
  for (const uint8_t supply : kSupplies) {
    const bool was = On(output_, supply);
    const bool now = On(value, supply);
    if (!was && now) onSinceNs_[supply] = nowNs;
    if (was && !now && nowNs - onSinceNs_[supply] < kShortestSupplyNs) {
      Fault(nowNs, std::string(SupplyName(supply)) + " switched on for only " + Us(nowNs - onSinceNs_[supply]) +
                       ": a supply pulse no operation asked for");
    }
  }
  // A programming voltage on a pin whose chip has no supply: only a
  // Vpp-first entry allows it, and only for a moment.
  for (const uint8_t vpp : {line::kVpp1, line::kVpp2, line::kVpp3}) {
    const bool alone = On(value, vpp) && !On(value, line::kVdd);
    const bool wasAlone = aloneSinceNs_.contains(vpp);
    if (alone && !wasAlone) aloneSinceNs_[vpp] = nowNs;
    if (!alone && wasAlone) {
      const int64_t ns = nowNs - aloneSinceNs_[vpp];
      aloneSinceNs_.erase(vpp);
      if (!VppAloneAllowed(vpp, ns)) {
        Fault(nowNs, std::string(SupplyName(vpp)) + " on for " + Us(ns) + " without Vdd");
      }
    }
  }
}

void SimBoard::CheckVddLevel(int64_t nowNs) {
  const bool over = chip_ && (output_ & line::kVdd) == 0 && VddVolts() > chip_->info().maxVdd;
  if (over && !overVoltage_) {
    char text[160];
    std::snprintf(text, sizeof text, "Vdd at %.2f V, above the %s's absolute maximum of %.2f V", VddVolts(),
                  std::string(chip_->info().name).c_str(), chip_->info().maxVdd);
    Fault(nowNs, text);
  }
  overVoltage_ = over;
}

void SimBoard::WriteData(uint8_t value) {
  const int64_t now = clock_.Nanoseconds();
  TrackVddStep(value, now);
  TrackSupplies(value, now);
  output_ = value;
  CheckVddLevel(now);
  if (ChipPresent()) chip_->Update(Pins(), now);
}

bool SimBoard::DataLineLevel() const {
  const bool released = (output_ & line::kDataOut) != 0;
  if (!ChipPresent()) return released;
  const std::optional<bool> drive = chip_->DataDrive();
  return released && drive.value_or(true);
}

uint8_t SimBoard::ReadStatus() {
  Sync();
  if (ChipPresent()) {
    switch (chip_->state().faults.dataIn) {
      case DataInFault::kStuckLow: return 0x00;
      case DataInFault::kStuckHigh: return line::kDataIn;
      case DataInFault::kNone: break;
    }
  }
  return DataLineLevel() ? line::kDataIn : 0x00;
}

}  // namespace quorvi::sim
