// SPDX-License-Identifier: GPL-3.0-or-later
// Calibration files (.CAL): the calibration area at the top of a 4K-word
// part's program memory, kept as an ordinary HEX file of our own writer.
#pragma once

#include <string>

#include "device/device_descriptor.h"
#include "image/image_reader.h"
#include "image/memory_image.h"
#include "util/result.h"

namespace quorvi {

namespace calibration_area {
inline constexpr int32_t kFirst = 0x0FC0;
inline constexpr int32_t kEnd = 0x1000;  // exclusive
}  // namespace calibration_area

/// "Save Calibration Data": words 0x0FC0..0x0FFF (plus the data-EEPROM
/// section for the parts that carry it), no ID or configuration records,
/// no question, no extension added to `path`.
Status SaveCalibrationFile(const std::string& path, const DeviceDescriptor& device, const MemoryImage& image,
                           FileFormat format);

/// "Load Calibration Data": a load that keeps the program buffer, so only
/// the cells the file names change (and the configuration word, which
/// every load resets).
LoadReport LoadCalibrationFile(const std::string& path, const DeviceDescriptor& device, MemoryImage& image,
                               const LoadOptions& options = {});

}  // namespace quorvi
