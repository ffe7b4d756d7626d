// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/pic18_chip.h"

#include <algorithm>
#include <string>
#include <utility>

#include "util/arith.h"

namespace quorvi::sim {

namespace {

constexpr int kCommandBits = 4;
constexpr int kOperandBits = 16;
constexpr int kByteBits = 8;
constexpr uint32_t kPointerMask = 0x3FFFFF;
constexpr uint32_t kIdFirst = 0x200000;
constexpr uint32_t kIdLast = 0x200007;
constexpr uint32_t kConfigFirst = 0x300000;
constexpr uint32_t kEraseRegister = 0x3C0004;
constexpr uint32_t kPanelModeRegister = 0x3C0006;
constexpr uint32_t kDevId1 = 0x3FFFFE;
constexpr uint32_t kDevId2 = 0x3FFFFF;
constexpr uint32_t kPanelSpan = 0x2000;
constexpr uint32_t kEraseAll = 0x0080;
constexpr uint8_t kEecon1 = 0xA6;
constexpr uint8_t kEecon2 = 0xA7;
constexpr uint8_t kEedata = 0xA8;
constexpr uint8_t kEeadr = 0xA9;
constexpr uint8_t kTablat = 0xF5;
// EECON1 bits.
constexpr int kRd = 0;
constexpr int kWr = 1;
constexpr int kWren = 2;
constexpr uint8_t kEepgdCfgs = 0xC0;
// DS39576 P11A: data EEPROM write polling time, 4 ms.
constexpr int64_t kP11ANs = 4'000'000;
// DS39576 Table 6-1: P9 1 ms programming (PGC high), P10 5 us PGC low after
// it (high-voltage discharge), P11 5 ms bulk erase.
constexpr int64_t kP9Ns = 1'000'000;
constexpr int64_t kP10Ns = 5'000;
constexpr int64_t kP11Ns = 5'000'000;
// DS39576: bulk erase and row writes need Vdd of 4.5 V or more.
constexpr double kMinEraseVdd = 4.5;
// Below this the part does nothing at all.
constexpr double kMinVdd = 2.0;

// PIC18FXX2 configuration registers: CONFIG1L..CONFIG7H.
constexpr std::array<uint8_t, kConfig18Bytes> kConfigMasks = {0x00, 0x27, 0x0F, 0x0F, 0x00, 0x01, 0x85,
                                                              0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};

bool Contains(const std::vector<int>& list, int value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

uint8_t Config18Mask(const ChipInfo& info, int index) {
  if (index < 0 || index >= kConfig18Bytes) return 0;
  uint8_t mask = kConfigMasks[static_cast<size_t>(index)];
  if (index == 5 && !info.hasCcp2mx) mask = 0;
  return mask;
}

Pic18Chip::Pic18Chip(const ChipInfo& info, ChipState state) : info_(info), state_(std::move(state)) {
  const int bytes = info_.programWords * 2;
  panels_.resize(static_cast<size_t>((bytes + static_cast<int>(kPanelSpan) - 1) / static_cast<int>(kPanelSpan)));
}

Status Pic18Chip::UvErase() {
  return Status::Fail("The " + std::string(info_.name) + " is a flash part with no window");
}

std::optional<bool> Pic18Chip::DataDrive() const { return drive_; }

void Pic18Chip::EnterMode() {
  inMode_ = true;
  phase_ = Phase::kCommand;
  bits_ = 0;
  shift_ = 0;
  drive_.reset();
  // TBLPTR is undefined after entry; a host that does not set it reads junk.
  tblptr_ = 0x15A5A5;
  eecon1_ = 0;
  unlock_ = 0;
  eeWriting_ = false;
  multiPanel_ = false;
  programArmed_ = false;
  eraseNopsLeft_ = 0;
  eraseRunning_ = false;
  for (Panel& p : panels_) p = Panel{};
  idBuffer_ = Panel{};
  configLatch_.reset();
}

void Pic18Chip::LeaveMode(int64_t nowNs) {
  if (eraseRunning_) {
    Violate(nowNs, std::string(info_.name) + ": supplies removed " + std::to_string((nowNs - eraseStartNs_) / 1000) +
                       " us into the bulk erase; DS39576 P11 needs 5 ms");
  }
  if (eeWriting_) {
    Violate(nowNs, std::string(info_.name) + ": supplies removed during a data EEPROM write (DS39576)");
  }
  inMode_ = false;
  drive_.reset();
  eraseRunning_ = false;
  programArmed_ = false;
  eeWriting_ = false;  // a data EEPROM write cut off by the supply is lost
}

void Pic18Chip::Update(const SocketPins& pins, int64_t nowNs) {
  // Work that ran its time out before this change ended then, at the supply it
  // had: a port that writes only changes may show the chip nothing in between.
  if (eraseRunning_ && nowNs - eraseStartNs_ >= static_cast<int64_t>(kP11Ns * state_.timingMargin)) {
    eraseRunning_ = false;
    if (vdd_ >= kMinEraseVdd) BulkErase();
  }
  if (eeWriting_ && nowNs >= eeWriteEndNs_) {
    eeWriting_ = false;
    eecon1_ = static_cast<uint8_t>(eecon1_ & ~(1U << kWr));
    if (vdd_ >= kMinEraseVdd && !Contains(state_.faults.neverProgram, 0x2100 + eeadr_) &&
        eeadr_ < state_.data.size()) {
      state_.data[eeadr_] = eedata_;
    }
  }
  vdd_ = pins.vdd ? pins.vddVolts : 0.0;
  const bool powered = pins.vdd && pins.vddVolts >= kMinVdd;
  if (!powered && powered_ && pins.vpp) {
    Violate(nowNs, std::string(info_.name) + ": Vdd switched off while MCLR was at Vpp; DS39576 leaves with Vpp first");
  }
  powered_ = powered;
  if (!powered || !pins.vpp) {
    if (inMode_) LeaveMode(nowNs);
    clock_ = pins.clock;
    return;
  }
  if (!inMode_) {
    // DS39576 2.1: Vdd first, then MCLR to Vihh with PGC and PGD low.
    if (pins.clock || pins.data) {
      clock_ = pins.clock;
      return;
    }
    EnterMode();
  }
  if (!clock_ && pins.clock) {
    clock_ = true;
    OnRise(nowNs);
  } else if (clock_ && !pins.clock) {
    clock_ = false;
    OnFall(pins.data, nowNs);
  }
}

void Pic18Chip::OnRise(int64_t nowNs) {
  // A clock before the erase has had its time cuts it short: nothing erased.
  if (eraseRunning_) {
    Violate(nowNs, std::string(info_.name) + ": bulk erase cut short after " +
                       std::to_string((nowNs - eraseStartNs_) / 1000) + " us; DS39576 P11 needs 5 ms");
  }
  eraseRunning_ = false;
  if (programmedNs_ && nowNs - *programmedNs_ < static_cast<int64_t>(kP10Ns * state_.timingMargin)) {
    Violate(nowNs, std::string(info_.name) + ": clock " + std::to_string(nowNs - *programmedNs_) +
                       " ns after programming; DS39576 P10 keeps PGC low 5 us");
    // The programming voltage had no time to discharge: the next command is lost.
    ignoreCommand_ = true;
  }
  programmedNs_.reset();
  // TABLAT's last bit stays on the line until the next command's first clock.
  if (phase_ == Phase::kCommand && bits_ == 0) drive_.reset();
  if (phase_ == Phase::kCommand && bits_ == kCommandBits - 1) fourthRiseNs_ = nowNs;
  if (phase_ == Phase::kReadOut) drive_ = ((tablat_ >> bits_) & 1) != 0;  // P14: valid after PGC rises
}

void Pic18Chip::OnFall(bool data, int64_t nowNs) {
  lastFallNs_ = nowNs;
  switch (phase_) {
    case Phase::kCommand:
      shift_ |= (data ? 1U : 0U) << bits_;
      if (++bits_ == kCommandBits) {
        if (programArmed_) {
          programArmed_ = false;
          // The fourth clock of the command after 1111 stays high for P9.
          const int64_t held = nowNs - fourthRiseNs_;
          const bool long_enough = held >= static_cast<int64_t>(kP9Ns * state_.timingMargin);
          if (!long_enough) {
            Violate(nowNs, std::string(info_.name) + ": PGC held high " + std::to_string(held / 1000) +
                               " us to program; DS39576 P9 needs 1 ms; nothing is written");
          }
          Program(long_enough, nowNs);
          programmedNs_ = nowNs;
        }
        if (ignoreCommand_) {
          ignoreCommand_ = false;
          shift_ = 0b0001;  // a reserved command: it takes its operand and does nothing
        }
        CommandComplete();
      }
      return;
    case Phase::kOperand:
      shift_ |= (data ? 1U : 0U) << bits_;
      if (++bits_ == kOperandBits) OperandComplete();
      return;
    case Phase::kReadDummy:
      if (++bits_ == kByteBits) {
        phase_ = Phase::kReadOut;
        bits_ = 0;
      }
      return;
    case Phase::kReadOut:
      if (++bits_ == kByteBits) {
        phase_ = Phase::kCommand;
        bits_ = 0;
        shift_ = 0;
      }
      return;
  }
}

void Pic18Chip::CommandComplete() {
  command_ = static_cast<int>(shift_);
  bits_ = 0;
  shift_ = 0;
  switch (command_) {
    case 0b1000:
    case 0b1001:
    case 0b1010:
    case 0b1011:
    case 0b0010: {
      if (command_ == 0b1011) tblptr_ = (tblptr_ + 1) & kPointerMask;
      if (command_ != 0b0010) tablat_ = static_cast<uint8_t>(ReadByte(tblptr_));
      if (command_ == 0b1001) tblptr_ = (tblptr_ + 1) & kPointerMask;
      if (command_ == 0b1010) tblptr_ = (tblptr_ - 1) & kPointerMask;
      eraseNopsLeft_ = 0;
      phase_ = Phase::kReadDummy;
      return;
    }
    default: phase_ = Phase::kOperand; return;
  }
}

void Pic18Chip::OperandComplete() {
  const uint32_t operand = shift_ & 0xFFFF;
  phase_ = Phase::kCommand;
  bits_ = 0;
  shift_ = 0;
  switch (command_) {
    case 0b0000:
      if (eraseNopsLeft_ > 0 && operand == 0) {
        if (--eraseNopsLeft_ == 0) {
          eraseRunning_ = true;
          eraseStartNs_ = lastFallNs_;
        }
        return;
      }
      eraseNopsLeft_ = 0;
      Execute(operand);
      return;
    case 0b1100: TableWrite(operand); return;
    case 0b1101:
      TableWrite(operand);
      tblptr_ = (tblptr_ + 2) & kPointerMask;
      return;
    case 0b1110:
      TableWrite(operand);
      tblptr_ = (tblptr_ - 2) & kPointerMask;
      return;
    case 0b1111:
      TableWrite(operand);
      programArmed_ = true;
      return;
    default: return;  // reserved commands take their operand and do nothing
  }
}

void Pic18Chip::Execute(uint32_t instruction) {
  const uint32_t opcode = instruction >> 8;
  const auto literal = static_cast<uint8_t>(instruction & 0xFF);
  if (opcode == 0x0E) {  // MOVLW k
    w_ = literal;
  } else if (opcode == 0x6E) {  // MOVWF f (access bank)
    switch (literal) {
      case 0xF8: tblptr_ = (tblptr_ & 0x00FFFF) | (static_cast<uint32_t>(w_ & 0x3F) << 16); break;
      case 0xF7: tblptr_ = (tblptr_ & 0x3F00FF) | (static_cast<uint32_t>(w_) << 8); break;
      case 0xF6: tblptr_ = (tblptr_ & 0x3FFF00) | w_; break;
      case kTablat: tablat_ = w_; break;
      case kEecon1: eecon1_ = static_cast<uint8_t>((eecon1_ & (1U << kWr)) | (w_ & ~(1U << kWr))); break;
      case kEecon2:
        // The unlock sequence 55h, AAh must come whole, right before WR is set.
        unlock_ = (w_ == 0x55) ? 1 : (unlock_ == 1 && w_ == 0xAA) ? 2 : 0;
        return;
      case kEedata: eedata_ = w_; break;
      case kEeadr: eeadr_ = w_; break;
      default: break;
    }
  } else if ((instruction & 0xF100) == 0x8000 && literal == kEecon1) {  // BSF EECON1, b
    SetEecon1Bit(static_cast<int>((instruction >> 9) & 7), true);
  } else if ((instruction & 0xF100) == 0x9000 && literal == kEecon1) {  // BCF EECON1, b
    SetEecon1Bit(static_cast<int>((instruction >> 9) & 7), false);
  } else if (opcode == 0x50) {  // MOVF f, W (access bank)
    w_ = ReadRegister(literal);
  }
  // Only MOVLW may sit inside the unlock sequence.
  if (opcode != 0x0E) unlock_ = 0;
}

uint8_t Pic18Chip::ReadRegister(uint8_t address) const {
  switch (address) {
    case kEecon1: return eecon1_;
    case kEedata: return eedata_;
    case kEeadr: return eeadr_;
    case kTablat: return tablat_;
    case 0xF6: return static_cast<uint8_t>(tblptr_ & 0xFF);
    case 0xF7: return static_cast<uint8_t>((tblptr_ >> 8) & 0xFF);
    case 0xF8: return static_cast<uint8_t>((tblptr_ >> 16) & 0x3F);
    default: return 0;
  }
}

void Pic18Chip::SetEecon1Bit(int bit, bool set) {
  const bool dataEeprom = (eecon1_ & kEepgdCfgs) == 0;
  if (bit == kRd) {
    // RD reads the data EEPROM byte at EEADR into EEDATA and clears itself.
    if (set && dataEeprom && eeadr_ < state_.data.size()) eedata_ = static_cast<uint8_t>(state_.data[eeadr_]);
    return;
  }
  if (bit == kWr) {
    // WR only after the unlock sequence, with WREN; it clears when the write is done.
    if (!set || eeWriting_ || !dataEeprom || (eecon1_ & (1U << kWren)) == 0 || unlock_ != 2) return;
    unlock_ = 0;
    eecon1_ = static_cast<uint8_t>(eecon1_ | (1U << kWr));
    eeWriting_ = true;
    eeWriteEndNs_ = lastFallNs_ + static_cast<int64_t>(kP11ANs * state_.timingMargin);
    return;
  }
  eecon1_ = static_cast<uint8_t>(set ? (eecon1_ | (1U << bit)) : (eecon1_ & ~(1U << bit)));
}

int Pic18Chip::PanelOf(uint32_t address) const { return static_cast<int>(address / kPanelSpan); }

void Pic18Chip::TableWrite(uint32_t operand) {
  const uint32_t address = tblptr_ & ~1U;
  const auto low = static_cast<uint8_t>(operand & 0xFF);
  const auto high = static_cast<uint8_t>(operand >> 8);
  if (tblptr_ == kEraseRegister) {
    eraseNopsLeft_ = operand == kEraseAll ? 2 : 0;
    return;
  }
  if (tblptr_ == kPanelModeRegister) {
    multiPanel_ = (operand & 0x40) != 0;
    return;
  }
  if (tblptr_ >= kConfigFirst && tblptr_ < kConfigFirst + kConfig18Bytes) {
    // DS39576 3.4: one byte per start, even address from the LSB, odd from the MSB.
    const int index = static_cast<int>(tblptr_ - kConfigFirst);
    configLatch_ = std::make_pair(index, (index % 2 == 0) ? low : high);
    return;
  }
  Panel* panel = nullptr;
  if (tblptr_ >= kIdFirst && tblptr_ <= kIdLast) {
    panel = &idBuffer_;
  } else if (address < static_cast<uint32_t>(info_.programWords) * 2) {
    panel = &panels_[static_cast<size_t>(PanelOf(address))];
  } else {
    return;
  }
  const uint32_t base = address & ~7U;
  if (!panel->loaded || panel->base != base) {
    *panel = Panel{};
    panel->base = base;
    panel->loaded = true;
  }
  panel->bytes[address & 7U] = low;
  panel->bytes[(address & 7U) + 1] = high;
}

void Pic18Chip::Program(bool heldLongEnough, int64_t nowNs) {
  const bool ok = heldLongEnough && vdd_ >= kMinEraseVdd;
  if (configLatch_) {
    // Configuration space needs EEPGD and CFGS set (DS39576 pp.12-14).
    if ((eecon1_ & 0xC0) != 0xC0) {
      Violate(nowNs, std::string(info_.name) + ": configuration write without EEPGD and CFGS set; DS39576 "
                                               "selects configuration memory first");
    }
    if (ok && (eecon1_ & 0xC0) == 0xC0) {
      const auto [index, value] = *configLatch_;
      if (!Contains(state_.faults.neverProgram, static_cast<int>(kConfigFirst) + index)) {
        state_.configBytes[static_cast<size_t>(index)] = value & Config18Mask(info_, index);
      }
    }
    configLatch_.reset();
  }
  // The buffer goes to the group the pointer stands in (`base`), whatever
  // group it was loaded for.
  auto commit = [&](Panel& p, bool ids, uint32_t base) {
    if (!p.loaded) return;
    for (uint32_t i = 0; i < 8; ++i) {
      if (!p.bytes[i]) continue;
      const uint32_t a = base + i;
      if (ids) {
        const size_t word = (a - kIdFirst) / 2;
        const int shift = (a % 2 == 0) ? 0 : 8;
        state_.ids[word] &= ~(0xFF << shift) | (*p.bytes[i] << shift);
        continue;
      }
      const auto word = static_cast<size_t>(a / 2);
      if (Contains(state_.faults.neverProgram, static_cast<int>(word))) continue;
      const int shift = (a % 2 == 0) ? 0 : 8;
      // Flash cells only go from 1 to 0 without an erase.
      state_.program[word] &= ~(0xFF << shift) | (*p.bytes[i] << shift);
    }
    p = Panel{};
  };
  // Code memory and IDs need EEPGD set and CFGS clear.
  if (!ok || (eecon1_ & 0xC0) != 0x80) {
    for (Panel& p : panels_) p = Panel{};
    idBuffer_ = Panel{};
    return;
  }
  commit(idBuffer_, true, idBuffer_.base);
  const uint32_t group = tblptr_ & ~7U;
  const uint32_t programBytes = static_cast<uint32_t>(info_.programWords) * 2;
  // DS39576 3.2: each panel's 8-byte buffer is loaded before the write
  // starts, and the pointer then holds the offset they were loaded at.
  auto check = [&](const Panel& p, uint32_t base, const std::string& which) {
    const bool full = std::all_of(p.bytes.begin(), p.bytes.end(), [](const auto& b) { return b.has_value(); });
    if (!p.loaded || !full) {
      Violate(nowNs, std::string(info_.name) + ": " + which + " buffer not loaded with all 8 bytes before "
                     "programming; DS39576 3.2 loads it whole");
    } else if (p.base != base) {
      Violate(nowNs, std::string(info_.name) + ": " + which + " buffer loaded for " +
                         HexText(static_cast<int32_t>(p.base)) + "h but programmed with the pointer at " +
                         HexText(static_cast<int32_t>(base)) + "h; DS39576 3.2 keeps the offset");
    }
  };
  if (group < programBytes && multiPanel_) {
    const uint32_t offset = group % kPanelSpan;
    for (size_t i = 0; i < panels_.size(); ++i) {
      const uint32_t base = static_cast<uint32_t>(i) * kPanelSpan + offset;
      check(panels_[i], base, "panel " + std::to_string(i + 1) + "'s");
      commit(panels_[i], false, base);
    }
  } else if (group < programBytes) {
    Panel& p = panels_[static_cast<size_t>(PanelOf(group))];
    check(p, group, "the panel's");
    commit(p, false, group);
  }
  for (Panel& p : panels_) p = Panel{};
}

void Pic18Chip::BulkErase() {
  // DS39576 3.1: the whole device: code, data EEPROM, IDs and configuration.
  std::fill(state_.program.begin(), state_.program.end(), 0xFFFF);
  std::fill(state_.data.begin(), state_.data.end(), 0xFF);
  state_.ids.fill(0xFFFF);
  for (int i = 0; i < kConfig18Bytes; ++i) state_.configBytes[static_cast<size_t>(i)] = Config18Mask(info_, i);
}

int Pic18Chip::ReadByte(uint32_t address) const {
  if (address < static_cast<uint32_t>(info_.programWords) * 2) {
    const int word = state_.program[static_cast<size_t>(address / 2)];
    return (address % 2 == 0) ? (word & 0xFF) : (word >> 8);
  }
  if (address >= kIdFirst && address <= kIdLast) {
    const int word = state_.ids[(address - kIdFirst) / 2];
    return (address % 2 == 0) ? (word & 0xFF) : (word >> 8);
  }
  if (address >= kConfigFirst && address < kConfigFirst + kConfig18Bytes) {
    return state_.configBytes[address - kConfigFirst];
  }
  if (address == kDevId1) return info_.deviceId & 0xFF;
  if (address == kDevId2) return (info_.deviceId >> 8) & 0xFF;
  return 0;
}

}  // namespace quorvi::sim
