// SPDX-License-Identifier: GPL-3.0-or-later
// A 24Cxx two-wire serial EEPROM in the board's socket.
#pragma once

#include <climits>
#include <cstdint>
#include <optional>
#include <vector>

#include "sim/chip_model.h"

namespace quorvi::sim {

/// The board's socket ties A2 high and A1, A0 low: the host addresses a
/// plain 24Cxx with 1010 100x (A8h) and parts without an A2 pin with A0h.
inline constexpr int kSocketChipSelect = 0b100;

/// A two-wire slave: control byte, one or two address bytes, page writes
/// into a buffer that wraps inside the page, a self-timed write cycle during
/// which it acknowledges nothing, random, current-address and sequential reads.
class Eeprom24Chip final : public ChipModel {
 public:
  Eeprom24Chip(const ChipInfo& info, ChipState state);

  void Update(const SocketPins& pins, int64_t nowNs) override;
  std::optional<bool> DataDrive() const override;
  bool inProgrammingMode() const override { return powered_; }
  Status UvErase() override;
  const ChipInfo& info() const override { return info_; }
  const ChipState& state() const override { return state_; }
  ChipState& state() override { return state_; }

  /// True while an internal write cycle runs.
  bool writing() const { return busy_; }

 private:
  enum class Phase { kIdle, kControl, kAddressHigh, kAddressLow, kWriteData, kRead };

  void Reset();
  void FinishWriteCycle();
  /// False, after noting the broken rule and dropping the transfer, when
  /// the edge at `nowNs` came sooner after `sinceNs` than the bus class allows.
  bool Waited(int64_t sinceNs, int64_t nowNs, int64_t minimumNs, const char* what);
  void OnStart();
  void OnStop(int64_t nowNs);
  void OnRise(bool sda);
  void OnFall();
  void ByteReceived();
  void Acknowledge(Phase next);
  void LoadNextByte();
  bool Selected(int control) const;
  int Mask() const;
  int NextAddress(int address) const;

  const ChipInfo& info_;
  ChipState state_;
  bool powered_ = false;
  bool scl_ = false;
  bool sda_ = true;
  bool driveLow_ = false;
  Phase phase_ = Phase::kIdle;
  int bitIndex_ = 0;  // 0..7 data bits, 8 the acknowledge slot
  int shift_ = 0;
  bool ackClockSeen_ = false;
  Phase next_ = Phase::kIdle;
  bool masterAcked_ = false;
  int block_ = 0;     // address bits taken from the control byte
  int pointer_ = 0;   // the internal address counter
  int pendingAddress_ = 0;
  int txByte_ = 0;
  // Page buffer: the page's first address and the bytes loaded into it.
  int pageBase_ = 0;
  std::vector<std::optional<uint8_t>> page_;
  int dataBytes_ = 0;
  bool busy_ = false;
  // What the running write cycle will store when it completes.
  int cycleBase_ = 0;
  std::vector<std::optional<uint8_t>> cyclePage_;
  int64_t busyUntilNs_ = 0;
  // When each bus event last happened, for the speed class's minimums.
  int64_t sclRiseNs_ = kLongAgo;
  int64_t sclFallNs_ = kLongAgo;
  int64_t sdaNs_ = kLongAgo;    // the master's data line
  int64_t startNs_ = kLongAgo;  // the start whose hold time runs until SCL falls
  int64_t stopNs_ = kLongAgo;
  bool masterData_ = true;
  static constexpr int64_t kLongAgo = INT64_MIN / 4;
};

}  // namespace quorvi::sim
