// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_writer.h"

#include <algorithm>
#include <cctype>
#include <string_view>

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
constexpr uint32_t kIdRecordPrefixSum = 0x50;

/// How many digits the old writer's hex text of `value` had: none leading,
/// padded to `width`, a longer text kept whole.
uint32_t DigitCount(uint32_t value, uint32_t width) {
  uint32_t digits = 1;
  for (uint32_t rest = value >> 4U; rest != 0; rest >>= 4U) ++digits;
  return std::max(digits, width);
}

/// One record of the old layout, built in place and appended whole, with the
/// sum its checksum comes from.
class LegacyRecord {
 public:
  LegacyRecord(std::string_view start, uint32_t sum) : sum_(sum) { Text(start); }

  void Text(std::string_view text) { at_ = std::copy(text.begin(), text.end(), at_); }
  void Byte(uint32_t byte) {
    *at_++ = kHexDigits[(byte >> 4U) & 0xFU];
    *at_++ = kHexDigits[byte & 0xFU];
  }
  /// A field as the old text had it: all its digits; the sum takes the values
  /// of the first two and of the last two (a five-digit address leaves its middle out).
  void Field(uint32_t value, uint32_t width) {
    const uint32_t digits = DigitCount(value, width);
    for (uint32_t i = digits; i-- > 0;) *at_++ = kHexDigits[(value >> (4 * i)) & 0xFU];
    sum_ += (value >> (4 * (digits - 2))) + (value & 0xFFU);
  }
  /// A word: its text padded to four digits, then the last two digits (low
  /// byte) before the first two (high byte). A wider text (a word the old
  /// reader made negative, or one above FFFF) is split the same way.
  void Word(uint32_t bits) {
    const uint32_t low = bits & 0xFFU;
    const uint32_t high = bits >> (4 * (DigitCount(bits, 4) - 2));
    Byte(low);
    Byte(high);
    sum_ += low + high;
  }
  /// The checksum, 256 less the sum modulo 256 ("00" for 256), and the line end.
  void AppendTo(std::string& out) {
    Byte((256U - sum_ % 256U) & 0xFFU);
    Text(kLineEnd);
    out.append(line_, at_);
  }

 private:
  char line_[64];  // ':', count, an address of up to 8 digits, type, 8 words, checksum, CR LF
  char* at_ = line_;
  uint32_t sum_;
};

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
  const uint32_t addressWidth = device.programSize < kFiveDigitDeviceWords ? 4 : 5;
  std::string out;
  out.reserve(static_cast<size_t>(endWord - firstWord) * 5 + 4096);

  for (int32_t a = firstWord;;) {
    const int32_t remaining = endWord - a;
    const int32_t count = remaining < 7 ? remaining : 8;
    LegacyRecord record(":", 2 * static_cast<uint32_t>(count));
    record.Byte(2 * static_cast<uint32_t>(count));
    record.Field(2 * static_cast<uint32_t>(a), addressWidth);
    record.Text("00");
    for (int32_t i = 0; i < count; ++i) {
      const int32_t slot = a + i;
      if (slot >= MemoryImage::kProgramSlots) {
        return Status::Fail("Cannot save word address 0x" + HexText(slot) + ": it is beyond the program buffer");
      }
      record.Word(static_cast<uint32_t>(image.programBuffer[static_cast<size_t>(slot)]));
    }
    record.AppendTo(out);
    a += count;
    if (a >= endWord) break;
  }

  const bool dataSection = device.rules.fileSavesDataSection;
  if (dataSection) {
    for (int32_t a = image_address::kDataFirst; a < kDataSectionEnd; a += 8) {
      LegacyRecord record(":10", 0x10);
      record.Field(2 * static_cast<uint32_t>(a), 4);
      record.Text("00");
      for (int32_t i = 0; i < 8; ++i) {
        record.Word(static_cast<uint16_t>(image.dataBuffer[static_cast<size_t>(a - image_address::kDataFirst + i)]));
      }
      record.AppendTo(out);
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
      LegacyRecord record(kPrefixes[i], kIdRecordPrefixSum);
      record.Word(static_cast<uint32_t>(values[i]));
      record.AppendTo(out);
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
