// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/family.h"

#include <algorithm>
#include <array>

namespace quorvi {

namespace {

using F = Family;
using L = ProgramLoop;
using W = WordProgramming;
using E = EraseMethod;
using C = ConfigWrite;
using D = DataWrite;
using T = TimingClass;

constexpr int32_t kRetlw12 = 0x800;
constexpr int32_t kRetlw14 = 0x3400;

// Cycles and sequences per family: DS30262 (16F8x), DS30034 (16F62x),
// DS30324 (16F7x), DS39589 (16F87xA), DS39603 (16F81x), DS30228 (14-bit
// EPROM), DS40152 (12-bit), DS39576 (18F), DS21202 and its kin (24Cxx).
constexpr std::array kFamilies = {
    FamilyTraits{.family = F::kFuture, .description = "future product"},
    FamilyTraits{.family = F::kFlash, .description = "14-bit flash", .erasable = true, .flash14 = true,
                 .programLoop = L::kWordByWord, .wordProgramming = W::kEraseProgramLong,
                 .configWrite = C::kSelfTimedKeepingBandgap, .dataWrite = D::kSelfTimed,
                 .fallbackTiming = T::kFlash16F8x, .serialWordBase = kRetlw14},
    FamilyTraits{.family = F::kEprom, .description = "14-bit EPROM", .serialWordBase = kRetlw14},
    FamilyTraits{.family = F::kEpromCalibrated, .description = "14-bit EPROM with calibration block"},
    FamilyTraits{.family = F::kCore12, .description = "12-bit EPROM", .core = Core::k12Bit,
                 .fallbackTiming = T::kEprom12, .blankWord = 0xFFF, .configBlankWord = 0xFFF,
                 .serialWordBase = kRetlw12},
    FamilyTraits{.family = F::kSerialEeprom, .description = "serial EEPROM", .core = Core::kSerialEeprom,
                 .erasable = true, .programLoop = L::kSerialEeprom, .erase = E::kSerialEeprom, .blankWord = 0xFF},
    FamilyTraits{.family = F::kFlashPairs, .description = "14-bit flash, two words a cycle", .erasable = true,
                 .flash14 = true, .programLoop = L::kPairs, .wordProgramming = W::kEraseProgramMedium,
                 .erase = E::kBulkProgram, .configWrite = C::kExternalKeepingBandgap,
                 .fallbackTiming = T::kFlash16F7x},
    FamilyTraits{.family = F::kPic18, .description = "18F flash", .core = Core::kPic18, .erasable = true,
                 .programLoop = L::kPic18, .erase = E::kPic18, .configWrite = C::kPic18,
                 .fallbackTiming = T::kPic18, .blankWord = 0xFFFF},
    FamilyTraits{.family = F::kFlashChipErase, .description = "14-bit flash with chip erase", .erasable = true,
                 .flash14 = true, .programLoop = L::kWordByWord, .wordProgramming = W::kEraseProgramLong,
                 .programOnlyCycles = true, .erase = E::kChipErase, .configWrite = C::kSelfTimed,
                 .dataWrite = D::kProgramOnly, .fallbackTiming = T::kFlash16F87xA},
    FamilyTraits{.family = F::kFlashLatches, .description = "14-bit flash with chip erase, 4-word latches",
                 .erasable = true, .flash14 = true, .programLoop = L::kLatchBlocks,
                 .wordProgramming = W::kProgramOnly, .erase = E::kChipErase, .configWrite = C::kProgramOnly,
                 .dataWrite = D::kProgramOnly, .fallbackTiming = T::kFlash16F81x},
};

// A code the catalogue does not name.
constexpr FamilyTraits kOtherOtp{.description = "14-bit one-time-programmable"};

}  // namespace

const FamilyTraits& TraitsOf(Family family) {
  const auto it = std::find_if(kFamilies.begin(), kFamilies.end(),
                               [family](const FamilyTraits& row) { return row.family == family; });
  return it != kFamilies.end() ? *it : kOtherOtp;
}

}  // namespace quorvi
