// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_reader.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "image/image_layout.h"
#include "image/image_texts.h"
#include "image/intel_hex.h"
#include "util/arith.h"
#include "util/file_check.h"
#include "util/result.h"

namespace quorvi {

namespace {

constexpr int32_t kSmallDeviceWords = 8192;
constexpr int32_t kProgressDeviceWords = 32767;
constexpr int32_t kConfigAreaStart = 0x1FFF;
constexpr int32_t kDataAreaLast = 0x2540;
constexpr int32_t kUnsetConfig = 0x3FFF;
constexpr size_t kTifHeaderBytes = 25;
constexpr int32_t kCalibrationPartLimit = 4030;
constexpr int32_t kLastConfig18Word = 5;

std::string Hex0x(int32_t value) { return "0x" + HexText(value); }

std::string BeyondProgram(int32_t address) { return "word address " + Hex0x(address) + " is beyond the program buffer"; }

/// The HEX text as the old reader walked it: from just behind each ':' in
/// fixed-width fields, whatever lies between. Lines are counted only when a
/// problem names one.
class HexStream {
 public:
  explicit HexStream(std::string_view text) : text_(text) {}

  /// Skips to just behind the next ':'; false at the end of the file.
  bool SkipPastColon() {
    const size_t colon = text_.find(':', pos_);
    pos_ = colon == std::string_view::npos ? text_.size() : colon + 1;
    return colon != std::string_view::npos;
  }

  /// The next `count` characters; nothing when the file ends first.
  const char* Take(size_t count) {
    if (text_.size() - pos_ < count) return nullptr;
    pos_ += count;
    return text_.data() + pos_ - count;
  }

  /// What is left, for a record's data read two characters at a time.
  std::string_view Rest() const { return text_.substr(pos_); }
  /// Passes `count` characters of the rest; when they are not all there, the
  /// whole pairs that are.
  bool SkipPairs(size_t count) {
    const size_t left = text_.size() - pos_;
    pos_ += count <= left ? count : left & ~size_t{1};
    return count <= left;
  }

  size_t position() const { return pos_; }
  int LineAt(size_t position) const {
    return 1 + static_cast<int>(std::count(text_.begin(), text_.begin() + static_cast<ptrdiff_t>(position), '\n'));
  }
  int line() const { return LineAt(pos_); }

 private:
  std::string_view text_;
  size_t pos_ = 0;
};

class LoadError {
 public:
  LoadError(const std::string& path, int line, std::string problem)
      : text_(path + ", line " + std::to_string(line) + ": " + std::move(problem)) {}
  explicit LoadError(std::string text) : text_(std::move(text)) {}
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

/// Everything the placement rules need from the device, worked out once.
struct Placement {
  int32_t programSize = 0;
  int32_t limit = 0;
  bool smallDevice = true;
  bool serialEeprom = false;
  bool configAnywhere = false;
  bool configAtRecordStart = false;
  bool reportsProgress = false;
};

int32_t LoaderClearLimit(const DeviceDescriptor& device) {
  return device.rules.calibrationBlock ? kCalibrationPartLimit : device.programSize;
}

Placement PlacementFor(const DeviceDescriptor& device) {
  Placement p;
  p.programSize = device.programSize;
  p.limit = LoaderClearLimit(device);
  p.smallDevice = device.programSize <= kSmallDeviceWords;
  p.serialEeprom = device.core() == Core::kSerialEeprom;
  p.configAnywhere = device.rules.fileConfigAnywhere;
  p.configAtRecordStart = device.rules.fileConfigFromOwnRecord;
  p.reportsProgress = device.programSize > kProgressDeviceWords;
  return p;
}

std::optional<LoadError> ReadLegacyHex(std::string_view text, const std::string& path, const Placement& place,
                                       const LoadOptions& options, MemoryImage& image) {
  HexStream in(text);
  const auto endedEarly = [&] { return LoadError(path, in.line(), "the file ends before its end record"); };
  // The upper address is kept as the type 04 record's digits, second byte first.
  enum class Upper { kProgram, kConfig18, kOther } upper = Upper::kProgram;
  for (;;) {
    if (options.stop && options.stop()) {
      return LoadError(path, in.line(), "the load was stopped");
    }
    if (!in.SkipPastColon()) return endedEarly();
    const size_t recordAt = in.position();
    const auto beyond = [&](const std::string& what) { return LoadError(path, in.LineAt(recordAt), what); };
    const char* countField = in.Take(2);
    if (!countField) return endedEarly();
    const int32_t words = HalveHalfEven(HexPairVal({countField, 2}));
    if (words == 0) return std::nullopt;
    const char* addressField = in.Take(4);
    if (!addressField) return endedEarly();
    int32_t start = HalveHalfEven(HexWordVal({addressField, 2}, {addressField + 2, 2}));
    if (start < 0) start += 32768;
    const char* typeField = in.Take(2);
    if (!typeField) return endedEarly();
    if (typeField[0] == '0' && typeField[1] == '1') return std::nullopt;
    const bool upperRecord = typeField[0] == '0' && typeField[1] == '4';
    const bool configArea = place.smallDevice && start >= kConfigAreaStart && !place.serialEeprom;

    // The words, then the checksum (never checked). A file that ends inside
    // them still has its whole words read, as the old reader read them.
    const std::string_view data = in.Rest();
    const auto needed = 4 * static_cast<size_t>(words) + 2;
    const int32_t present = data.size() >= needed ? words : static_cast<int32_t>(data.size() / 4);
    for (int32_t i = 0; i < present; ++i) {
      const std::string_view low = data.substr(4 * static_cast<size_t>(i), 2);
      const std::string_view high = data.substr(4 * static_cast<size_t>(i) + 2, 2);
      const int32_t word = HexWordVal(high, low);
      const int32_t a = start + i;

      if (!place.smallDevice) {
        if (upperRecord) {
          upper = high == "00" && low == "00" ? Upper::kProgram
                  : high == "30" && low == "00" ? Upper::kConfig18
                                                : Upper::kOther;
        } else if (upper == Upper::kProgram) {
          if (a >= MemoryImage::kProgramSlots) return beyond(BeyondProgram(a));
          image.programBuffer[static_cast<size_t>(a)] = word;
        } else if (upper == Upper::kConfig18 && a <= kLastConfig18Word) {
          // Word 7 (30000Eh/Fh) would fill a seventh pair that no register takes.
          image.config18Bytes[2 * static_cast<size_t>(a)] = static_cast<uint8_t>(HexPairVal(low));
          image.config18Bytes[2 * static_cast<size_t>(a) + 1] = static_cast<uint8_t>(HexPairVal(high));
        }
        continue;
      }

      if (configArea) {
        if (a >= image_address::kIdFirst && a <= image_address::kIdFirst + 3) {
          image.idWords[static_cast<size_t>(a - image_address::kIdFirst)] = word;
        } else if (a == image_address::kConfig14) {
          image.configWord = word;
        } else if (a >= image_address::kDataFirst && a <= kDataAreaLast) {
          const int32_t slot = a - image_address::kDataFirst;
          if (slot >= MemoryImage::kDataSlots) {
            return beyond("data EEPROM address " + Hex0x(a) + " is beyond the data buffer (0x2100 to 0x2200)");
          }
          image.dataBuffer[static_cast<size_t>(slot)] = static_cast<int16_t>(word);
        }
        continue;
      }

      if (a >= MemoryImage::kProgramSlots) return beyond(BeyondProgram(a));
      image.programBuffer[static_cast<size_t>(a)] = word;
      if (a == image_address::kConfig12 &&
          (place.configAnywhere || (place.configAtRecordStart && start == image_address::kConfig12))) {
        image.configWord = word;
      }
    }
    if (!in.SkipPairs(needed)) return endedEarly();

    if (place.reportsProgress && options.progress && place.limit != 0 &&
        (start % 128 == 0 || start == place.limit)) {
      options.progress(static_cast<int>(RoundHalfEven(static_cast<double>(start) / place.limit * 100.0)));
    }
  }
}

std::optional<LoadError> ReadLegacyBinary(std::string_view bytes, bool tif, const std::string& path,
                                          MemoryImage& image) {
  if (tif) bytes.remove_prefix(std::min(bytes.size(), kTifHeaderBytes));
  if (bytes.size() > static_cast<size_t>(MemoryImage::kProgramSlots)) {
    return LoadError(path + ": " + std::to_string(bytes.size()) + " bytes do not fit the program buffer of " +
                     std::to_string(MemoryImage::kProgramSlots) + " slots");
  }
  for (size_t i = 0; i < bytes.size(); ++i) image.programBuffer[i] = static_cast<unsigned char>(bytes[i]);
  return std::nullopt;
}

int32_t LoaderBlankWord(const DeviceDescriptor& device, FileFormat format) {
  if (format == FileFormat::kStandard) return ProgramWordMask(ImageCoreOf(device));
  if (device.rules.fileSerialEeprom) return 0xFF;
  return device.rules.fileCore12 ? 0xFFF : 0x3FFF;
}

// Our earlier versions saved a 24Cxx one byte per word, high bytes 00: a
// file too long for the part as bytes, but fitting it so, is read that way.
bool IsOldEepromLayout(const std::vector<HexBlock>& blocks, const DeviceDescriptor& device) {
  const auto bytes = static_cast<uint32_t>(device.programSize) + 1;
  uint32_t end = 0;
  for (const HexBlock& block : blocks) {
    end = std::max(end, block.end());
    for (uint32_t a = block.address | 1U; a < block.end(); a += 2) {
      if (block.bytes[a - block.address] != '\0') return false;
    }
  }
  constexpr uint32_t kOneRecordMore = 16;
  return end > bytes && end <= 2 * bytes + kOneRecordMore;
}

std::vector<HexBlock> EvenBytesHalved(const std::vector<HexBlock>& blocks) {
  std::vector<HexBlock> halved;
  for (const HexBlock& block : blocks) {
    HexBlock half{(block.address + 1) / 2, {}, block.lines};
    for (uint32_t a = (block.address + 1) & ~1U; a < block.end(); a += 2) half.bytes += block.bytes[a - block.address];
    halved.push_back(std::move(half));
  }
  return halved;
}

// Clears what a fresh load replaces: the whole image of the device, but the
// calibration area that a load spares.
void ClearForStandardLoad(int32_t blank, int32_t limit, MemoryImage& image) {
  std::fill_n(image.programBuffer.begin(), limit + 1, blank);
  image.idWords.fill(blank);
  image.dataBuffer.fill(0xFF);
  image.configWord = blank;
  image.config18Bytes.fill(0xFF);
}

// Changes the image only once the whole file has been read without error.
std::optional<LoadError> ReadStandard(std::string_view content, ImageFileKind kind, const std::string& path,
                                      const DeviceDescriptor& device, const Placement& place, bool keepBuffer,
                                      int32_t blank, MemoryImage& image, LoadReport& report) {
  std::vector<HexBlock> blocks;
  if (kind == ImageFileKind::kHex) {
    Result<HexContent> parsed = ParseIntelHex(content, path);
    if (!parsed) return LoadError(parsed.message());
    blocks = std::move(parsed.value().blocks);
    if (!parsed.value().oldIdRecordLines.empty()) {
      report.notes.push_back(path + ": ID records with the sums our earlier versions wrote were accepted");
    }
  } else {
    if (kind == ImageFileKind::kTif) content.remove_prefix(std::min(content.size(), kTifHeaderBytes));
    if (!content.empty()) blocks.push_back({0, std::string(content), {{0, 1}}});
  }
  if (device.core() == Core::kSerialEeprom && kind == ImageFileKind::kHex && IsOldEepromLayout(blocks, device)) {
    blocks = EvenBytesHalved(blocks);
    report.notes.push_back(path + ": read as our earlier versions saved a serial EEPROM, one byte per word");
  }
  if (!keepBuffer) ClearForStandardLoad(blank, place.limit, image);
  const PlacementReport placed = PlaceFileBytes(blocks, device, image);
  if (placed.oldIdRecords) {
    report.notes.push_back(path + ": IDs and configuration read from where our earlier versions saved them");
  }
  if (!placed.outside.empty()) {
    report.messages.push_back({path + ": these data are outside the " + device.name +
                                   "'s memories and were not loaded:\n" + OutsideText(placed.outside),
                               image_text::kOutsideTitle, MessageIcon::kExclamation});
  }
  return std::nullopt;
}

}  // namespace

ImageFileKind ImageFileKindOf(const std::string& path) {
  std::string last = path.substr(path.size() < 3 ? 0 : path.size() - 3);
  std::transform(last.begin(), last.end(), last.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  if (last == "BIN") return ImageFileKind::kBin;
  if (last == "TIF") return ImageFileKind::kTif;
  return ImageFileKind::kHex;
}

LoadReport LoadImageFile(const std::string& path, bool keepBuffer, const DeviceDescriptor& device,
                         MemoryImage& image, const LoadOptions& options) {
  LoadReport report;
  const bool legacy = options.format == FileFormat::kLegacy;
  const ImageFileKind kind = ImageFileKindOf(path);
  const int32_t blank = LoaderBlankWord(device, options.format);
  const Placement place = PlacementFor(device);

  const FileContent file = ReadWholeFile(path);
  if (!file.bytes) {
    report.progressLeftShown = true;
    report.failure = file.missing ? std::string(image_text::kFileNotFound) + ": " + path : file.problem;
    if (options.quiet) {
      report.quietEnd = file.missing ? "" : file.problem;
    } else if (file.missing) {
      report.messages.push_back(
          {std::string(image_text::kFileNotFound) + ": " + path, "", MessageIcon::kExclamation});
    } else {
      report.messages.push_back({file.problem, image_text::kErrorTitle, MessageIcon::kCritical});
    }
    return report;
  }
  const std::string* content = &*file.bytes;
  if (place.limit >= MemoryImage::kProgramSlots) {
    report.messages.push_back({path + ": the device's size " + std::to_string(place.limit) +
                                   " is beyond the program buffer",
                               image_text::kErrorTitle, MessageIcon::kCritical});
    return report;
  }

  // A bad file leaves the image as it was: the old reader works on a copy,
  // the standard one reads the whole file before it changes anything.
  std::optional<MemoryImage> copy;
  if (legacy) copy = image;
  MemoryImage& next = legacy ? *copy : image;
  std::optional<LoadError> error;
  if (legacy) {
    next.configWord = blank;
    if (kind != ImageFileKind::kTif && !keepBuffer) {
      std::fill_n(next.programBuffer.begin(), place.limit + 1, blank);
      next.config18Bytes.fill(0xFF);
    }
    error = kind == ImageFileKind::kHex ? ReadLegacyHex(*content, path, place, options, next)
                                        : ReadLegacyBinary(*content, kind == ImageFileKind::kTif, path, next);
  } else {
    error = ReadStandard(*content, kind, path, device, place, keepBuffer, blank, next, report);
  }
  if (error) {
    report.failure = error->text();
    if (options.quiet) report.quietEnd = report.failure;
    report.messages.push_back({error->text(), image_text::kErrorTitle, MessageIcon::kCritical});
    return report;
  }

  if (const auto idAddress = device.rules.fileIdAddress; legacy && idAddress) {
    for (size_t i = 0; i < 4; ++i) next.idWords[i] = next.programBuffer[static_cast<size_t>(*idAddress) + i];
  }

  bool configMissing = false;
  if (!legacy) {
    const ImageCore core = ImageCoreOf(device);
    if (core == ImageCore::kPic18) {
      configMissing = std::all_of(next.config18Bytes.begin(), next.config18Bytes.end(),
                                  [](uint8_t byte) { return byte == 0xFF; });
    } else if (core != ImageCore::kSerialEeprom) {
      configMissing = next.configWord == blank && !keepBuffer;
    }
  } else if (!place.smallDevice) {
    uint8_t all = 0xFF;
    for (const uint8_t byte : next.config18Bytes) all &= byte;
    configMissing = all == 0xFF;
  } else {
    configMissing = next.configWord == blank && !keepBuffer && device.core() != Core::kSerialEeprom;
  }
  if (configMissing) {
    report.messages.push_back({image_text::kConfigMissing, image_text::kConfigMissingTitle, MessageIcon::kNone});
    next.configWord = kUnsetConfig;
  }
  if (device.rules.bandgap) next.configWord &= 0x1FF;

  if (copy) image = std::move(*copy);
  report.loaded = true;
  return report;
}

}  // namespace quorvi
