// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/eprom_chip.h"

#include <algorithm>

namespace quorvi::sim {

EpromChip::EpromChip(const ChipInfo& info, ChipState state) : SerialPicChip(info, std::move(state)) {}

Status EpromChip::UvErase() {
  const int blank = BlankWord(info_);
  std::fill(state_.program.begin(), state_.program.end(), blank);
  state_.ids.fill(blank);
  state_.config = blank & info_.configBits;
  pulses_.clear();
  return Status::Ok();
}

void EpromChip::Abort(int64_t nowNs) {
  if (pulseStartNs_) {
    Violate(nowNs, std::string(info_.name) + ": supplies removed during a programming pulse; " +
                       std::string(info_.document) + " ends it with End Programming");
  }
  pulseStartNs_.reset();
}

int EpromChip::PulsesNeeded(int address) const {
  const PulseModel& p = state_.pulses;
  const auto span = static_cast<uint64_t>(p.maxPulses - p.minPulses + 1);
  return p.minPulses + static_cast<int>(MixSeed(p.seed, static_cast<uint64_t>(address)) % span);
}

void EpromChip::Command(int command, int64_t nowNs) {
  // A pulse lasts from Begin to End Programming; anything else in between spoils it.
  const std::optional<int64_t> pulse = pulseStartNs_;
  pulseStartNs_.reset();
  switch (command) {
    case code::kLoadConfiguration: ToConfigSpace(); break;
    case code::kIncrementAddress: Step(); break;
    case code::kBeginProgramming: pulseStartNs_ = nowNs; break;
    case code::kEndProgramming: {
      if (!pulse) break;
      if (!Lasted(*pulse, nowNs, info_.programUs)) {
        Violate(nowNs, std::string(info_.name) + ": programming pulse of " + std::to_string((nowNs - *pulse) / 1000) +
                           " us; " + std::string(info_.document) + " needs " + std::to_string(info_.programUs) +
                           " us");
        break;
      }
      if (vdd() < info_.minWriteVdd) break;
      const int address = Address();
      int* cell = Cell(address);
      if (cell == nullptr || NeverPrograms(address)) break;
      if (address < info_.programWords && ProgramProtected()) break;
      const int given = ++pulses_[address];
      if (given >= PulsesNeeded(address)) *cell &= latch_;
      break;
    }
    default: break;
  }
}

void EpromChip::Load(int command, int word, int64_t nowNs) {
  (void)nowNs;
  // The 12-bit parts have no Load Configuration; the model takes its frame and ignores it.
  if (command == code::kLoadDataProgram || (command == code::kLoadConfiguration && Mask() == 0x3FFF)) {
    latch_ = word & Mask();
  }
}

std::optional<int> EpromChip::Read(int command) {
  if (command != code::kReadDataProgram) return std::nullopt;
  const int address = Address();
  int* cell = Cell(address);
  int value = cell != nullptr ? *cell : 0;
  // A protected EPROM reads scrambled; the model reads it as zeros.
  if (cell != nullptr && address < info_.programWords && ProgramProtected()) value = 0;
  if (cell == &state_.config) value = ConfigAsRead(value);
  return WithMarginFaults(address, value);
}

int* Otp14Chip::Cell(int address) {
  if (address < kConfigSpace) {
    return address < info_.programWords ? &state_.program[static_cast<size_t>(address)] : nullptr;
  }
  const int offset = address - kConfigSpace;
  if (offset < 4) return &state_.ids[static_cast<size_t>(offset)];
  if (offset == 7) return &state_.config;
  return nullptr;
}

void Otp14Chip::Step() {
  pc_ = pc_ < kConfigSpace ? (pc_ + 1) & 0x1FFF : kConfigSpace | ((pc_ + 1) & 0x1FFF);
}

int* Otp12Chip::Cell(int address) {
  if (address < info_.programWords) return &state_.program[static_cast<size_t>(address)];
  if (address >= info_.idAddress && address < info_.idAddress + 4) {
    return &state_.ids[static_cast<size_t>(address - info_.idAddress)];
  }
  if (address == info_.configAddress) return &state_.config;
  return nullptr;
}

}  // namespace quorvi::sim
