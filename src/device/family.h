// SPDX-License-Identifier: GPL-3.0-or-later
// The chip families: what each does differently, in one table. A catalogue
// code becomes a `Family` where the catalogue is read; nothing else looks at
// the number. Adding a family is one row here, its chip model and its
// catalogue entries.
#pragma once

#include <cstdint>
#include <string_view>

#include "protocol/timing.h"

namespace quorvi {

/// The catalogue's family codes.
enum class Family : int16_t {
  kFuture = 0,            // listed, not programmable yet
  kFlash = 1,             // 14-bit flash, erase-and-program cycle per word (16F8x, 16F62x)
  kEprom = 2,             // 14-bit EPROM / OTP
  kEpromCalibrated = 3,   // 14-bit EPROM with a calibration block (14000)
  kCore12 = 4,            // 12-bit EPROM / OTP
  kSerialEeprom = 5,      // 24Cxx
  kFlashPairs = 6,        // 14-bit flash writing two words a cycle (16F7x)
  kPic18 = 7,             // 18F flash
  kFlashChipErase = 8,    // 14-bit flash with chip erase (16F87xA)
  kFlashLatches = 9,      // 14-bit flash with chip erase and 4-word latches (16F81x)
};

/// The catalogue's number for `family`, as the catalogue and `info` show it.
constexpr int FamilyCode(Family family) { return static_cast<int>(family); }

enum class Core { k12Bit, k14Bit, kPic18, kSerialEeprom };

/// How the write goes through program memory.
enum class ProgramLoop {
  kOtp,          // pulses until the word reads back, then over-programming
  kWordByWord,   // one erase-and-program cycle per word
  kPairs,        // two words loaded, one cycle
  kLatchBlocks,  // four latches, one program-only cycle per block
  kPic18,        // eight-byte panel writes
  kSerialEeprom, // page writes on the two-wire bus
};

/// How one program or ID word is programmed.
enum class WordProgramming { kOtpPulses, kEraseProgramLong, kEraseProgramMedium, kProgramOnly };

/// How an erase clears the chip.
enum class EraseMethod {
  kBulkWithCodeProtect,  // bulk erase program and data, then the code-protect erase paths
  kBulkProgram,          // bulk erase of program memory only
  kChipErase,            // one Chip Erase command
  kPic18,
  kSerialEeprom,
};

/// How the configuration word is written.
enum class ConfigWrite {
  kOtpPulses,
  kSelfTimed,                  // Begin Programming, internally timed
  kSelfTimedKeepingBandgap,    // the same, with the factory band-gap bits put back
  kExternalKeepingBandgap,     // Begin Programming, externally timed, End Programming
  kProgramOnly,                // Begin Programming Only ... End Programming
  kPic18,                      // configuration bytes of their own
};

/// How the 14-bit data EEPROM is written, if the write loop writes it.
enum class DataWrite { kNone, kSelfTimed, kProgramOnly };

/// A family's row; the defaults are those of a 14-bit one-time-programmable part.
struct FamilyTraits {
  Family family = Family::kEprom;
  std::string_view description;
  Core core = Core::k14Bit;
  /// Can be erased electrically (no UV window): the erase command is offered.
  bool erasable = false;
  /// A 14-bit flash part: the write may erase first; the "turbo" option is for the others.
  bool flash14 = false;
  ProgramLoop programLoop = ProgramLoop::kOtp;
  WordProgramming wordProgramming = WordProgramming::kOtpPulses;
  /// Program and ID words are cycled with Begin Programming Only ... End
  /// Programming (the 16F87xA, DS39589), whatever pulse the loop asks for.
  bool programOnlyCycles = false;
  EraseMethod erase = EraseMethod::kBulkWithCodeProtect;
  ConfigWrite configWrite = ConfigWrite::kOtpPulses;
  DataWrite dataWrite = DataWrite::kNone;
  /// The waits of a part the part table does not know: the family's longest.
  TimingClass fallbackTiming = TimingClass::kEprom14;
  /// An erased program-memory word.
  int32_t blankWord = 0x3FFF;
  /// All ones of the configuration word the fuse editor starts from.
  int32_t configBlankWord = 0x3FFF;
  /// Serial numbers go into program memory as this instruction with the
  /// number's byte (RETLW); 0: as the plain number.
  int32_t serialWordBase = 0;
};

/// The row of `family`; a code the table lacks is a one-time-programmable
/// 14-bit part, as the catalogue defines.
const FamilyTraits& TraitsOf(Family family);

}  // namespace quorvi
