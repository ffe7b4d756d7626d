// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_test_util.h"

#include <cstdio>
#include <map>
#include <stdexcept>

#include "support/devices.h"

namespace quorvi::test {

std::string HexRecord(int byteAddress, int type, const std::vector<int>& bytes) {
  char field[16];
  std::snprintf(field, sizeof field, ":%02X%04X%02X", static_cast<unsigned>(bytes.size()),
                static_cast<unsigned>(byteAddress), static_cast<unsigned>(type));
  std::string record = field;
  int sum = static_cast<int>(bytes.size()) + (byteAddress >> 8) + (byteAddress & 0xFF) + type;
  for (const int byte : bytes) {
    std::snprintf(field, sizeof field, "%02X", static_cast<unsigned>(byte));
    record += field;
    sum += byte;
  }
  std::snprintf(field, sizeof field, "%02X", static_cast<unsigned>((256 - sum % 256) % 256));
  return record + field;
}

MemoryImage SelectedImage(const DeviceDescriptor& device) {
  MemoryImage image;
  ResetImageOnSelection(device, image);
  // Slots beyond the device's size keep a mark, so that a stray clear shows.
  for (size_t a = static_cast<size_t>(device.programSize) + 1; a < image.programBuffer.size(); ++a) {
    image.programBuffer[a] = 0x55;
  }
  image.config18Bytes.fill(0x5A);
  return image;
}

MemoryImage Sample16F84() {
  MemoryImage image = SelectedImage(Pic16F84());
  image.programBuffer[1] = -1;
  image.programBuffer[2] = 0x12345;
  image.programBuffer[3] = 7;
  image.programBuffer[4] = -32743;  // 8019h as the reader loads it
  image.programBuffer[0x3FF] = 0x2ABC;
  for (const auto& [at, byte] : {std::pair{0, 0xAB}, {8, 0x0A}, {9, -1}, {63, 0x5A}, {255, 0x12}}) {
    image.dataBuffer[static_cast<size_t>(at)] = static_cast<int16_t>(byte);
  }
  image.idWords = {0x3FFF, 0x1234, 0x0000, 0xABCD, 0};
  image.configWord = 0x3FF1;
  return image;
}

DeviceDescriptor TestDevice(const std::string& name) {
  static const std::map<std::string, DeviceDescriptor (*)()> kDevices = {
      {"16F84", Pic16F84},     {"16F84A", Pic16F84A},   {"16F628A", Pic16F628A}, {"16F877A", Pic16F877A},
      {"12C508A", Pic12C508A},
      {"16C505", Pic16C505}, {"14000", Pic14000},     {"16C622", Pic16C622},   {"18F452", Pic18F452},
      {"18F6720", Pic18F6720}, {"24C16", Eeprom24C16}, {"24LC512", Eeprom24LC512}};
  const size_t colon = name.find(':');
  const auto found = kDevices.find(name.substr(0, colon));
  if (found == kDevices.end()) throw std::invalid_argument("no test device " + name);
  DeviceDescriptor device = found->second();
  if (colon != std::string::npos && name.substr(colon) == ":map21") {
    device.fuseMap = kBandgapFuseMap;
    ApplyPartRules(device);
  }
  return device;
}

namespace {

template <typename Values>
void DumpRuns(std::string& out, const char* area, const Values& values, int digits) {
  for (size_t first = 0; first < values.size();) {
    size_t last = first;
    while (last + 1 < values.size() && values[last + 1] == values[first]) ++last;
    out += std::string(area) + " " + Hex(static_cast<int64_t>(first), digits) +
           (last > first ? "-" + Hex(static_cast<int64_t>(last), digits) : "") + " " + Hex(values[first]) + "\n";
    first = last + 1;
  }
}

}  // namespace

std::string Dump(const MemoryImage& image) {
  std::string out;
  DumpRuns(out, "program", image.programBuffer, 4);
  DumpRuns(out, "data", image.dataBuffer, 3);
  out += "ids";
  for (const int32_t id : image.idWords) out += " " + Hex(id);
  out += "\nconfig " + Hex(image.configWord) + "\nconfig18";
  for (const uint8_t byte : image.config18Bytes) out += " " + Hex(byte, 2);
  return out + "\n";
}

std::string Shown(const UserMessage& message) {
  return "message \"" + message.title + "\" icon " + std::to_string(static_cast<int>(message.icon)) + ": " +
         message.text;
}

std::string ExamplePath(const std::string& name) { return std::string(QUORVI_EXAMPLES_DIR) + "/" + name; }

LoadOptions LoadAs(FileFormat format) {
  LoadOptions options;
  options.format = format;
  return options;
}

}  // namespace quorvi::test
