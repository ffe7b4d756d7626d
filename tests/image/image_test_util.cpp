// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_test_util.h"

#include <cstdio>

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

std::string JoinLines(const std::vector<std::string>& lines, const std::string& lineEnd) {
  std::string text;
  for (const auto& line : lines) text += line + lineEnd;
  return text;
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

std::string ExamplePath(const std::string& name) { return std::string(QUORVI_EXAMPLES_DIR) + "/" + name; }

}  // namespace quorvi::test
