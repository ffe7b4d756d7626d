// SPDX-License-Identifier: GPL-3.0-or-later
// The byte-wide configuration registers of the 18F parts in the catalogue.
#pragma once

#include <cstdint>
#include <string>

#include "device/device_descriptor.h"

namespace quorvi {

/// CONFIG1L..CONFIG7H at 300000h..30000Dh.
inline constexpr int kConfig18Registers = 14;

/// The bits that the part implements in the register at 300000h + `offset`
/// (the others read 0); 0 where it has no register there.
uint8_t Config18ImplementedBits(const DeviceDescriptor& device, int offset);

/// The register's short name: "1L" for 300000h, "1H" for 300001h, ...
std::string Config18RegisterName(int offset);

}  // namespace quorvi
