// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "sim/serial_pic.h"

namespace quorvi::sim {

/// An electrically erasable 14-bit part: 16C84/16F8x, 16F62x, 12F629 class,
/// 16F87x, 16F87xA, 16F81x and 16F7x, told apart by their table entries.
class Flash14Chip final : public SerialPicChip {
 public:
  Flash14Chip(const ChipInfo& info, ChipState state);
  Status UvErase() override;

 private:
  enum class Op { kWrite, kProgramOnly, kBulkProgram, kBulkData, kEraseAll };
  enum class Target { kProgram, kData };
  struct Cycle {
    Op op;
    int64_t startNs;
    int documentUs;
    bool external;
    int pc;
    Target target;
  };

  void Reset() override;
  void Abort(int64_t nowNs) override;
  void Settle(int64_t nowNs) override;
  void Interrupt(int64_t nowNs) override;
  void Command(int code, int64_t nowNs) override;
  void Load(int code, int word, int64_t nowNs) override;
  std::optional<int> Read(int code) override;

  void Start(Op op, int64_t nowNs, int documentUs, bool external);
  void Complete(const Cycle& cycle);
  void WriteProgramSpace(const Cycle& cycle, bool programOnly);
  void EraseProgram(bool withConfig);
  void EraseData();
  bool ProgramProtected() const { return info_.cpMask != 0 && (state_.config & info_.cpMask) != info_.cpMask; }
  bool DataProtected() const { return info_.cpdMask != 0 && (state_.config & info_.cpdMask) != info_.cpdMask; }
  int DataAddress() const { return info_.dataBytes > 0 ? (pc_ & 0xFF) % info_.dataBytes : 0; }
  bool Accepts(int endCode) const;

  int pc_ = 0;
  std::vector<std::optional<int>> latches_;
  int configLatch_ = 0x3FFF;
  int dataLatch_ = 0xFF;
  Target lastLoad_ = Target::kProgram;
  bool setup1_ = false;
  bool cpArmed_ = false;
  std::optional<Target> bulkArmed_;
  std::optional<Cycle> cycle_;
};

}  // namespace quorvi::sim
