// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/memory_image.h"

#include <algorithm>

namespace quorvi {

int32_t BlankWordForFamily(int familyCode) {
  if (familyCode == family::kSerialEeprom) return 0xFF;
  if (familyCode == family::kCore12) return 0xFFF;
  return 0x3FFF;
}

void ClearImage(const DeviceDescriptor& device, MemoryImage& image) {
  const int32_t blank = BlankWordForFamily(device.family);
  std::fill_n(image.programBuffer.begin(), image_address::kClearBufferSlots, blank);
  image.dataBuffer.fill(0xFF);
}

void ResetImageOnSelection(const DeviceDescriptor& device, MemoryImage& image) {
  const bool core12 = device.family == family::kCore12;
  const int32_t blank = core12 ? 0xFFF : 0x3FFF;
  const int32_t last = std::min(device.programSize, MemoryImage::kProgramSlots - 1);
  for (int32_t a = 0; a <= last; ++a) image.programBuffer[static_cast<size_t>(a)] = blank;
  for (int i = 0; i < 4; ++i) image.idWords[static_cast<size_t>(i)] = core12 ? 0xF : blank;
  image.dataBuffer.fill(0xFF);
  image.configWord = device.fuseMap == 21 ? (blank & 0x1FF) : blank;
}

}  // namespace quorvi
