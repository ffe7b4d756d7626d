// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/calibration.h"

#include "image/image_writer.h"

namespace quorvi {

Status SaveCalibrationFile(const std::string& path, const DeviceDescriptor& device, const MemoryImage& image,
                           FileFormat format) {
  int32_t end = calibration_area::kEnd;  // a local end: the caller's state never sees the side effect
  return SaveImageFile(path, calibration_area::kFirst, end, device, image, SaveIdAnswer::kNo, format);
}

LoadReport LoadCalibrationFile(const std::string& path, const DeviceDescriptor& device, MemoryImage& image,
                               const LoadOptions& options) {
  return LoadImageFile(path, true, device, image, options);
}

}  // namespace quorvi
