// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/pic18_config_bytes.h"

#include <array>
#include <vector>

#include "device/config18.h"

namespace quorvi {

namespace {

constexpr int kIdWords = 4;
constexpr int kByteMask = 0xFF;
constexpr int kWordMask = 0xFFFF;

}  // namespace

void WriteIdBytes18(Pic18Protocol& pic18, const MemoryImage& image) {
  std::array<uint8_t, kPanelBufferBytes> bytes{};
  for (int k = 0; k < kIdWords; ++k) {
    const int word = image.idWords[static_cast<size_t>(k)];
    bytes[static_cast<size_t>(2 * k)] = static_cast<uint8_t>(word & kByteMask);
    bytes[static_cast<size_t>(2 * k + 1)] = static_cast<uint8_t>((word >> 8) & kByteMask);
  }
  pic18.WriteIdBytes(bytes);
}

std::optional<int> LastDifferingIdWord18(Pic18Protocol& pic18, const MemoryImage& image) {
  const std::vector<int> bytes = pic18.ReadBytes(addr18::kIdLocations, 2 * kIdWords);
  std::optional<int> last;
  for (int k = 0; k < kIdWords; ++k) {
    const int read = bytes[static_cast<size_t>(2 * k)] | (bytes[static_cast<size_t>(2 * k + 1)] << 8);
    if (read != (image.idWords[static_cast<size_t>(k)] & kWordMask)) last = k;
  }
  return last;
}

bool WriteConfigBytes18(Pic18Protocol& pic18, const DeviceDescriptor& device, const MemoryImage& image) {
  for (int offset = 0; offset < kConfig18Registers; ++offset) {
    if (const auto byte = Config18ByteToWrite(device, image, offset)) pic18.WriteConfigByte(offset, *byte);
  }
  return ConfigBytesMatch18(pic18, device, image);
}

bool ConfigBytesMatch18(Pic18Protocol& pic18, const DeviceDescriptor& device, const MemoryImage& image) {
  const std::vector<int> read = pic18.ReadBytes(addr18::kConfigBytes, kConfig18Registers);
  for (int offset = 0; offset < kConfig18Registers; ++offset) {
    const auto byte = Config18ByteToWrite(device, image, offset);
    if (!byte) continue;
    const int bits = Config18ImplementedBits(device, offset);
    if ((read[static_cast<size_t>(offset)] & bits) != (*byte & bits)) return false;
  }
  return true;
}

}  // namespace quorvi
