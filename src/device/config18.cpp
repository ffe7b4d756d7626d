// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/config18.h"

#include <array>

namespace quorvi {

namespace {

// PIC18FXX2/XX8 data sheets, special features chapter: all four parts hold
// 32 KB, so CP, WRT and EBTR have four block bits each.
constexpr std::array<uint8_t, kConfig18Registers> kFxx2Bits = {0x00, 0x27, 0x0F, 0x0F, 0x00, 0x01, 0x85,
                                                               0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};
constexpr int kConfig3H = 5;

// The CAN parts (18FXX8) have no CCP2 multiplexer bit.
bool IsCanPart(const std::string& name) { return !name.empty() && name.back() == '8'; }

}  // namespace

uint8_t Config18ImplementedBits(const DeviceDescriptor& device, int offset) {
  if (offset < 0 || offset >= kConfig18Registers) return 0;
  if (offset == kConfig3H && IsCanPart(device.name)) return 0;
  return kFxx2Bits[static_cast<size_t>(offset)];
}

std::string Config18RegisterName(int offset) {
  return std::to_string(offset / 2 + 1) + (offset % 2 == 0 ? "L" : "H");
}

}  // namespace quorvi
