// SPDX-License-Identifier: GPL-3.0-or-later
// The chip families and the facts of each, in one table. A catalogue code
// becomes a `Family` where the catalogue is read; nothing else looks at the
// number. What a family does on the wires is its file under ops/, chosen by
// the registry there.
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

/// A family's row; the defaults are those of a 14-bit one-time-programmable part.
struct FamilyTraits {
  Family family = Family::kEprom;
  std::string_view description;
  Core core = Core::k14Bit;
  /// Can be erased electrically (no UV window): the erase command is offered.
  bool erasable = false;
  /// A 14-bit flash part: the write may erase first; the "turbo" option is for the others.
  bool flash14 = false;
  /// Program and ID words are cycled with Begin Programming Only ... End
  /// Programming (the 16F87xA, DS39589), whatever pulse the loop asks for.
  bool programOnlyCycles = false;
  /// The window lists its data EEPROM (the 14-bit flash parts that have one).
  bool dataListShown = false;
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
