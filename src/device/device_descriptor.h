// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "device/family.h"
#include "device/part_rules.h"

namespace quorvi {

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
  Family family = Family::kFuture;
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
  /// The rules its name and columns imply, worked out when the record is read.
  PartRules rules;

  const FamilyTraits& traits() const { return TraitsOf(family); }
  Core core() const { return traits().core; }
};

/// Works out `device.rules` from its name and columns; the catalogue's
/// readers call it, and so must anything else that fills a descriptor.
inline void ApplyPartRules(DeviceDescriptor& device) {
  device.rules = RulesFor(device.name, device.pinCount, device.oscList, device.fuseMap);
}

}  // namespace quorvi
