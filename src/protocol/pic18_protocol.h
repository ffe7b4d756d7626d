// SPDX-License-Identifier: GPL-3.0-or-later
// The 18F four-bit command layer: every transfer is a command nibble and a
// 16-bit payload; memory is reached through core instructions and table
// reads and writes (DS39576, PIC18FXX2/XX8 Flash programming document).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "protocol/serial_protocol.h"

namespace quorvi {

/// The four-bit commands (sent LSB first). DS39576 Table 2-3.
namespace cmd18 {
inline constexpr int kCoreInstruction = 0;         // 0000
inline constexpr int kShiftOutTablat = 2;          // 0010
inline constexpr int kTableRead = 8;               // 1000
inline constexpr int kTableReadPostInc = 9;        // 1001
inline constexpr int kTableWrite = 12;             // 1100
inline constexpr int kTableWritePostInc2 = 13;     // 1101
inline constexpr int kTableWriteStartProgram = 15; // 1111
}  // namespace cmd18

/// Core instruction words fed through command 0000.
namespace insn18 {
inline constexpr uint32_t kNop = 0x0000;
inline constexpr uint32_t kMovlw = 0x0E00;        // + literal
inline constexpr uint32_t kMovwfTblptrU = 0x6EF8;
inline constexpr uint32_t kMovwfTblptrH = 0x6EF7;
inline constexpr uint32_t kMovwfTblptrL = 0x6EF6;
inline constexpr uint32_t kBsfEepgd = 0x8EA6;     // BSF EECON1, EEPGD
inline constexpr uint32_t kBcfCfgs = 0x9CA6;      // BCF EECON1, CFGS
inline constexpr uint32_t kBsfCfgs = 0x8CA6;      // BSF EECON1, CFGS
inline constexpr uint32_t kBcfEepgd = 0x9EA6;     // BCF EECON1, EEPGD
inline constexpr uint32_t kBsfWren = 0x84A6;      // BSF EECON1, WREN
inline constexpr uint32_t kBcfWren = 0x94A6;      // BCF EECON1, WREN
inline constexpr uint32_t kBsfWr = 0x82A6;        // BSF EECON1, WR
inline constexpr uint32_t kBsfRd = 0x80A6;        // BSF EECON1, RD
inline constexpr uint32_t kMovwfEeadr = 0x6EA9;
inline constexpr uint32_t kMovwfEedata = 0x6EA8;
inline constexpr uint32_t kMovwfEecon2 = 0x6EA7;
inline constexpr uint32_t kMovfEedataW = 0x50A8;
inline constexpr uint32_t kMovfEecon1W = 0x50A6;
inline constexpr uint32_t kMovwfTablat = 0x6EF5;
// GOTO 100000h, two words: takes the program counter out of every
// code-protect block before configuration writes (DS39576 3.5, note 1).
inline constexpr uint32_t kGotoOutsideCodeFirst = 0xEF00;
inline constexpr uint32_t kGotoOutsideCodeSecond = 0xF800;
}  // namespace insn18

/// Addresses of the table space that the programming sequences use.
namespace addr18 {
inline constexpr uint32_t kConfigBytes = 0x300000;
inline constexpr uint32_t kDeviceId = 0x3FFFFE;
inline constexpr uint32_t kBulkEraseRegister = 0x3C0004;
inline constexpr uint32_t kPanelModeRegister = 0x3C0006;
inline constexpr uint32_t kIdLocations = 0x200000;
}  // namespace addr18

/// DS39576: 3C0004h <- 0080h erases the whole device.
inline constexpr uint32_t kBulkEraseChip = 0x0080;
/// DS39576: 3C0006h bit 6 selects multi-panel writes; 0 single-panel.
inline constexpr uint32_t kMultiPanelWrites = 0x0040;
inline constexpr uint32_t kSinglePanelWrites = 0x0000;
/// One panel's write buffer: 8 bytes at an 8-byte boundary.
inline constexpr int kPanelBufferBytes = 8;
/// The panels of a 32 KB part are 8 KB apart.
inline constexpr uint32_t kPanelSpan = 0x2000;

/// Where the chip's table pointer stands as far as the host knows: nothing
/// after mode entry. A sequence that moves the pointer by a known step
/// updates it, so the next one loads only the bytes that change.
using TablePointer = std::optional<uint32_t>;

/// The 18F layer over the serial command layer's lines and mode entry.
class Pic18Protocol {
 public:
  explicit Pic18Protocol(SerialProtocol& serial);

  SerialProtocol& serial() { return serial_; }

  void Send4(int command);
  void SendWord16(uint32_t payload);
  void Send8ThenRelease(int value);
  int Read8();
  /// Read8's line sequence with its bits marked, and the byte from taken bits.
  void MarkByte();
  static int ByteFrom(const std::vector<bool>& bits, size_t first);
  void MarkTableByte();
  void SetTablePointer(int upper, int high, int low);
  /// One command with its payload: Send4 then SendWord16.
  void Transfer(int command, uint32_t payload);
  /// SetTablePointer from a 22-bit address.
  void SetTablePointerTo(uint32_t address);
  /// Loads only the pointer bytes that differ from where `pointer` says it
  /// stands (all three when it does not know); `pointer` is then `address`.
  void MoveTablePointer(uint32_t address, TablePointer& pointer);

  /// One byte by table read with post-increment (command 1001).
  int ReadTableByte();
  /// The program-memory read: mode entry, pointer to 0, two bytes per word
  /// up to `lastWordAddress`, then data low, Vdd off, Vpp off. `keepGoing`
  /// is asked before each word (progress and the user's stop).
  std::vector<int> ReadProgramMemory(int lastWordAddress, const std::function<bool(int address)>& keepGoing);

  /// Write preparation: 0 at 3C0006h (single-panel writes).
  void PrepareWrite();
  /// Opens one block of the write loop: EEPGD set, CFGS clear, the whole
  /// pointer loaded with `address`.
  void BeginBlock(uint32_t address, TablePointer& pointer);
  /// Selects single- or multi-panel writes through 3C0006h (configuration
  /// space); code memory must be selected again after it.
  void SetPanelMode(bool multiPanel, TablePointer& pointer);
  /// Loads 8 bytes into the write buffer of the panel holding `address` (an
  /// 8-byte boundary), moving the pointer there first. With
  /// `startProgramming` the last pair is written with 1111 and the
  /// programming hold follows.
  void LoadPanelBuffer(uint32_t address, std::span<const uint8_t, kPanelBufferBytes> bytes, bool startProgramming,
                       TablePointer& pointer);
  /// The NOP whose fourth clock is held high for P9, then low for P10.
  void StartProgrammingHold();
  /// EEPGD and CFGS set, and the program counter out of code memory: what
  /// every configuration write needs, once before them (DS39576 3.4).
  void SelectConfigurationMemory();
  /// Programs the configuration byte at 300000h + index, configuration memory
  /// selected: even addresses take the payload's low byte, odd ones its high byte.
  void ProgramConfigByte(int index, int value, TablePointer& pointer);
  /// One configuration byte on its own: the selection, then the byte.
  void WriteConfigByte(int index, int value);
  /// Reads `count` bytes from `address` by table reads.
  std::vector<int> ReadBytes(uint32_t address, int count);
  /// The bulk erase through 3C0004h, then the erase wait with data held low.
  void BulkErase();
  /// Writes the eight ID bytes at 200000h through the write buffer.
  void WriteIdBytes(std::span<const uint8_t, kPanelBufferBytes> bytes);
  /// Reads a data EEPROM byte through EEADR, RD and EEDATA (DS39576 3.3).
  int ReadDataEeprom(int address);
  /// Writes a data EEPROM byte: WREN, the 55h/AAh unlock, WR, then polls WR
  /// (P11A 4 ms) for at most kDataWritePollMs. False when WR never cleared.
  bool WriteDataEeprom(int address, int value);
  static constexpr uint32_t kDataWritePollMs = 20;

 private:
  void PauseHook();
  int ShiftOutTablat();
  void SelectDataEeprom(int address);

  SerialProtocol& serial_;
  PortLink& link_;
};

}  // namespace quorvi
