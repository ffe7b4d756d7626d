// SPDX-License-Identifier: GPL-3.0-or-later
// Device records for tests, built by hand. Sizes follow the parts' data
// sheets: `programSize` is the highest program word address.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "device/device_descriptor.h"

namespace quorvi::test {

struct DeviceFields {
  std::string name;
  int32_t programSize = 0;
  Family family = Family::kFuture;
  int16_t dataBytes = 0;
  int16_t fuseMap = 0;
};

DeviceDescriptor MakeDevice(const DeviceFields& fields);

inline DeviceDescriptor Pic16F84() { return MakeDevice({"16F84", 0x3FF, Family::kFlash, 64}); }
inline DeviceDescriptor Pic16F84A() { return MakeDevice({"16F84A", 0x3FF, Family::kFlash, 64}); }
inline DeviceDescriptor Pic16F628A() { return MakeDevice({"16F628A", 0x7FF, Family::kFlashChipErase, 128}); }
inline DeviceDescriptor Pic16F877A() { return MakeDevice({"16F877A", 0x1FFF, Family::kFlashChipErase, 256}); }
inline DeviceDescriptor Pic12C508A() { return MakeDevice({"12C508A", 0x1FF, Family::kCore12}); }
inline DeviceDescriptor Pic16C505() { return MakeDevice({"16C505", 0x3FF, Family::kCore12}); }
inline DeviceDescriptor Pic14000() { return MakeDevice({"14000", 0xFFF, Family::kEpromCalibrated}); }
inline DeviceDescriptor Pic16C622() { return MakeDevice({"16C622", 0x7FF, Family::kEprom}); }
inline DeviceDescriptor Pic18F452() { return MakeDevice({"18F452", 0x3FFF, Family::kPic18, 256}); }
inline DeviceDescriptor Pic18F6720() { return MakeDevice({"18F6720", 0xFFFF, Family::kPic18, 1024}); }
inline DeviceDescriptor Eeprom24C16() { return MakeDevice({"24C16", 0x7FF, Family::kSerialEeprom}); }
inline DeviceDescriptor Eeprom24LC512() { return MakeDevice({"24LC512", 0xFFFF, Family::kSerialEeprom}); }

/// Every device of the shipped catalogue, with its record and fuse map.
std::vector<DeviceDescriptor> ShippedCatalogue();

}  // namespace quorvi::test
