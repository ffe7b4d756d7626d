// SPDX-License-Identifier: GPL-3.0-or-later
// The catalogue readers over one file: the device list, every record it
// names with its fuse map, and the option lists those records point at.
#include <cstdint>
#include <string>

#include "device/catalogue.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace quorvi;
  const Result<CatalogueText> catalogue = ReadCatalogue(fuzz::AsFile(data, size, "device.ini"));
  if (!catalogue) return 0;
  DeviceDescriptor scratch;
  const Result<std::vector<std::string>> names = FillDeviceList(catalogue.value(), scratch);
  if (!names) return 0;
  for (const std::string& entry : names.value()) {
    DeviceDescriptor device;
    if (!LoadDeviceRecord(catalogue.value(), entry, device)) continue;
    (void)LoadFuseMap(catalogue.value(), device.fuseMap, device);
    (void)FillOptionList(catalogue.value(), std::to_string(device.oscList) + "OSC");
    (void)FillOptionList(catalogue.value(), std::to_string(device.wrtList) + "WRT");
    (void)FuseMask(device, "CP0");
  }
  return 0;
}
