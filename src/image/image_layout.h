// SPDX-License-Identifier: GPL-3.0-or-later
// Where each memory of a device sits in an image file, in the byte addresses
// that gpasm, gplink, MPLAB-style INHX8M/INHX32 files and srec_cat use.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "device/device_descriptor.h"
#include "image/intel_hex.h"
#include "image/memory_image.h"

namespace quorvi {

/// How a device's memories are laid out in a file.
enum class ImageCore { kCore12, kCore14, kPic18, kSerialEeprom };
ImageCore ImageCoreOf(const DeviceDescriptor& device);

/// The bits a program word of the core holds.
int32_t ProgramWordMask(ImageCore core);

/// Data of a file that no memory of the device takes, and what it would be.
struct OutsideRange {
  uint32_t first = 0;
  uint32_t last = 0;
  std::string meaning;
};

struct PlacementReport {
  std::vector<OutsideRange> outside;
  /// IDs or configuration of a 12-bit part came from the records our earlier
  /// versions wrote at 2000h-2007h.
  bool oldIdRecords = false;
};

/// Puts every byte of `blocks` into the image cell its address names for
/// `device`; words are kept unsigned, masked to the core's width.
PlacementReport PlaceFileBytes(const std::vector<HexBlock>& blocks, const DeviceDescriptor& device,
                               MemoryImage& image);

/// What a file of the image holds: program words firstWord..endWord-1 (within
/// the device's memory); when `wholeChip`, also the data EEPROM; when
/// `idsAndConfig`, the ID words and the configuration. Blocks in address order.
std::vector<HexBlock> ImageFileBlocks(const DeviceDescriptor& device, const MemoryImage& image, int32_t firstWord,
                                      int32_t endWord, bool wholeChip, bool idsAndConfig);

/// One line per range, as "byte addresses 4010h-4011h: configuration word 2008h,
/// which the 16F84A does not have".
std::string OutsideText(const std::vector<OutsideRange>& outside);

}  // namespace quorvi
