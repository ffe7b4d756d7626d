// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/serial_numbering.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <utility>
#include <vector>

#include "image/image_texts.h"
#include "util/arith.h"
#include "util/atomic_file.h"
#include "util/file_check.h"

namespace quorvi {

namespace {

constexpr int kDialogSerialDigits = 15;
constexpr int kDialogStartDigits = 5;
constexpr int kDialogSmallDigits = 3;
constexpr int16_t kSizeLimit = 9;

std::string NumberText(double value) {
  char text[40];
  if (value == std::trunc(value) && std::fabs(value) < 1e15) {
    std::snprintf(text, sizeof text, "%.0f", value);
  } else {
    std::snprintf(text, sizeof text, "%.17g", value);
  }
  return text;
}

Status NotANumber(const std::string& text) { return Status::Fail("\"" + text + "\" is not a number"); }

Result<int16_t> Int16Input(const std::string& text) {
  const auto number = ParseNumber(text);
  if (!number) return NotANumber(text);
  const auto value = ToInt16(*number);
  if (!value) return Status::Fail("Overflow: " + text + " does not fit a 16-bit integer");
  return *value;
}

}  // namespace

bool SerialActive(const SerialState& state) {
  return state.switchedOn && state.size != 0 && state.increment != 0;
}

UniformDraw ClockSeededUniform() {
  return [] {
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::mt19937_64 generator(static_cast<uint64_t>(now));
    return std::uniform_real_distribution<double>(0.0, 1.0)(generator);
  };
}

double DrawSerialNumber(int16_t size, const UniformDraw& draw) {
  return std::floor(draw() * std::pow(10.0, size) + 1.0);
}

Status ApplySerial(const SerialState& state, const DeviceDescriptor& device, MemoryImage& image,
                   const UniformDraw& draw) {
  double working = state.random == 1 ? DrawSerialNumber(state.size, draw) : state.serialNumber;
  const int32_t base = device.traits().serialWordBase;
  std::vector<std::pair<size_t, int32_t>> words;
  for (int32_t a = state.startAddress; a < state.startAddress + state.size; ++a) {
    const auto rounded = ToInt32(working);
    if (!rounded) return Status::Fail("Overflow: the serial number " + NumberText(working) + " does not fit 32 bits");
    if (base != 0) {
      if (a < 0 || a >= MemoryImage::kProgramSlots) {
        return Status::Fail("The serial number's address " + std::to_string(a) + " is outside program memory");
      }
      words.emplace_back(static_cast<size_t>(a), base + (*rounded & 0xFF));
    }
    working = TruncateTowardZero(*rounded / 256.0);
  }
  for (const auto& [address, word] : words) image.programBuffer[address] = word;
  return Status::Ok();
}

Status AdvanceSerialAfterWrite(SerialState& state, const std::string& imagePath, const DeviceDescriptor& device,
                               MemoryImage& image, const UniformDraw& draw) {
  if (!SerialActive(state)) return Status::Ok();
  state.serialNumber =
      state.random == 1 ? DrawSerialNumber(state.size, draw) : state.serialNumber + state.increment;
  const Status written = WriteCompanionFile(CompanionPath(imagePath), state);
  const Status placed = ApplySerial(state, device, image, draw);
  return written ? placed : written;
}

std::string FormatLeadingZeros(double value, int digits) {
  char text[40];
  std::snprintf(text, sizeof text, "%.0f", std::fabs(value));
  std::string body = text;
  if (digits > 0) body = PadLeft(body, static_cast<size_t>(digits));
  return (value < 0 && body.find_first_not_of('0') != std::string::npos ? "-" : "") + body;
}

std::string SerialIndicatorText(const SerialState& state) {
  return FormatLeadingZeros(state.serialNumber, state.size);
}

SerialDialogTexts FormatSerialDialog(const SerialState& state) {
  return {FormatLeadingZeros(state.serialNumber, kDialogSerialDigits),
          FormatLeadingZeros(state.startAddress, kDialogStartDigits),
          FormatLeadingZeros(state.size, kDialogSmallDigits),
          FormatLeadingZeros(state.increment, kDialogSmallDigits)};
}

std::string CompanionPath(const std::string& imagePath) {
  return imagePath.substr(0, imagePath.size() < 3 ? 0 : imagePath.size() - 3) +
         image_text::kSerialCompanionExtension;
}

Status WriteCompanionFile(const std::string& companionPath, const SerialState& state) {
  const std::string text = NumberText(state.serialNumber) + "\r\n" + std::to_string(state.startAddress) + "\r\n" +
                           std::to_string(state.size) + "\r\n" + std::to_string(state.increment) + "\r\n";
  return WriteFileAtomically(companionPath, text);
}

bool ReadCompanionFile(const std::string& companionPath, SerialState& state) {
  // Not there, or nothing a serial file could be (a folder, a FIFO): numbering stays off.
  const FileContent file = ReadWholeFile(companionPath);
  if (!file.bytes) return false;
  // Free-format numbers: separated by line ends, blanks or commas.
  std::vector<std::string> fields;
  std::string field;
  for (const char c : *file.bytes + "\n") {
    if (c == '\n' || c == '\r' || c == ' ' || c == '\t' || c == ',') {
      if (!field.empty()) fields.push_back(std::move(field));
      field.clear();
    } else {
      field += c;
    }
  }
  const auto number = [&](size_t i) { return i < fields.size() ? ParseNumber(fields[i]) : std::nullopt; };
  if (const auto serial = number(0)) state.serialNumber = *serial;
  int16_t* const targets[] = {&state.startAddress, &state.size, &state.increment};
  for (size_t i = 0; i < 3; ++i) {
    if (const auto value = number(i + 1)) {
      if (const auto narrow = ToInt16(*value)) *targets[i] = *narrow;
    }
  }
  return true;
}

SerialOnOpen ReadCompanionOnOpen(const std::string& imagePath, SerialState& state) {
  SerialOnOpen result;
  state.switchedOn = ReadCompanionFile(CompanionPath(imagePath), state);
  result.colour = state.switchedOn ? kSerialOnColour : kSerialOffColour;
  if (state.size != 0 && state.increment != 0) result.indicator = SerialIndicatorText(state);
  return result;
}

SerialMenuEffect ToggleSerialMenu(SerialState& state, bool imageFileOpen) {
  if (!imageFileOpen) return SerialMenuEffect::kNeedImageFile;
  state.switchedOn = !state.switchedOn;
  return state.switchedOn ? SerialMenuEffect::kSwitchedOnShowDialog : SerialMenuEffect::kSwitchedOff;
}

UserMessage NeedImageFileMessage() { return {image_text::kNeedHexFile, image_text::kErrorTitle, MessageIcon::kNone}; }

Status SetSerialNumberFromInput(SerialState& state, const std::string& text) {
  const auto number = ParseNumber(text);
  if (!number) return NotANumber(text);
  state.serialNumber = *number;
  return Status::Ok();
}

Status SetStartAddressFromInput(SerialState& state, const std::string& text) {
  const auto value = Int16Input(text);
  if (!value) return value.status();
  state.startAddress = value.value();
  return Status::Ok();
}

Result<bool> SetSizeFromInput(SerialState& state, const std::string& text) {
  const auto value = Int16Input(text);
  if (!value) return value.status();
  if (value.value() >= kSizeLimit) return false;
  state.size = value.value();
  return true;
}

Status SetIncrementFromInput(SerialState& state, const std::string& text) {
  const auto value = Int16Input(text);
  if (!value) return value.status();
  state.increment = value.value();
  return Status::Ok();
}

void SetRandomFromCheckBox(SerialState& state, bool checked) { state.random = checked ? 1 : 0; }

}  // namespace quorvi
