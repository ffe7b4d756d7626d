// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_writer.h"

#include <algorithm>
#include <cctype>

#include "image/image_layout.h"
#include "image/image_reader.h"
#include "image/image_texts.h"
#include "image/intel_hex.h"
#include "util/arith.h"
#include "util/atomic_file.h"

namespace quorvi {

namespace {

constexpr char kLineEnd[] = "\r\n";
constexpr int32_t kFiveDigitDeviceWords = 32768;
constexpr int32_t kDataSectionEnd = 0x2200;
constexpr int32_t kIdRecordPrefixSum = 0x50;

/// A word as written: its hex text padded to four digits, then the last two
/// digits (low byte) before the first two (high byte). Wider texts are
/// split the same way, as they stand.
struct WordDigits {
  std::string low;
  std::string high;
};

WordDigits SplitWord(const std::string& hex) {
  const std::string text = PadLeft(hex, 4);
  return {text.substr(text.size() - 2), text.substr(0, 2)};
}

int32_t ByteValue(const std::string& twoDigits) { return HexVal(twoDigits); }

std::string ChecksumText(int32_t sum) {
  const int32_t checksum = 256 - (sum % 256);
  return checksum == 256 ? "00" : PadLeft(HexText(checksum), 2);
}

void AppendWord(std::string& out, int32_t& sum, const std::string& hex) {
  const WordDigits digits = SplitWord(hex);
  out += digits.low;
  out += digits.high;
  sum += ByteValue(digits.low) + ByteValue(digits.high);
}

void AppendByte(std::string& out, uint32_t byte) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  out += kDigits[(byte >> 4U) & 0xFU];
  out += kDigits[byte & 0xFU];
}

/// The same for a program word, without building its text when it already
/// fits four digits (nearly always): a large file saves in a few ms.
void AppendProgramWord(std::string& out, int32_t& sum, int32_t word) {
  if (word < 0 || word > 0xFFFF) {
    AppendWord(out, sum, HexText(word));
    return;
  }
  const auto low = static_cast<uint32_t>(word) & 0xFFU;
  const auto high = static_cast<uint32_t>(word) >> 8U;
  AppendByte(out, low);
  AppendByte(out, high);
  sum += static_cast<int32_t>(low + high);
}

Status CheckRange(int32_t firstWord, int32_t endWord) {
  if (firstWord >= 0 && firstWord <= endWord) return Status::Ok();
  return Status::Fail("Cannot save words " + std::to_string(firstWord) + " to " + std::to_string(endWord) +
                      ": the range is empty or negative");
}

bool WritesIdsAndConfig(const DeviceDescriptor& device, int32_t firstWord, SaveIdAnswer answer) {
  return SaveAsksIdQuestion(device, firstWord) && answer == SaveIdAnswer::kYes;
}

Result<std::string> FormatLegacyHex(int32_t firstWord, int32_t& endWord, const DeviceDescriptor& device,
                                    const MemoryImage& image, SaveIdAnswer answer) {
  if (Status range = CheckRange(firstWord, endWord); !range) return range;
  const size_t addressWidth = device.programSize < kFiveDigitDeviceWords ? 4 : 5;
  std::string out;
  out.reserve(static_cast<size_t>(endWord - firstWord) * 5 + 4096);

  out += ':';
  for (int32_t a = firstWord;;) {
    const int32_t remaining = endWord - a;
    const int32_t count = remaining < 7 ? remaining : 8;
    out += remaining < 7 ? PadLeft(HexText(2 * count), 2) : "10";
    int32_t sum = 2 * count;
    const std::string address = PadLeft(HexText(2 * a), addressWidth);
    sum += ByteValue(address.substr(0, 2)) + ByteValue(address.substr(address.size() - 2));
    out += address;
    out += "00";
    for (int32_t i = 0; i < count; ++i) {
      const int32_t slot = a + i;
      if (slot >= MemoryImage::kProgramSlots) {
        return Status::Fail("Cannot save word address 0x" + HexText(slot) + ": it is beyond the program buffer");
      }
      AppendProgramWord(out, sum, image.programBuffer[static_cast<size_t>(slot)]);
    }
    out += ChecksumText(sum);
    out += kLineEnd;
    a += count;
    if (a >= endWord) break;
    out += ':';
  }

  const bool dataSection = device.rules.fileSavesDataSection;
  if (dataSection) {
    for (int32_t a = image_address::kDataFirst; a < kDataSectionEnd; a += 8) {
      out += ":10";
      const std::string address = PadLeft(HexText(2 * a), 4);
      int32_t sum = 0x10 + ByteValue(address.substr(0, 2)) + ByteValue(address.substr(2));
      out += address;
      out += "00";
      for (int32_t i = 0; i < 8; ++i) {
        const auto slot = static_cast<size_t>(a - image_address::kDataFirst + i);
        AppendWord(out, sum, HexText16(image.dataBuffer[slot]));
      }
      out += ChecksumText(sum);
      out += kLineEnd;
    }
  }

  if (WritesIdsAndConfig(device, firstWord, answer)) {
    // One prefix sum for all five records: right for the configuration
    // record only, so the ID records carry checksums 0x0E, 0x0C, 0x0A and
    // 0x08 too low. Our reader ignores checksums; files stay as they were.
    static constexpr const char* kPrefixes[] = {":02400000", ":02400200", ":02400400", ":02400600", ":02400E00"};
    const int32_t values[] = {image.idWords[0], image.idWords[1], image.idWords[2], image.idWords[3],
                              image.configWord};
    for (size_t i = 0; i < 5; ++i) {
      out += kPrefixes[i];
      int32_t sum = kIdRecordPrefixSum;
      AppendWord(out, sum, HexText(values[i]));
      out += ChecksumText(sum);
      out += kLineEnd;
    }
  }

  out += image_text::kEndRecord;
  out += kLineEnd;
  if (dataSection) endWord = kDataSectionEnd;
  return out;
}

std::string RawProgramBytes(int32_t firstWord, int32_t endWord, const DeviceDescriptor& device,
                            const MemoryImage& image) {
  const std::vector<HexBlock> blocks = ImageFileBlocks(device, image, firstWord, endWord, false, false);
  return blocks.empty() ? std::string() : blocks.front().bytes;
}

std::string FileExtension(const std::string& path) {
  const std::string name = FileNameOf(path);
  const size_t dot = name.find_last_of('.');
  return dot == std::string::npos || dot == 0 ? std::string() : name.substr(dot);
}

// The old writer stopped one word short of the chip's end.
int32_t WholeChipEnd(const DeviceDescriptor& device, FileFormat format) {
  return format == FileFormat::kLegacy ? device.programSize : device.programSize + 1;
}

}  // namespace

bool SaveAsksIdQuestion(const DeviceDescriptor& device, int32_t firstWord) {
  return firstWord == 0 && device.core() != Core::kSerialEeprom;
}

Result<std::string> FormatHexImage(int32_t firstWord, int32_t& endWord, const DeviceDescriptor& device,
                                   const MemoryImage& image, SaveIdAnswer answer, FileFormat format) {
  if (format == FileFormat::kLegacy) return FormatLegacyHex(firstWord, endWord, device, image, answer);
  if (Status range = CheckRange(firstWord, endWord); !range) return range;
  return FormatIntelHex(ImageFileBlocks(device, image, firstWord, endWord, firstWord == 0,
                                        WritesIdsAndConfig(device, firstWord, answer)));
}

Status SaveImageFile(const std::string& path, int32_t firstWord, int32_t& endWord, const DeviceDescriptor& device,
                     const MemoryImage& image, SaveIdAnswer answer, FileFormat format) {
  if (format == FileFormat::kStandard && ImageFileKindOf(path) == ImageFileKind::kBin) {
    if (Status range = CheckRange(firstWord, endWord); !range) return range;
    return WriteFileAtomically(path, RawProgramBytes(firstWord, endWord, device, image));
  }
  int32_t end = endWord;
  Result<std::string> text = FormatHexImage(firstWord, end, device, image, answer, format);
  if (!text) return text.status();
  if (Status written = WriteFileAtomically(path, text.value()); !written) return written;
  endWord = end;
  return Status::Ok();
}

std::string WithHexSuffix(std::string path) {
  std::string last = path.substr(path.size() < 4 ? 0 : path.size() - 4);
  std::transform(last.begin(), last.end(), last.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  if (last != image_text::kHexSuffix) path += image_text::kHexSuffix;
  return path;
}

std::string SavedFileName(const std::string& chosenPath, FileFormat format) {
  if (format == FileFormat::kLegacy) return WithHexSuffix(chosenPath);
  return FileExtension(chosenPath).empty() ? chosenPath + ".hex" : chosenPath;
}

std::string LastDirectoryOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string FileNameOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

Result<std::string> SaveHexCommand(const std::string& chosenPath, DeviceDescriptor& device, const MemoryImage& image,
                                   SaveIdAnswer answer, FileFormat format) {
  const std::string path = SavedFileName(chosenPath, format);
  int32_t end = WholeChipEnd(device, format);
  if (Status saved = SaveImageFile(path, 0, end, device, image, answer, format); !saved) return saved;
  // The old writer moved the device's own end, and the next save starts from it.
  if (format == FileFormat::kLegacy) device.programSize = end;
  return path;
}

Result<std::string> WholeImageHex(const DeviceDescriptor& device, const MemoryImage& image, SaveIdAnswer answer,
                                  FileFormat format) {
  int32_t end = WholeChipEnd(device, format);
  return FormatHexImage(0, end, device, image, answer, format);
}

}  // namespace quorvi
