// SPDX-License-Identifier: GPL-3.0-or-later
// What the catalogue's fixed columns cannot say about a part and every
// careful operation needs: its timing, device ID, implemented configuration
// bits, the order of its mode entry and its bus speed. From the parts'
// programming documents and data sheets; the simulator keeps its own table.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "device/device_descriptor.h"
#include "protocol/timing.h"

namespace quorvi {

struct PartFacts {
  std::string_view name;
  TimingClass timing = TimingClass::kFlash16F8x;
  /// The device ID without its revision bits (14-bit: the word at 2006h,
  /// bits 13:5; 18F: DEVID2:DEVID1, bits 15:5); nullopt for parts without one.
  std::optional<int> deviceId{};
  /// The configuration bits the part implements for the user (14- or 12-bit
  /// word); the others read back as the silicon chooses and are never compared.
  int configMask = 0x3FFF;
  /// MCLR must reach Vpp before Vdd rises: with the internal oscillator and
  /// MCLR as an input the part would otherwise start running its program.
  bool vppFirst = false;
  /// 24Cxx: the two-wire speed the part takes at 5 V.
  BusSpeed bus = BusSpeed::kStandard;
};

/// The facts of `device`: its own entry, or for a part the table does not
/// know, the most careful ones for its family (the longest waits, no ID, every
/// configuration bit compared).
PartFacts FactsFor(const DeviceDescriptor& device);

/// Every part the table knows.
std::span<const PartFacts> KnownParts();

/// The revision bits below a device ID (both cores keep them in bits 4:0).
inline constexpr int kRevisionBits = 0x1F;

/// The part whose device ID `idWord` is (revision bits ignored), among the
/// 18F parts or the 12/14-bit ones.
std::optional<std::string_view> PartWithId(int idWord, bool pic18);

}  // namespace quorvi
