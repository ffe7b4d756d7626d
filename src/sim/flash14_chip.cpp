// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/flash14_chip.h"

#include <algorithm>

namespace quorvi::sim {

namespace {

constexpr int kWordMask = 0x3FFF;
constexpr int kDeviceIdOffset = 6;
constexpr int kConfigOffset = 7;

int NextAddress(int pc) {
  // Program space wraps within 0000h..1FFFh, configuration space within 2000h..3FFFh.
  return pc < kConfigSpace ? (pc + 1) & 0x1FFF : kConfigSpace | ((pc + 1) & 0x1FFF);
}

}  // namespace

Flash14Chip::Flash14Chip(const ChipInfo& info, ChipState state)
    : SerialPicChip(info, std::move(state)), latches_(static_cast<size_t>(info.latchWords)) {}

Status Flash14Chip::UvErase() { return Status::Fail(std::string(info_.name) + " is a flash part: no UV erase"); }

void Flash14Chip::Reset() {
  pc_ = 0;
  std::fill(latches_.begin(), latches_.end(), std::nullopt);
  setup1_ = false;
  cpArmed_ = false;
  bulkArmed_.reset();
  cycle_.reset();
}

void Flash14Chip::Abort(int64_t nowNs) {
  if (cycle_) {
    Violate(nowNs, std::string(info_.name) + ": supplies removed " + std::to_string((nowNs - cycle_->startNs) / 1000) +
                       " us into a programming cycle of " + std::to_string(cycle_->documentUs) + " us (" +
                       std::string(info_.document) + "); the cycle is lost");
  }
  cycle_.reset();
}

void Flash14Chip::Settle(int64_t nowNs) {
  if (cycle_ && !cycle_->external && Lasted(cycle_->startNs, nowNs, cycle_->documentUs)) {
    const Cycle done = *cycle_;
    cycle_.reset();
    Complete(done);
  }
}

void Flash14Chip::Interrupt(int64_t nowNs) {
  // Settle ran first, so an internal cycle still open here is cut short:
  // the erase half of an erase-and-program cycle is done, the program half is not.
  if (!cycle_ || cycle_->external) return;
  const Cycle cut = *cycle_;
  cycle_.reset();
  Violate(nowNs, std::string(info_.name) + ": clock " + std::to_string((nowNs - cut.startNs) / 1000) +
                     " us into a self-timed cycle of " + std::to_string(cut.documentUs) + " us (" +
                     std::string(info_.document) + "); the cycle is lost");
  if (cut.op == Op::kWrite && vdd() >= info_.minEraseVdd) {
    if (cut.target == Target::kData) {
      if (info_.dataBytes > 0) state_.data[static_cast<size_t>((cut.pc & 0xFF) % info_.dataBytes)] = 0xFF;
    } else if (cut.pc < kConfigSpace) {
      state_.program[static_cast<size_t>(cut.pc % info_.programWords)] = kWordMask;
    }
  }
}

void Flash14Chip::Start(Op op, int64_t nowNs, int documentUs, bool external) {
  cycle_ = Cycle{.op = op, .startNs = nowNs, .documentUs = documentUs, .external = external, .pc = pc_,
                 .target = lastLoad_};
}

bool Flash14Chip::Accepts(int endCode) const {
  return (endCode == code::kEndProgramming && info_.endsWith14) ||
         (endCode == code::kEndProgramming2 && info_.endsWith23);
}

void Flash14Chip::Command(int command, int64_t nowNs) {
  // An externally timed cycle ends with the part's End Programming; any other
  // command leaves it unwritten.
  if (cycle_ && cycle_->external) {
    const Cycle open = *cycle_;
    cycle_.reset();
    if (Accepts(command)) {
      if (Lasted(open.startNs, nowNs, open.documentUs)) {
        Complete(open);
      } else {
        Violate(nowNs, std::string(info_.name) + ": End Programming " + std::to_string((nowNs - open.startNs) / 1000) +
                           " us after Begin; " + std::string(info_.document) + " needs " +
                           std::to_string(open.documentUs) + " us; nothing is written");
      }
      return;
    }
    Violate(nowNs, std::string(info_.name) + ": a programming cycle ended by command " + std::to_string(command) +
                       ", not by the End Programming of " + std::string(info_.document) + "; nothing is written");
  }
  const bool armed = cpArmed_;
  const std::optional<Target> bulk = bulkArmed_;
  cpArmed_ = false;
  bulkArmed_.reset();
  if (command != code::kEraseSetup2) setup1_ = command == code::kEraseSetup1;

  switch (command) {
    case code::kLoadConfiguration: pc_ = kConfigSpace; break;
    case code::kIncrementAddress: pc_ = NextAddress(pc_); break;
    case code::kEraseSetup2:
      cpArmed_ = setup1_ && info_.cpDisable;
      setup1_ = false;
      break;
    case code::kBeginProgramming:
      if (armed) {
        Start(Op::kEraseAll, nowNs, info_.eraseUs, false);
      } else if (bulk) {
        Start(*bulk == Target::kData ? Op::kBulkData : Op::kBulkProgram, nowNs, info_.eraseUs, false);
      } else if (info_.begin == BeginMode::kEraseProgramInternal) {
        Start(Op::kWrite, nowNs, lastLoad_ == Target::kData ? info_.dataUs : info_.programUs, false);
      } else {
        Start(Op::kProgramOnly, nowNs, info_.programUs, true);
      }
      break;
    case code::kBeginProgrammingOnly:
      if (info_.programOnly == ProgramOnlyMode::kInternal) {
        Start(Op::kProgramOnly, nowNs, lastLoad_ == Target::kData ? info_.dataUs : info_.programOnlyUs, false);
      } else if (info_.programOnly == ProgramOnlyMode::kExternal) {
        Start(Op::kProgramOnly, nowNs, info_.programOnlyUs, true);
      }
      break;
    case code::kBulkEraseProgram:
    case code::kBulkEraseData: {
      const Target target = command == code::kBulkEraseData ? Target::kData : Target::kProgram;
      if (info_.bulk == BulkMode::kThenBeginProgramming) {
        bulkArmed_ = target;
      } else if (info_.bulk == BulkMode::kSelfTimed) {
        Start(target == Target::kData ? Op::kBulkData : Op::kBulkProgram, nowNs, info_.eraseUs, false);
      }
      break;
    }
    case code::kChipErase:
      if (info_.chipErase) Start(Op::kEraseAll, nowNs, info_.eraseUs, false);
      break;
    default: break;  // loads, reads, and codes this part does not know
  }
}

void Flash14Chip::Load(int command, int word, int64_t nowNs) {
  (void)nowNs;
  switch (command) {
    case code::kLoadConfiguration:
      configLatch_ = word & kWordMask;
      lastLoad_ = Target::kProgram;
      break;
    case code::kLoadDataProgram:
      if (pc_ >= kConfigSpace) {
        configLatch_ = word & kWordMask;
      } else {
        latches_[static_cast<size_t>(pc_ % info_.latchWords)] = word & kWordMask;
      }
      lastLoad_ = Target::kProgram;
      break;
    case code::kLoadDataData:
      dataLatch_ = word & 0xFF;
      lastLoad_ = Target::kData;
      break;
    default: break;
  }
}

std::optional<int> Flash14Chip::Read(int command) {
  if (command == code::kReadDataData) {
    if (info_.dataBytes == 0) return std::nullopt;
    const int address = DataAddress();
    const int value = DataProtected() ? 0 : state_.data[static_cast<size_t>(address)];
    return WithMarginFaults(kDataSpace + address, value);
  }
  if (pc_ < kConfigSpace) {
    const int address = pc_ % info_.programWords;
    const int value = ProgramProtected() ? 0 : state_.program[static_cast<size_t>(address)];
    return WithMarginFaults(address, value);
  }
  const int offset = (pc_ - kConfigSpace) & 0x1FFF;
  int value = 0;
  if (offset < 4) {
    value = state_.ids[static_cast<size_t>(offset)];
  } else if (offset == kDeviceIdOffset) {
    value = std::max(info_.deviceId, 0);
  } else if (offset == kConfigOffset) {
    value = ConfigAsRead(state_.config);
  }
  return WithMarginFaults(kConfigSpace + offset, value);
}

void Flash14Chip::EraseProgram(bool withConfig) {
  std::fill(state_.program.begin(), state_.program.end(), kWordMask);
  if (withConfig) {
    state_.ids.fill(kWordMask);
    state_.config = kWordMask & info_.configBits;
  }
}

void Flash14Chip::EraseData() { std::fill(state_.data.begin(), state_.data.end(), 0xFF); }

void Flash14Chip::WriteProgramSpace(const Cycle& cycle, bool programOnly) {
  const auto put = [&](int& cell, int value, int address) {
    if (NeverPrograms(address)) return;
    cell = programOnly ? (cell & value) : value;
  };
  if (cycle.pc >= kConfigSpace) {
    const int offset = (cycle.pc - kConfigSpace) & 0x1FFF;
    if (offset < 4) {
      put(state_.ids[static_cast<size_t>(offset)], configLatch_, kConfigSpace + offset);
    } else if (offset == kConfigOffset) {
      put(state_.config, configLatch_ & info_.configBits, kConfigSpace + offset);
    }
    return;
  }
  if (ProgramProtected()) return;
  const int words = info_.latchWords;
  const int first = (cycle.pc % info_.programWords) / words * words;
  for (int i = 0; i < words; ++i) {
    const std::optional<int>& latch = latches_[static_cast<size_t>(i)];
    // A latch nobody loaded holds all ones: erased, or left alone by a program-only cycle.
    put(state_.program[static_cast<size_t>(first + i)], latch.value_or(kWordMask), first + i);
  }
}

void Flash14Chip::Complete(const Cycle& cycle) {
  const bool canWrite = vdd() >= info_.minWriteVdd;
  const bool canErase = vdd() >= info_.minEraseVdd;
  switch (cycle.op) {
    case Op::kWrite:
    case Op::kProgramOnly:
      if (!canWrite) break;
      if (cycle.target == Target::kData) {
        if (info_.dataBytes > 0 && !DataProtected()) {
          const int address = (cycle.pc & 0xFF) % info_.dataBytes;
          if (!NeverPrograms(kDataSpace + address)) state_.data[static_cast<size_t>(address)] = dataLatch_;
        }
      } else {
        WriteProgramSpace(cycle, cycle.op == Op::kProgramOnly);
      }
      break;
    case Op::kBulkProgram:
      // Armed bulk erases refuse a protected part; that is what the code-protect erase is for.
      if (!canErase || (info_.bulk == BulkMode::kThenBeginProgramming && ProgramProtected())) break;
      EraseProgram(cycle.pc >= kConfigSpace || info_.bulkEraseTakesConfig);
      break;
    case Op::kBulkData:
      if (!canErase || (info_.bulk == BulkMode::kThenBeginProgramming && DataProtected())) break;
      EraseData();
      break;
    case Op::kEraseAll:
      if (!canErase) break;
      EraseProgram(true);
      EraseData();
      break;
  }
  // The latches of a multi-word part are reset to all ones by every write.
  if (info_.latchWords > 1) std::fill(latches_.begin(), latches_.end(), std::nullopt);
}

}  // namespace quorvi::sim
