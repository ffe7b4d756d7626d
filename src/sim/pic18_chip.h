// SPDX-License-Identifier: GPL-3.0-or-later
// A PIC18FXX2/XX8 in the socket, as its Flash programming document
// (DS39576) describes the serial interface.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "sim/chip_model.h"

namespace quorvi::sim {

/// Configuration bytes 300000h..30000Dh.
inline constexpr int kConfig18Bytes = 14;
/// Bits each configuration byte implements (PIC18FXX2 data sheet, section
/// 19); the others read 0. The 258/458 lack CCP2MX (300005h bit 0).
uint8_t Config18Mask(const ChipInfo& info, int index);

/// Four-bit commands with 16-bit operands latched on PGC's falling edge; core
/// instructions that load TBLPTR and set EECON1 bits; table reads with
/// post-increment that shift TABLAT out LSB first; table writes into 8-byte
/// panel buffers; programming while PGC is held high (P9); bulk erase through
/// 3C0004h; configuration bytes; device ID at 3FFFFEh.
class Pic18Chip final : public ChipModel {
 public:
  Pic18Chip(const ChipInfo& info, ChipState state);

  void Update(const SocketPins& pins, int64_t nowNs) override;
  std::optional<bool> DataDrive() const override;
  bool inProgrammingMode() const override { return inMode_; }
  Status UvErase() override;
  const ChipInfo& info() const override { return info_; }
  const ChipState& state() const override { return state_; }
  ChipState& state() override { return state_; }

  uint32_t tablePointer() const { return tblptr_; }
  bool multiPanel() const { return multiPanel_; }

 private:
  enum class Phase { kCommand, kOperand, kReadDummy, kReadOut };

  struct Panel {
    uint32_t base = 0;
    std::array<std::optional<uint8_t>, 8> bytes{};
    bool loaded = false;
  };

  void EnterMode();
  void LeaveMode(int64_t nowNs);
  void OnRise(int64_t nowNs);
  void OnFall(bool data, int64_t nowNs);
  void CommandComplete();
  void OperandComplete();
  void Execute(uint32_t instruction);
  void TableWrite(uint32_t operand);
  void Program(bool heldLongEnough, int64_t nowNs);
  void BulkErase();
  uint8_t ReadRegister(uint8_t address) const;
  void SetEecon1Bit(int bit, bool set);
  int ReadByte(uint32_t address) const;
  int PanelOf(uint32_t address) const;

  const ChipInfo& info_;
  ChipState state_;
  bool inMode_ = false;
  bool clock_ = false;
  double vdd_ = 0.0;
  Phase phase_ = Phase::kCommand;
  int bits_ = 0;
  uint32_t shift_ = 0;
  int command_ = 0;
  std::optional<bool> drive_;
  // Core registers the programming sequences touch.
  uint8_t w_ = 0;
  uint32_t tblptr_ = 0;
  uint8_t tablat_ = 0;
  uint8_t eecon1_ = 0;
  uint8_t eeadr_ = 0;
  uint8_t eedata_ = 0;
  int unlock_ = 0;  // EECON2 sequence: 55h then AAh
  bool eeWriting_ = false;
  int64_t eeWriteEndNs_ = 0;
  bool multiPanel_ = false;
  std::vector<Panel> panels_;
  Panel idBuffer_;
  std::optional<std::pair<int, uint8_t>> configLatch_;
  // Start programming: armed by 1111, runs while the next command's fourth clock is high.
  bool programArmed_ = false;
  int64_t fourthRiseNs_ = 0;
  // Bulk erase: armed by 0080h at 3C0004h, starts after two NOPs, needs P11
  // without clocks.
  int eraseNopsLeft_ = 0;
  bool eraseRunning_ = false;
  int64_t eraseStartNs_ = 0;
  int64_t lastFallNs_ = 0;
  // P10: when the last programming ended, and whether a too-early clock spoilt the next command.
  std::optional<int64_t> programmedNs_;
  bool ignoreCommand_ = false;
  bool powered_ = false;
};

}  // namespace quorvi::sim
