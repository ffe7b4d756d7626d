// SPDX-License-Identifier: GPL-3.0-or-later
// What every serially programmed PIC shares: mode entry, the six-bit command
// and the 16-clock data frame, and the timing of programming cycles.
#pragma once

#include <cstdint>
#include <optional>

#include "sim/chip_model.h"

namespace quorvi::sim {

/// Command codes as the programming documents list them; kept apart from
/// the host's own table so that a wrong code on either side shows.
namespace code {
inline constexpr int kLoadConfiguration = 0b000000;
inline constexpr int kEraseSetup1 = 0b000001;
inline constexpr int kLoadDataProgram = 0b000010;
inline constexpr int kLoadDataData = 0b000011;
inline constexpr int kReadDataProgram = 0b000100;
inline constexpr int kReadDataData = 0b000101;
inline constexpr int kIncrementAddress = 0b000110;
inline constexpr int kEraseSetup2 = 0b000111;
inline constexpr int kBeginProgramming = 0b001000;
inline constexpr int kBulkEraseProgram = 0b001001;
inline constexpr int kBulkEraseData = 0b001011;
inline constexpr int kEndProgramming = 0b001110;
inline constexpr int kEndProgramming2 = 0b010111;
inline constexpr int kBeginProgrammingOnly = 0b011000;
inline constexpr int kChipErase = 0b011111;
}  // namespace code

/// Below this supply the chip does nothing at all.
inline constexpr double kMinOperatingVolts = 2.0;

class SerialPicChip : public ChipModel {
 public:
  SerialPicChip(const ChipInfo& info, ChipState state);

  void Update(const SocketPins& pins, int64_t nowNs) final;
  std::optional<bool> DataDrive() const final { return drive_; }
  bool inProgrammingMode() const final { return inMode_; }
  const ChipInfo& info() const final { return info_; }
  const ChipState& state() const final { return state_; }
  ChipState& state() final { return state_; }

 protected:
  /// A fresh entry into programming mode.
  virtual void Reset() = 0;
  /// Power or Vpp is gone at `nowNs`: open cycles are lost.
  virtual void Abort(int64_t nowNs) = 0;
  /// Time has passed: internally timed cycles whose time is up complete.
  virtual void Settle(int64_t nowNs) = 0;
  /// A clock edge while an internally timed cycle runs cuts it short.
  virtual void Interrupt(int64_t nowNs) = 0;
  virtual void Command(int code, int64_t nowNs) = 0;
  virtual void Load(int code, int word, int64_t nowNs) = 0;
  /// The word a read command returns; nullopt leaves the line released.
  virtual std::optional<int> Read(int code) = 0;
  /// The configuration word as a read returns it: the bits the part does
  /// not implement read as its document says.
  int ConfigAsRead(int stored) const { return (stored & info_.configBits) | info_.configReadOnes; }

  /// True when a cycle begun at `startNs` has run long enough for a document
  /// time of `documentUs`, scaled by the state's timing margin.
  bool Lasted(int64_t startNs, int64_t nowNs, int documentUs) const;
  double vdd() const { return vddVolts_; }
  /// Applies a margin fault of the cell at `address` to a value read.
  int WithMarginFaults(int address, int value) const;
  bool NeverPrograms(int address) const;

  const ChipInfo& info_;
  ChipState state_;

 private:
  enum class Phase { kCommand, kLoad, kRead };
  void LeaveMode(int64_t nowNs);
  void TryEntry(const SocketPins& pins, int64_t nowNs);
  void RisingEdge(int64_t nowNs);
  void FallingEdge(bool data, int64_t nowNs);
  void DataChanged(int64_t nowNs);
  /// A broken bit-timing rule garbles the transfer under way.
  void Spoil(int64_t nowNs, const std::string& rule);

  bool powered_ = false;
  bool vpp_ = false;
  bool clock_ = false;
  bool entryDecided_ = false;  // until Vdd or Vpp drops again
  bool vppRoseWhilePowered_ = false;
  int64_t poweredSinceNs_ = 0;
  int64_t vppSinceNs_ = 0;
  double vddVolts_ = 0.0;
  bool inMode_ = false;

  Phase phase_ = Phase::kCommand;
  int bitCount_ = 0;
  int code_ = 0;
  int loadCode_ = 0;
  int word_ = 0;
  int clocksInFrame_ = 0;
  std::optional<int> readWord_;
  std::optional<bool> drive_;

  // Bit timing (DS39025 p.18 Table 6-1): when each line last moved.
  bool data_ = false;
  int64_t lastDataNs_ = 0;
  int64_t lastFallNs_ = 0;
  int64_t entryNs_ = 0;
  bool firstClock_ = false;      // no clock since the entry
  bool commandEnded_ = false;    // the next rising edge must wait tdly2
  bool spoiled_ = false;         // this command or frame was garbled
  bool loadedSinceBegin_ = false;
};

}  // namespace quorvi::sim
