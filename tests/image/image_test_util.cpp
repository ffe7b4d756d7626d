// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_test_util.h"

#include <cstdio>

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

std::string JoinLines(const std::vector<std::string>& lines, const std::string& lineEnd) {
  std::string text;
  for (const auto& line : lines) text += line + lineEnd;
  return text;
}

std::string ExamplePath(const std::string& name) { return std::string(QUORVI_EXAMPLES_DIR) + "/" + name; }

}  // namespace quorvi::test
