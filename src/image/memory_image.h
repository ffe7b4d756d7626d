// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace quorvi {

/// The one in-memory copy of what is, or is to be, inside the chip. The
/// buffers always have their full size whatever the device; only the loops
/// that fill, save and list them use the device's sizes.
struct MemoryImage {
  static constexpr int kProgramSlots = 65537;  // word addresses 0..65536
  static constexpr int kDataSlots = 257;       // EEPROM addresses 0..256
  static constexpr int kIdSlots = 5;           // 0..3 used, 4 never
  static constexpr int kConfig18Bytes = 14;

  /// One word per program address; one byte per slot for 24Cxx and .BIN files.
  std::vector<int32_t> programBuffer = std::vector<int32_t>(kProgramSlots, 0);
  std::array<int16_t, kDataSlots> dataBuffer{};
  int32_t configWord = 0;
  std::array<int32_t, kIdSlots> idWords{};
  /// 18F configuration bytes from a HEX file; blank is 0xFF.
  std::array<uint8_t, kConfig18Bytes> config18Bytes{};

  bool operator==(const MemoryImage&) const = default;
};

/// Word addresses of the image in HEX files and throughout the program.
namespace image_address {
inline constexpr int kConfig12 = 0x0FFF;
inline constexpr int kIdFirst = 0x2000;
inline constexpr int kConfig14 = 0x2007;
inline constexpr int kDataFirst = 0x2100;
}  // namespace image_address

}  // namespace quorvi
