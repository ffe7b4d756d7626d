// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/family.h"

#include <algorithm>
#include <array>

namespace quorvi {

namespace {

using F = Family;
using T = TimingClass;

constexpr int32_t kRetlw12 = 0x800;
constexpr int32_t kRetlw14 = 0x3400;

constexpr std::array kFamilies = {
    FamilyTraits{.family = F::kFuture, .description = "future product"},
    FamilyTraits{.family = F::kFlash, .description = "14-bit flash", .erasable = true, .flash14 = true,
                 .dataListShown = true, .fallbackTiming = T::kFlash16F8x, .serialWordBase = kRetlw14},
    FamilyTraits{.family = F::kEprom, .description = "14-bit EPROM", .serialWordBase = kRetlw14},
    FamilyTraits{.family = F::kEpromCalibrated, .description = "14-bit EPROM with calibration block"},
    FamilyTraits{.family = F::kCore12, .description = "12-bit EPROM", .core = Core::k12Bit,
                 .fallbackTiming = T::kEprom12, .blankWord = 0xFFF, .configBlankWord = 0xFFF,
                 .serialWordBase = kRetlw12},
    FamilyTraits{.family = F::kSerialEeprom, .description = "serial EEPROM", .core = Core::kSerialEeprom,
                 .erasable = true, .blankWord = 0xFF},
    FamilyTraits{.family = F::kFlashPairs, .description = "14-bit flash, two words a cycle", .erasable = true,
                 .flash14 = true, .fallbackTiming = T::kFlash16F7x},
    FamilyTraits{.family = F::kPic18, .description = "18F flash", .core = Core::kPic18, .erasable = true,
                 .fallbackTiming = T::kPic18, .blankWord = 0xFFFF},
    FamilyTraits{.family = F::kFlashChipErase, .description = "14-bit flash with chip erase", .erasable = true,
                 .flash14 = true, .programOnlyCycles = true, .dataListShown = true,
                 .fallbackTiming = T::kFlash16F87xA},
    FamilyTraits{.family = F::kFlashLatches, .description = "14-bit flash with chip erase, 4-word latches",
                 .erasable = true, .flash14 = true, .dataListShown = true, .fallbackTiming = T::kFlash16F81x},
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
