// SPDX-License-Identifier: GPL-3.0-or-later
// The calibration file reader, for a device picked by the first byte.
#include <cstdint>

#include "fuzz_input.h"
#include "image/calibration.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace quorvi;
  if (size < 1) return 0;
  const std::string path = fuzz::AsFile(data + 1, size - 1, "in.cal");
  const DeviceDescriptor device = fuzz::DeviceFor(data[0]);
  MemoryImage image;
  ResetImageOnSelection(device, image);
  (void)LoadCalibrationFile(path, device, image);
  return 0;
}
