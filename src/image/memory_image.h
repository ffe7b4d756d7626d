// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "device/device_descriptor.h"

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
  /// 18F configuration registers: [i] is the byte at 300000h + i (CONFIG1L..CONFIG7H); blank is 0xFF.
  std::array<uint8_t, kConfig18Bytes> config18Bytes{};

  bool operator==(const MemoryImage&) const = default;
};

/// Word addresses of the image in HEX files and throughout the program.
namespace image_address {
inline constexpr int kConfig12 = 0x0FFF;
inline constexpr int kIdFirst = 0x2000;
inline constexpr int kConfig14 = 0x2007;
inline constexpr int kDataFirst = 0x2100;
/// "Clear Buffer" blanks this many program slots whatever the device.
inline constexpr int kClearBufferSlots = 32761;
}  // namespace image_address

/// The main window's "Clear Buffer": blanks program slots 0..32760 and every
/// data byte; the configuration, ID and 18F configuration fields stay.
void ClearImage(const DeviceDescriptor& device, MemoryImage& image);

/// The reset that selecting a device makes: program words 0..programSize
/// (inclusive) and the ID words blank (0xF for the 12-bit core), every data
/// byte 0xFF, the configuration word blank (masked to 0x1FF for the band-gap parts).
/// Selection knows no serial-EEPROM blank: a 24Cxx gets 0x3FFF here. An 18F
/// gets 0xFFFF words and IDs, as its erased flash reads, and every
/// configuration byte 0xFF.
void ResetImageOnSelection(const DeviceDescriptor& device, MemoryImage& image);

}  // namespace quorvi
