// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace quorvi {

/// Core family codes of the catalogue. 1, 6, 8 and 9 are electrically
/// erasable 14-bit parts, each with its own erase and configuration
/// sequence; every code not named here is a one-time-programmable 14-bit family.
namespace family {
inline constexpr int kFuture = 0;  // listed, not programmable yet
inline constexpr int kCore12 = 4;
inline constexpr int kSerialEeprom = 5;
inline constexpr int kPic18 = 7;
}  // namespace family

/// True for the electrically erasable 14-bit families 1, 6, 8 and 9.
constexpr bool IsFlash14(int familyCode) {
  return familyCode == 1 || familyCode == 6 || familyCode == 8 || familyCode == 9;
}

/// Number of fuse-name slots; only 0 to 15 are ever filled, but mask
/// searches look at all of them.
inline constexpr int kFuseNameSlots = 21;

/// One device of the catalogue: the selected device's record.
struct DeviceDescriptor {
  std::string name;
  /// The highest program word address: operations run from 0 to it
  /// inclusive (for a 24Cxx, its size value). 0: nothing can be done.
  int32_t programSize = 0;
  int16_t dataBytes = 0;
  int16_t family = family::kFuture;
  int16_t fuseMap = 0;
  /// 1: warn before writing with code protection on.
  int16_t writeMode = 0;
  int16_t pinCount = 0;
  /// Below 1: no oscillator and no ID words.
  int16_t oscList = 0;
  uint8_t wrtList = 0;
  /// Bytes per page write of a 24Cxx.
  int16_t pageSize = 0;
  float vddMin = 0.0F;
  float vddMax = 0.0F;
  /// Index = configuration-word bit; a trailing "/" marks a bit of opposite sense.
  std::array<std::string, kFuseNameSlots> fuseNames;
  /// The fuse-map line ends "P P": words travel with two check bits, and
  /// words equal to the blank value are programmed too.
  bool pairFlag = false;
};

}  // namespace quorvi
