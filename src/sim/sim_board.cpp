// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/sim_board.h"

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

void SimBoard::WriteData(uint8_t value) {
  const int64_t now = clock_.Nanoseconds();
  TrackVddStep(value, now);
  output_ = value;
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
