// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/devices.h"

#include <gtest/gtest.h>

#include "device/catalogue.h"

namespace quorvi::test {

DeviceDescriptor MakeDevice(const DeviceFields& fields) {
  DeviceDescriptor device;
  device.name = fields.name;
  device.programSize = fields.programSize;
  device.family = fields.family;
  device.dataBytes = fields.dataBytes;
  device.fuseMap = fields.fuseMap;
  return device;
}

DeviceDescriptor Pic16F84() { return MakeDevice({.name = "16F84", .programSize = 0x3FF, .family = 1, .dataBytes = 64}); }
DeviceDescriptor Pic16F84A() {
  return MakeDevice({.name = "16F84A", .programSize = 0x3FF, .family = 1, .dataBytes = 64});
}
DeviceDescriptor Pic16F628() {
  return MakeDevice({.name = "16F628", .programSize = 0x7FF, .family = 8, .dataBytes = 128});
}
DeviceDescriptor Pic16F628A() {
  return MakeDevice({.name = "16F628A", .programSize = 0x7FF, .family = 8, .dataBytes = 128});
}
DeviceDescriptor Pic12C508A() { return MakeDevice({.name = "12C508A", .programSize = 0x1FF, .family = 4}); }
DeviceDescriptor Pic16C505() { return MakeDevice({.name = "16C505", .programSize = 0x3FF, .family = 4}); }
DeviceDescriptor Pic14000() { return MakeDevice({.name = "14000", .programSize = 0xFFF, .family = 3}); }
DeviceDescriptor Pic16C622() { return MakeDevice({.name = "16C622", .programSize = 0x7FF, .family = 2}); }
DeviceDescriptor Pic18F452() {
  return MakeDevice({.name = "18F452", .programSize = 0x3FFF, .family = 7, .dataBytes = 256});
}
DeviceDescriptor Pic18F6720() {
  return MakeDevice({.name = "18F6720", .programSize = 0xFFFF, .family = 7, .dataBytes = 1024});
}
DeviceDescriptor Eeprom24C16() { return MakeDevice({.name = "24C16", .programSize = 0x7FF, .family = 5}); }
DeviceDescriptor Eeprom24LC512() { return MakeDevice({.name = "24LC512", .programSize = 0xFFFF, .family = 5}); }

std::vector<DeviceDescriptor> ShippedCatalogue() {
  const std::string path = std::string(QUORVI_DATA_DIR) + "/device.ini";
  DeviceDescriptor scratch;
  Result<std::vector<std::string>> names = FillDeviceList(path, scratch);
  EXPECT_TRUE(names.ok()) << names.message();
  std::vector<DeviceDescriptor> devices;
  if (!names) return devices;
  for (std::string name : names.value()) {
    name.pop_back();  // the list entry's blank
    DeviceDescriptor d;
    EXPECT_TRUE(LoadDeviceRecord(path, name, d).ok()) << name;
    EXPECT_TRUE(LoadFuseMap(path, d.fuseMap, d).ok()) << name;
    devices.push_back(d);
  }
  return devices;
}

}  // namespace quorvi::test
