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
  ApplyPartRules(device);
  return device;
}

std::vector<DeviceDescriptor> ShippedCatalogue() {
  const CatalogueText catalogue = ReadCatalogue(std::string(QUORVI_DATA_DIR) + "/device.ini").value();
  DeviceDescriptor scratch;
  Result<std::vector<std::string>> names = FillDeviceList(catalogue, scratch);
  EXPECT_TRUE(names.ok()) << names.message();
  std::vector<DeviceDescriptor> devices;
  if (!names) return devices;
  for (std::string name : names.value()) {
    name.pop_back();  // the list entry's blank
    DeviceDescriptor d;
    EXPECT_TRUE(LoadDeviceRecord(catalogue, name, d).ok()) << name;
    EXPECT_TRUE(LoadFuseMap(catalogue, d.fuseMap, d).ok()) << name;
    devices.push_back(d);
  }
  return devices;
}

}  // namespace quorvi::test
