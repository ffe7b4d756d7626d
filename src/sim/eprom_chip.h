// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>

#include "sim/serial_pic.h"

namespace quorvi::sim {

/// An EPROM / one-time-programmable part: cells only go from 1 to 0, each
/// word takes a number of 100 us pulses (Begin Programming ... End
/// Programming) before it reads back programmed, and only UV light erases.
class EpromChip : public SerialPicChip {
 public:
  EpromChip(const ChipInfo& info, ChipState state);
  Status UvErase() final;
  /// The pulses the word at `address` needs before it reads programmed.
  int PulsesNeeded(int address) const;

 protected:
  /// The cell at a socket address, or null where nothing is implemented.
  virtual int* Cell(int address) = 0;
  /// The socket address the address counter points at.
  virtual int Address() const = 0;
  virtual int Mask() const = 0;
  virtual void Step() = 0;
  virtual void ToConfigSpace() {}

  bool ProgramProtected() const { return info_.cpMask != 0 && (state_.config & info_.cpMask) != info_.cpMask; }

 private:
  void Abort(int64_t nowNs) final;
  void Settle(int64_t) final {}
  void Interrupt(int64_t) final {}
  void Command(int command, int64_t nowNs) final;
  void Load(int command, int word, int64_t nowNs) final;
  std::optional<int> Read(int command) final;

  int latch_ = 0;
  std::optional<int64_t> pulseStartNs_;
  std::map<int, int> pulses_;  // pulses given to each address since the last UV erase
};

/// 16C6x/7x, 16C55x and the 14000: the 14-bit map with configuration space at 2000h.
class Otp14Chip final : public EpromChip {
 public:
  using EpromChip::EpromChip;

 private:
  void Reset() override { pc_ = 0; }
  int* Cell(int address) override;
  int Address() const override { return pc_; }
  int Mask() const override { return 0x3FFF; }
  void Step() override;
  void ToConfigSpace() override { pc_ = kConfigSpace; }
  int pc_ = 0;
};

/// 12C5xx, 12CE51x and 16C505: the address counter starts on the
/// configuration word at FFFh and the next increment wraps it to 0.
class Otp12Chip final : public EpromChip {
 public:
  using EpromChip::EpromChip;

 private:
  void Reset() override { pc_ = 0xFFF; }
  int* Cell(int address) override;
  int Address() const override { return pc_; }
  int Mask() const override { return 0xFFF; }
  void Step() override { pc_ = (pc_ + 1) & 0xFFF; }
  int pc_ = 0xFFF;
};

}  // namespace quorvi::sim
