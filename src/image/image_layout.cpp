// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_layout.h"

#include <algorithm>

#include "util/arith.h"

namespace quorvi {

namespace {

enum class Area { kProgram, kIds, kConfig, kData };

struct Region {
  Area area;
  uint32_t first;
  uint32_t size;
  bool old = false;  // the place our earlier versions used
};

// gpasm and MPLAB: 14-bit IDs at 2000h-2003h, configuration at 2007h, data
// EEPROM from 2100h, one byte per word; 18F IDs at 200000h, configuration at
// 300000h, data EEPROM at F00000h (DS39576 Figure 2-2 and gpasm's INHX32).
constexpr uint32_t kCore14Ids = 0x4000;
constexpr uint32_t kCore14Config = 0x400E;
constexpr uint32_t kCore14Data = 0x4200;
constexpr uint32_t kCore12Config = 0x1FFE;
constexpr uint32_t kPic18Ids = 0x200000;
constexpr uint32_t kPic18Config = 0x300000;
constexpr uint32_t kPic18Data = 0xF00000;
constexpr uint32_t kIdBytes = 8;
constexpr uint32_t kConfig18Bytes = 14;

uint32_t ProgramBytes(const DeviceDescriptor& device, ImageCore core) {
  const auto words = static_cast<uint32_t>(std::max(device.programSize, 0) + 1);
  return core == ImageCore::kSerialEeprom ? words : 2 * words;
}

uint32_t DataBytes(const DeviceDescriptor& device) {
  return static_cast<uint32_t>(std::clamp<int>(device.dataBytes, 0, MemoryImage::kDataSlots - 1));
}

std::vector<Region> RegionsOf(const DeviceDescriptor& device, ImageCore core) {
  const uint32_t program = ProgramBytes(device, core);
  const uint32_t data = DataBytes(device);
  switch (core) {
    case ImageCore::kCore14:
      return {{Area::kProgram, 0, program},
              {Area::kIds, kCore14Ids, kIdBytes},
              {Area::kConfig, kCore14Config, 2},
              {Area::kData, kCore14Data, 2 * data}};
    case ImageCore::kCore12:
      return {{Area::kProgram, 0, program},
              {Area::kIds, program, kIdBytes},
              {Area::kConfig, kCore12Config, 2},
              {Area::kIds, kCore14Ids, kIdBytes, true},
              {Area::kConfig, kCore14Config, 2, true}};
    case ImageCore::kPic18:
      return {{Area::kProgram, 0, program},
              {Area::kIds, kPic18Ids, kIdBytes},
              {Area::kConfig, kPic18Config, kConfig18Bytes},
              {Area::kData, kPic18Data, data}};
    case ImageCore::kSerialEeprom:
      break;
  }
  return {{Area::kProgram, 0, program}};
}

// One byte of a little-endian word cell.
void PutWordByte(int32_t& cell, uint32_t offset, uint8_t byte, int32_t mask) {
  const uint32_t shift = (offset & 1U) * 8U;
  const uint32_t kept = static_cast<uint32_t>(cell) & ~(0xFFU << shift) & 0xFFFFU;
  cell = static_cast<int32_t>((kept | (static_cast<uint32_t>(byte) << shift)) & static_cast<uint32_t>(mask));
}

void PutByte(const Region& region, ImageCore core, int32_t mask, uint32_t offset, uint8_t byte, MemoryImage& image) {
  switch (region.area) {
    case Area::kProgram:
      if (core != ImageCore::kSerialEeprom) {
        PutWordByte(image.programBuffer[offset / 2], offset, byte, mask);
      } else {
        image.programBuffer[offset] = byte;
      }
      return;
    case Area::kIds:
      PutWordByte(image.idWords[offset / 2], offset, byte, mask);
      return;
    case Area::kConfig:
      if (core == ImageCore::kPic18) {
        image.config18Bytes[offset] = byte;
      } else {
        PutWordByte(image.configWord, offset, byte, mask);
      }
      return;
    case Area::kData:
      // 14-bit files give each data byte a word of its own; its high byte means nothing.
      if (core == ImageCore::kPic18) {
        image.dataBuffer[offset] = byte;
      } else if (offset % 2 == 0) {
        image.dataBuffer[offset / 2] = byte;
      }
      return;
  }
}

std::string Hex(uint32_t value, size_t digits) { return PadLeft(HexText(static_cast<int32_t>(value)), digits) + "h"; }

std::string Span(uint32_t first, uint32_t last, size_t digits) {
  return first == last ? Hex(first, digits) : Hex(first, digits) + "-" + Hex(last, digits);
}

// What bytes first..last (all in one zone) would be.
enum class Zone { kNowhere, kProgram, kDeviceId, kConfig, kData };

Zone ZoneOf(ImageCore core, uint32_t b) {
  const uint32_t w = b / 2;
  switch (core) {
    case ImageCore::kCore14:
      if (w < 0x2000) return Zone::kProgram;
      if (w >= 0x2004 && w <= 0x2006) return Zone::kDeviceId;
      if (w >= 0x2008 && w <= 0x20FF) return Zone::kConfig;
      if (w >= 0x2100 && w <= 0x21FF) return Zone::kData;
      return Zone::kNowhere;
    case ImageCore::kCore12:
      return w < 0x0FFF ? Zone::kProgram : Zone::kNowhere;
    case ImageCore::kPic18:
      if (b < kPic18Ids) return Zone::kProgram;
      if (b >= kPic18Config + kConfig18Bytes && b < 0x3FFFFE) return Zone::kConfig;
      if (b >= 0x3FFFFE && b <= 0x3FFFFF) return Zone::kDeviceId;
      if (b >= kPic18Data && b < kPic18Data + 0x10000) return Zone::kData;
      return Zone::kNowhere;
    case ImageCore::kSerialEeprom:
      break;
  }
  return b < 0x10000 ? Zone::kProgram : Zone::kNowhere;
}

std::string Meaning(const DeviceDescriptor& device, ImageCore core, Zone zone, uint32_t first, uint32_t last) {
  const std::string& name = device.name;
  const bool bytes = core == ImageCore::kPic18 || core == ImageCore::kSerialEeprom;
  const uint32_t unit = bytes ? 1 : 2;
  const std::string plural = (bytes ? first == last : first / 2 == last / 2) ? "" : "s";
  const std::string words =
      bytes ? "byte" + plural + " " + Span(first, last, 4) : "word" + plural + " " + Span(first / 2, last / 2, 4);
  switch (zone) {
    case Zone::kProgram:
      return "program " + words + ", beyond the " + name + "'s program memory (" +
             Span(0, ProgramBytes(device, core) / unit - 1, 4) + ")";
    case Zone::kDeviceId:
      return words + ", the device ID, which no file sets";
    case Zone::kConfig:
      return "configuration " + words + ", which the " + name + " does not have";
    case Zone::kData: {
      const uint32_t start = core == ImageCore::kPic18 ? kPic18Data : kCore14Data;
      const uint32_t k1 = (first - start) / unit, k2 = (last - start) / unit;
      return "data EEPROM byte" + std::string(k1 == k2 ? "" : "s") + " " + Span(k1, k2, 2) + ", beyond the " + name +
             "'s " +
             std::to_string(DataBytes(device)) + " bytes";
    }
    case Zone::kNowhere:
      break;
  }
  return words + ", outside every memory of the " + name;
}

void AddOutside(const DeviceDescriptor& device, ImageCore core, uint32_t first, uint32_t end,
                std::vector<OutsideRange>& outside) {
  uint32_t start = first;
  while (start < end) {
    const Zone zone = ZoneOf(core, start);
    uint32_t last = start;
    while (last + 1 < end && ZoneOf(core, last + 1) == zone) ++last;
    outside.push_back({start, last, Meaning(device, core, zone, start, last)});
    start = last + 1;
  }
}

// Words as the chip holds them, low byte first.
HexBlock WordBlock(uint32_t address, const int32_t* words, size_t count, int32_t mask) {
  HexBlock block{address, std::string(2 * count, '\0'), {}};
  char* out = block.bytes.data();  // a char store through the string would reload its pointer each time
  for (size_t i = 0; i < count; ++i) {
    const auto word = static_cast<uint32_t>(words[i] & mask);
    out[2 * i] = static_cast<char>(word & 0xFFU);
    out[2 * i + 1] = static_cast<char>((word >> 8U) & 0xFFU);
  }
  return block;
}

}  // namespace

ImageCore ImageCoreOf(const DeviceDescriptor& device) {
  if (device.core() == Core::kSerialEeprom) return ImageCore::kSerialEeprom;
  if (device.core() == Core::kPic18) return ImageCore::kPic18;
  if (device.core() == Core::k12Bit || device.rules.fileCore12) return ImageCore::kCore12;
  return ImageCore::kCore14;
}

int32_t ProgramWordMask(ImageCore core) {
  switch (core) {
    case ImageCore::kCore12: return 0xFFF;
    case ImageCore::kCore14: return 0x3FFF;
    case ImageCore::kPic18: return 0xFFFF;
    case ImageCore::kSerialEeprom: break;
  }
  return 0xFF;
}

PlacementReport PlaceFileBytes(const std::vector<HexBlock>& blocks, const DeviceDescriptor& device,
                               MemoryImage& image) {
  const ImageCore core = ImageCoreOf(device);
  const int32_t mask = ProgramWordMask(core);
  std::vector<Region> regions = RegionsOf(device, core);
  std::sort(regions.begin(), regions.end(), [](const Region& a, const Region& b) { return a.first < b.first; });
  PlacementReport report;
  for (const HexBlock& block : blocks) {
    uint32_t covered = block.address;  // everything before this is placed or reported
    for (const Region& region : regions) {
      const uint32_t from = std::max(block.address, region.first);
      const uint32_t to = std::min(block.end(), region.first + region.size);
      if (from >= to) continue;
      if (from > covered) AddOutside(device, core, covered, from, report.outside);
      const auto byteAt = [&block](uint32_t a) { return static_cast<uint8_t>(block.bytes[a - block.address]); };
      uint32_t a = from;
      if (region.area == Area::kProgram && core != ImageCore::kSerialEeprom) {
        // The bulk of a file, a whole word at a time.
        if ((a - region.first) % 2 != 0) {
          PutByte(region, core, mask, a - region.first, byteAt(a), image);
          ++a;
        }
        for (; a + 1 < to; a += 2) {
          image.programBuffer[(a - region.first) / 2] = (byteAt(a) | byteAt(a + 1) << 8U) & mask;
        }
      }
      for (; a < to; ++a) PutByte(region, core, mask, a - region.first, byteAt(a), image);
      report.oldIdRecords = report.oldIdRecords || region.old;
      covered = to;
    }
    if (covered < block.end()) AddOutside(device, core, covered, block.end(), report.outside);
  }
  return report;
}

std::vector<HexBlock> ImageFileBlocks(const DeviceDescriptor& device, const MemoryImage& image, int32_t firstWord,
                                      int32_t endWord, bool wholeChip, bool idsAndConfig) {
  const ImageCore core = ImageCoreOf(device);
  const int32_t mask = ProgramWordMask(core);
  const int32_t last = std::min(endWord, device.programSize + 1);
  std::vector<HexBlock> blocks;
  if (firstWord < last) {
    const int32_t* words = image.programBuffer.data() + firstWord;
    const auto count = static_cast<size_t>(last - firstWord);
    if (core == ImageCore::kSerialEeprom) {
      HexBlock block{static_cast<uint32_t>(firstWord), std::string(count, '\0'), {}};
      for (size_t i = 0; i < count; ++i) block.bytes[i] = static_cast<char>(words[i] & 0xFF);
      blocks.push_back(std::move(block));
    } else {
      blocks.push_back(WordBlock(2 * static_cast<uint32_t>(firstWord), words, count, mask));
    }
  }
  if (core == ImageCore::kSerialEeprom) return blocks;
  const std::vector<Region> regions = RegionsOf(device, core);
  const uint32_t data = DataBytes(device);
  for (const Region& region : regions) {
    if (region.old || region.area == Area::kProgram || region.size == 0) continue;
    if (region.area == Area::kData && !wholeChip) continue;
    if (region.area != Area::kData && !idsAndConfig) continue;
    HexBlock block{region.first, {}, {}};
    switch (region.area) {
      case Area::kIds:
        block = WordBlock(region.first, image.idWords.data(), kIdBytes / 2, mask);
        break;
      case Area::kConfig:
        if (core == ImageCore::kPic18) {
          block.bytes.assign(image.config18Bytes.begin(), image.config18Bytes.end());
        } else {
          block = WordBlock(region.first, &image.configWord, 1, mask);
        }
        break;
      case Area::kData:
        for (uint32_t k = 0; k < data; ++k) {
          block.bytes += static_cast<char>(image.dataBuffer[k] & 0xFF);
          if (core != ImageCore::kPic18) block.bytes += '\0';
        }
        break;
      case Area::kProgram:
        break;
    }
    blocks.push_back(std::move(block));
  }
  std::sort(blocks.begin(), blocks.end(), [](const HexBlock& a, const HexBlock& b) { return a.address < b.address; });
  return blocks;
}

std::string OutsideText(const std::vector<OutsideRange>& outside) {
  std::string text;
  for (const OutsideRange& range : outside) {
    text += "byte addresses " + Span(range.first, range.last, 4) + ": " + range.meaning + "\n";
  }
  return text;
}

}  // namespace quorvi
