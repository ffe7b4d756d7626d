// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/memory_image.h"

#include <algorithm>

namespace quorvi {

namespace {

constexpr int32_t kBlank18 = 0xFFFF;
constexpr uint8_t kBlankConfig18 = 0xFF;

}  // namespace

int32_t BlankWordForFamily(int familyCode) {
  if (familyCode == family::kSerialEeprom) return 0xFF;
  if (familyCode == family::kCore12) return 0xFFF;
  if (familyCode == family::kPic18) return kBlank18;
  return 0x3FFF;
}

void ClearImage(const DeviceDescriptor& device, MemoryImage& image) {
  const int32_t blank = BlankWordForFamily(device.family);
  std::fill_n(image.programBuffer.begin(), image_address::kClearBufferSlots, blank);
  image.dataBuffer.fill(0xFF);
}

void ResetImageOnSelection(const DeviceDescriptor& device, MemoryImage& image) {
  const bool core12 = device.family == family::kCore12;
  const bool pic18 = device.family == family::kPic18;
  const int32_t blank = core12 ? 0xFFF : 0x3FFF;
  const int32_t wordBlank = pic18 ? kBlank18 : blank;
  const int32_t last = std::min(device.programSize, MemoryImage::kProgramSlots - 1);
  for (int32_t a = 0; a <= last; ++a) image.programBuffer[static_cast<size_t>(a)] = wordBlank;
  for (int i = 0; i < 4; ++i) image.idWords[static_cast<size_t>(i)] = core12 ? 0xF : wordBlank;
  image.dataBuffer.fill(0xFF);
  image.configWord = device.fuseMap == 21 ? (blank & 0x1FF) : blank;
  // Left as they were, the bytes of a write without a file could code-protect the chip.
  if (pic18) image.config18Bytes.fill(kBlankConfig18);
}

}  // namespace quorvi
