// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/pic18_config_bytes.h"

#include <array>
#include <vector>

#include "device/config18.h"
#include "image/device_image.h"

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

std::optional<Mismatch> LastDifferingIdWord18(Pic18Protocol& pic18, const MemoryImage& image) {
  const std::vector<int> bytes = pic18.ReadBytes(addr18::kIdLocations, 2 * kIdWords);
  std::optional<Mismatch> last;
  for (int k = 0; k < kIdWords; ++k) {
    const int read = bytes[static_cast<size_t>(2 * k)] | (bytes[static_cast<size_t>(2 * k + 1)] << 8);
    const int expected = image.idWords[static_cast<size_t>(k)] & kWordMask;
    if (read != expected) last = Mismatch{.at = k, .expected = expected, .found = read};
  }
  return last;
}

bool WriteConfigBytes18(Pic18Protocol& pic18, const DeviceDescriptor& device, const MemoryImage& image) {
  pic18.SelectConfigurationMemory();
  TablePointer pointer;
  for (int offset = 0; offset < kConfig18Registers; ++offset) {
    if (const auto byte = Config18ByteToWrite(device, image, offset)) pic18.ProgramConfigByte(offset, *byte, pointer);
  }
  return !FirstDifferingConfigByte18(pic18, device, image);
}

std::optional<Mismatch> FirstDifferingConfigByte18(Pic18Protocol& pic18, const DeviceDescriptor& device,
                                                   const MemoryImage& image) {
  const std::vector<int> read = pic18.ReadBytes(addr18::kConfigBytes, kConfig18Registers);
  for (int offset = 0; offset < kConfig18Registers; ++offset) {
    const auto byte = Config18ByteToWrite(device, image, offset);
    if (!byte) continue;
    const int bits = Config18ImplementedBits(device, offset);
    const int found = read[static_cast<size_t>(offset)] & bits;
    if (found != (*byte & bits)) {
      return Mismatch{.at = static_cast<int32_t>(addr18::kConfigBytes) + offset, .expected = *byte & bits,
                      .found = found};
    }
  }
  return std::nullopt;
}

}  // namespace quorvi
