// SPDX-License-Identifier: GPL-3.0-or-later
// What the chosen device does to the image: blanking it at selection, and
// which of its 18F configuration bytes a write puts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "device/device_descriptor.h"
#include "device/selection.h"
#include "image/memory_image.h"
#include "util/result.h"

namespace quorvi {

/// Selects device `name` from `catalogue`: fills
/// `device`, blanks `image` unless `keepImage`, and describes the window.
/// On failure `device` and `image` are left as they were.
Result<SelectionView> SelectDevice(const CatalogueText& catalogue, std::string_view name, DeviceDescriptor& device,
                                   MemoryImage& image, bool keepImage);

/// The byte a write puts in the register at 300000h + `offset`: the image's,
/// where the part has the register.
std::optional<uint8_t> Config18ByteToWrite(const DeviceDescriptor& device, const MemoryImage& image, int offset);

}  // namespace quorvi
