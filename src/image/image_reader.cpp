// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_reader.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "image/image_texts.h"
#include "image/name_rules.h"
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

std::string Hex0x(int32_t value) { return "0x" + HexText(value); }

/// Walks the HEX text character by character, as the old reader did, and
/// counts lines so that problems can name them.
class HexStream {
 public:
  explicit HexStream(std::string_view text) : text_(text) {}

  /// Skips to just behind the next ':'; false at the end of the file.
  bool SkipPastColon() {
    while (pos_ < text_.size()) {
      const char c = text_[pos_++];
      if (c == '\n') ++line_;
      if (c == ':') return true;
    }
    return false;
  }

  /// The next `count` characters; nothing when the file ends first.
  std::optional<std::string_view> Take(size_t count) {
    if (text_.size() - pos_ < count) {
      pos_ = text_.size();
      return std::nullopt;
    }
    const std::string_view taken = text_.substr(pos_, count);
    line_ += static_cast<int>(std::count(taken.begin(), taken.end(), '\n'));
    pos_ += count;
    return taken;
  }

  int line() const { return line_; }

 private:
  std::string_view text_;
  size_t pos_ = 0;
  int line_ = 1;
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

Placement PlacementFor(const DeviceDescriptor& device) {
  Placement p;
  p.programSize = device.programSize;
  p.limit = LoaderClearLimit(device);
  p.smallDevice = device.programSize <= kSmallDeviceWords;
  p.serialEeprom = device.family == family::kSerialEeprom;
  p.configAnywhere = name_rule::TakesConfigAnywhere(device.name);
  p.configAtRecordStart = name_rule::TakesConfigFromItsOwnRecord(device.name);
  p.reportsProgress = device.programSize > kProgressDeviceWords;
  return p;
}

std::optional<LoadError> ReadHex(std::string_view text, const std::string& path, const Placement& place,
                                 const LoadOptions& options, MemoryImage& image) {
  HexStream in(text);
  const auto endedEarly = [&] { return LoadError(path, in.line(), "the file ends before its end record"); };
  std::string upper = "0000";
  for (;;) {
    if (options.stop && options.stop()) {
      return LoadError(path, in.line(), "the load was stopped");
    }
    if (!in.SkipPastColon()) return endedEarly();
    const int recordLine = in.line();
    const auto countField = in.Take(2);
    if (!countField) return endedEarly();
    const int32_t words = HalveHalfEven(HexPairVal(*countField));
    if (words == 0) return std::nullopt;
    const auto addressField = in.Take(4);
    if (!addressField) return endedEarly();
    int32_t start = HalveHalfEven(HexWordVal(addressField->substr(0, 2), addressField->substr(2)));
    if (start < 0) start += 32768;
    const auto typeField = in.Take(2);
    if (!typeField) return endedEarly();
    if (*typeField == "01") return std::nullopt;
    const bool upperRecord = *typeField == "04";
    const bool configArea = place.smallDevice && start >= kConfigAreaStart && !place.serialEeprom;

    for (int32_t i = 0; i < words; ++i) {
      const auto low = in.Take(2);
      if (!low) return endedEarly();
      const auto high = in.Take(2);
      if (!high) return endedEarly();
      const int32_t word = HexWordVal(*high, *low);
      const int32_t a = start + i;

      if (!place.smallDevice) {
        if (upperRecord) {
          upper = std::string(*high) + std::string(*low);
        } else if (upper == "0000") {
          if (a >= MemoryImage::kProgramSlots) {
            return LoadError(path, recordLine, "word address " + Hex0x(a) + " is beyond the program buffer");
          }
          image.programBuffer[static_cast<size_t>(a)] = word;
        } else if (upper == "3000" && a <= 7 && a != 6) {
          const size_t pair = a == 7 ? 6 : static_cast<size_t>(a);
          image.config18Bytes[2 * pair] = static_cast<uint8_t>(HexPairVal(*high));
          image.config18Bytes[2 * pair + 1] = static_cast<uint8_t>(HexPairVal(*low));
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
            return LoadError(path, recordLine,
                             "data EEPROM address " + Hex0x(a) + " is beyond the data buffer (0x2100 to 0x2200)");
          }
          image.dataBuffer[static_cast<size_t>(slot)] = static_cast<int16_t>(word);
        }
        continue;
      }

      if (a >= MemoryImage::kProgramSlots) {
        return LoadError(path, recordLine, "word address " + Hex0x(a) + " is beyond the program buffer");
      }
      image.programBuffer[static_cast<size_t>(a)] = word;
      if (a == image_address::kConfig12 &&
          (place.configAnywhere || (place.configAtRecordStart && start == image_address::kConfig12))) {
        image.configWord = word;
      }
    }
    if (!in.Take(2)) return endedEarly();  // the checksum, never checked

    if (place.reportsProgress && options.progress && place.limit != 0 &&
        (start % 128 == 0 || start == place.limit)) {
      options.progress(static_cast<int>(RoundHalfEven(static_cast<double>(start) / place.limit * 100.0)));
    }
  }
}

std::optional<LoadError> ReadBinary(std::string_view bytes, bool tif, const std::string& path, MemoryImage& image) {
  if (tif) bytes.remove_prefix(std::min(bytes.size(), kTifHeaderBytes));
  if (bytes.size() > static_cast<size_t>(MemoryImage::kProgramSlots)) {
    return LoadError(path + ": " + std::to_string(bytes.size()) + " bytes do not fit the program buffer of " +
                     std::to_string(MemoryImage::kProgramSlots) + " slots");
  }
  for (size_t i = 0; i < bytes.size(); ++i) image.programBuffer[i] = static_cast<unsigned char>(bytes[i]);
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

int32_t LoaderBlankWord(const DeviceDescriptor& device) {
  if (name_rule::IsSerialEeprom(device.name)) return 0xFF;
  return name_rule::IsCore12(device.name) ? 0xFFF : 0x3FFF;
}

int32_t LoaderClearLimit(const DeviceDescriptor& device) {
  return name_rule::IsCalibrationPart(device.name) ? kCalibrationPartLimit : device.programSize;
}

LoadReport LoadImageFile(const std::string& path, bool keepBuffer, const DeviceDescriptor& device,
                         MemoryImage& image, const LoadOptions& options) {
  LoadReport report;
  const ImageFileKind kind = ImageFileKindOf(path);
  const int32_t blank = LoaderBlankWord(device);
  const Placement place = PlacementFor(device);

  const FileContent file = ReadWholeFile(path);
  if (!file.bytes) {
    report.progressLeftShown = true;
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

  // Work on a copy so that a bad file leaves the image as it was.
  MemoryImage next = image;
  next.configWord = blank;
  if (kind != ImageFileKind::kTif && !keepBuffer) {
    if (place.limit >= MemoryImage::kProgramSlots) {
      report.messages.push_back({path + ": the device's size " + std::to_string(place.limit) +
                                     " is beyond the program buffer",
                                 image_text::kErrorTitle, MessageIcon::kCritical});
      return report;
    }
    for (int32_t a = 0; a <= place.limit; ++a) next.programBuffer[static_cast<size_t>(a)] = blank;
    next.configWord = blank;
    next.config18Bytes.fill(0xFF);
  }

  const std::optional<LoadError> error = kind == ImageFileKind::kHex
                                             ? ReadHex(*content, path, place, options, next)
                                             : ReadBinary(*content, kind == ImageFileKind::kTif, path, next);
  if (error) {
    if (options.quiet) report.quietEnd = error->text();
    report.messages.push_back({error->text(), image_text::kErrorTitle, MessageIcon::kCritical});
    return report;
  }

  if (const auto idAddress = name_rule::Core12IdAddress(device.name)) {
    for (size_t i = 0; i < 4; ++i) next.idWords[i] = next.programBuffer[static_cast<size_t>(*idAddress) + i];
  }

  bool configMissing = false;
  if (!place.smallDevice) {
    uint8_t all = 0xFF;
    for (const uint8_t byte : next.config18Bytes) all &= byte;
    configMissing = all == 0xFF;
  } else {
    configMissing = next.configWord == blank && !keepBuffer && device.family != family::kSerialEeprom;
  }
  if (configMissing) {
    report.messages.push_back({image_text::kConfigMissing, image_text::kConfigMissingTitle, MessageIcon::kNone});
    next.configWord = kUnsetConfig;
  }
  if (device.fuseMap == 21) next.configWord &= 0x1FF;

  image = std::move(next);
  report.loaded = true;
  return report;
}

}  // namespace quorvi
