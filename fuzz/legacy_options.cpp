// SPDX-License-Identifier: GPL-3.0-or-later
// The legacy command line (/Q, /D:, /F:, /W) and one catalogue device line.
#include <cstdint>
#include <string>

#include "app/command_line.h"
#include "device/catalogue.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  (void)quorvi::ParseLegacyOptions(text);
  quorvi::DeviceDescriptor device;
  (void)quorvi::ParseDeviceLine(text, device);
  return 0;
}
