// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/memory_image.h"

#include <algorithm>

namespace quorvi {

namespace {

constexpr uint8_t kBlankConfig18 = 0xFF;

}  // namespace

void ClearImage(const DeviceDescriptor& device, MemoryImage& image) {
  const int32_t blank = device.traits().blankWord;
  std::fill_n(image.programBuffer.begin(), image_address::kClearBufferSlots, blank);
  image.dataBuffer.fill(0xFF);
}

void ResetImageOnSelection(const DeviceDescriptor& device, MemoryImage& image) {
  const bool core12 = device.core() == Core::k12Bit;
  const bool pic18 = device.core() == Core::kPic18;
  const int32_t blank = device.traits().configBlankWord;
  const int32_t wordBlank = pic18 ? device.traits().blankWord : blank;
  const int32_t last = std::min(device.programSize, MemoryImage::kProgramSlots - 1);
  for (int32_t a = 0; a <= last; ++a) image.programBuffer[static_cast<size_t>(a)] = wordBlank;
  for (int i = 0; i < 4; ++i) image.idWords[static_cast<size_t>(i)] = core12 ? 0xF : wordBlank;
  image.dataBuffer.fill(0xFF);
  image.configWord = device.rules.bandgap ? (blank & 0x1FF) : blank;
  // Left as they were, the bytes of a write without a file could code-protect the chip.
  if (pic18) image.config18Bytes.fill(kBlankConfig18);
}

}  // namespace quorvi
