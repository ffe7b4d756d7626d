// SPDX-License-Identifier: GPL-3.0-or-later
// The catalogue readers over one file: the device list, every record it
// names with its fuse map, and the option lists those records point at.
#include <cstdint>
#include <string>

#include "device/catalogue.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace quorvi;
  const std::string path = fuzz::AsFile(data, size, "device.ini");
  DeviceDescriptor scratch;
  const Result<std::vector<std::string>> names = FillDeviceList(path, scratch);
  if (!names) return 0;
  for (const std::string& entry : names.value()) {
    DeviceDescriptor device;
    if (!LoadDeviceRecord(path, entry, device)) continue;
    (void)LoadFuseMap(path, device.fuseMap, device);
    (void)FillOptionList(path, std::to_string(device.oscList) + "OSC");
    (void)FillOptionList(path, std::to_string(device.wrtList) + "WRT");
    (void)FuseMask(device, "CP0");
  }
  return 0;
}
