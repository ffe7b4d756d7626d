// SPDX-License-Identifier: GPL-3.0-or-later
// The simulator's own table of chips, written from the chips' programming
// documents and kept apart from the catalogue so each can check the other.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "util/result.h"

namespace quorvi::sim {

enum class ChipClass {
  kFlash14,  // electrically erasable 14-bit core
  kOtp14,    // EPROM / one-time-programmable 14-bit core
  kOtp12,    // EPROM / one-time-programmable 12-bit core
  kEeprom24, // 24Cxx two-wire serial EEPROM
  kPic18,    // PIC18 four-bit command interface
};

/// What a part needs before it takes the programming voltage as mode entry.
enum class Entry {
  kVddFirst,         // MCLR raised to Vpp while Vdd is already on
  kVppFirstOrQuick,  // Vpp before Vdd, or within vppWindowUs after it
};

/// What Begin Programming (001000) does on a flash part.
enum class BeginMode {
  kEraseProgramInternal,  // erase then program, timed by the chip
  kProgramExternal,       // program only, until End Programming
};

/// What Begin Programming Only (011000) does.
enum class ProgramOnlyMode { kNone, kInternal, kExternal };

/// How Bulk Erase (001001 / 001011) runs.
enum class BulkMode {
  kNone,
  kThenBeginProgramming,  // arms; the next Begin Programming erases
  kSelfTimed,             // erases on its own
};

/// Where the factory calibration lives.
enum class Calibration { kNone, kRetlwLastWord, kMovlwLastWord, kBlock };

struct ChipInfo {
  std::string_view name;
  ChipClass kind = ChipClass::kFlash14;
  int programWords = 0;
  int dataBytes = 0;
  int pins = 18;
  int vppSwitch = 1;          // the board switch that reaches MCLR in the socket
  int idAddress = 0x2000;     // first of four ID words
  int configAddress = 0x2007; // 12-bit: the address counter's reset position
  int configBits = 0x3FFF;    // implemented bits
  int configReadOnes = 0;     // unimplemented bits that read 1; the others read 0
  int cpMask = 0;             // program code-protect bits, active low
  int cpdMask = 0;            // data code-protect bits, active low
  int deviceId = -1;          // read at 2006h; -1 when the part has none
  Calibration calibration = Calibration::kNone;
  int calibrationFirst = -1;  // kBlock: first and last address of the block
  int calibrationLast = -1;
  int bandgapMask = 0;        // factory bits of the configuration word
  Entry entry = Entry::kVddFirst;
  // How soon after Vdd a quick entry must raise Vpp: about when a part with
  // its internal oscillator and MCLR as an input starts running its own code.
  int vppWindowUs = 0;
  // The MCLR-enable bit of the configuration word: while it is set the pin
  // holds the part in reset until Vpp, so Vdd may come first after all.
  int mclreMask = 0;
  // Flash behaviour.
  BeginMode begin = BeginMode::kEraseProgramInternal;
  ProgramOnlyMode programOnly = ProgramOnlyMode::kNone;
  bool endsWith14 = false;    // End Programming 001110 accepted
  bool endsWith23 = false;    // End Programming 010111 accepted
  BulkMode bulk = BulkMode::kNone;
  bool bulkEraseTakesConfig = false;  // also without the address in configuration space
  bool chipErase = false;     // Chip Erase 011111
  bool cpDisable = false;     // the 000001/000111 erase sequence
  int latchWords = 1;
  // Cycle times from the document, in microseconds.
  int programUs = 0;          // Begin Programming: internal cycle, or external minimum / pulse
  int programOnlyUs = 0;      // Begin Programming Only
  int eraseUs = 0;            // bulk, chip and code-protect erase
  int dataUs = 0;             // data EEPROM byte
  // 24Cxx: programWords is the size in bytes, programUs the write cycle.
  int pageBytes = 0;
  int addressBytes = 0;      // word address bytes after the control byte
  int selectPins = 0;        // chip-select pins A2..A0 the part has (control bits 3..1)
  int fixedZeroBits = 0;     // control bits 3..1 the part's format fixes at 0
  int blockMask = 0;         // control bits 3..1 that carry address bits
  int blockShift = 0;        // where those bits land in the address
  bool rollWithinBlock = false;  // sequential reads wrap inside a 32 KB block
  bool fastBus = false;          // takes a 400 kHz bus at 5 V; otherwise 100 kHz only
  // 18F: CCP2MX implemented in 300005h (not on the 258/458).
  bool hasCcp2mx = false;
  // The data sheets' absolute maximum on Vdd: 7.5 V for these PICs, 6.25 V
  // for the 24xx (the AT24C256's, the lowest of them).
  double maxVdd = 7.5;
  double minWriteVdd = 2.0;
  double minEraseVdd = 2.0;
  std::string_view document;
};

/// Every microcontroller the simulator can put in its socket.
std::span<const ChipInfo> ChipTable();
/// The 24Cxx serial EEPROMs it can put there.
std::span<const ChipInfo> SerialEepromTable();
/// The 18F parts.
std::span<const ChipInfo> Pic18Table();
/// The chip of that name (upper case, as in the catalogue), or why there is none.
Result<const ChipInfo*> FindChip(std::string_view name);

/// Socket addresses outside program memory: the 14-bit configuration space
/// and data EEPROM, as the HEX files map them.
inline constexpr int kConfigSpace = 0x2000;
inline constexpr int kDataSpace = 0x2100;

}  // namespace quorvi::sim
