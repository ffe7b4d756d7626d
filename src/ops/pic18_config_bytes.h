// SPDX-License-Identifier: GPL-3.0-or-later
// The 18F ID and configuration bytes, written from the image and compared
// against it. The chip must be in programming mode.
#pragma once

#include <optional>

#include "device/device_descriptor.h"
#include "image/memory_image.h"
#include "ops/frame.h"
#include "protocol/pic18_protocol.h"

namespace quorvi {

/// Writes the four ID words as the eight ID bytes at 200000h, low byte first.
void WriteIdBytes18(Pic18Protocol& pic18, const MemoryImage& image);

/// The last ID word that the chip holds differently, if any (`at` is its
/// number, 0 to 3).
std::optional<Mismatch> LastDifferingIdWord18(Pic18Protocol& pic18, const MemoryImage& image);

/// Writes every configuration register that the part has and the image
/// sets, then compares them all; true when they read back as the image.
bool WriteConfigBytes18(Pic18Protocol& pic18, const DeviceDescriptor& device, const MemoryImage& image);

/// The first configuration register that the part has and the image sets
/// whose implemented bits differ, if any: `at` is its address (300000h on),
/// the values are those bits.
std::optional<Mismatch> FirstDifferingConfigByte18(Pic18Protocol& pic18, const DeviceDescriptor& device,
                                                   const MemoryImage& image);

}  // namespace quorvi
