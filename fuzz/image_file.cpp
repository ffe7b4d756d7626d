// SPDX-License-Identifier: GPL-3.0-or-later
// The image file reader: HEX, BIN or TIF by the first byte, for a device picked by the second.
#include <cstdint>

#include "fuzz_input.h"
#include "image/image_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace quorvi;
  if (size < 2) return 0;
  static const char* const kNames[] = {"in.hex", "in.bin", "in.tif", "in.obj"};
  const std::string path = fuzz::AsFile(data + 2, size - 2, kNames[data[0] % 4]);
  const DeviceDescriptor device = fuzz::DeviceFor(data[1]);
  MemoryImage image;
  ResetImageOnSelection(device, image);
  (void)LoadImageFile(path, (data[1] & 0x80) != 0, device, image);
  return 0;
}
