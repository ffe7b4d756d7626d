// SPDX-License-Identifier: GPL-3.0-or-later
// Device records for tests, built by hand until the catalogue reader can
// supply them. Sizes follow the parts' data sheets: `programSize` is the
// highest program word address.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "device/device_descriptor.h"

namespace quorvi::test {

struct DeviceFields {
  std::string name;
  int32_t programSize = 0;
  int16_t family = 0;
  int16_t dataBytes = 0;
  int16_t fuseMap = 0;
};

DeviceDescriptor MakeDevice(const DeviceFields& fields);

DeviceDescriptor Pic16F84();   // 1K words, 64 data bytes, flash (family 1)
DeviceDescriptor Pic16F84A();  // as the 16F84
DeviceDescriptor Pic16F628();  // 2K words, 128 data bytes, flash (family 8)
DeviceDescriptor Pic16F628A();
DeviceDescriptor Pic12C508A();  // 512 words, 12-bit core (family 4)
DeviceDescriptor Pic16C505();   // 1K words, 12-bit core
DeviceDescriptor Pic14000();    // 4K words, one-time programmable (family 3)
DeviceDescriptor Pic16C622();   // 2K words, one-time programmable 14-bit (family 2)
DeviceDescriptor Pic18F452();   // 16K words (family 7)
DeviceDescriptor Pic18F6720();  // 64K words
DeviceDescriptor Eeprom24C16();   // 2K bytes (family 5)
DeviceDescriptor Eeprom24LC512(); // 64K bytes

/// Every device of the shipped catalogue, with its record and fuse map.
std::vector<DeviceDescriptor> ShippedCatalogue();

}  // namespace quorvi::test
