// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "device/device_descriptor.h"
#include "image/image_reader.h"
#include "image/memory_image.h"
#include "image/serial_numbering.h"

namespace quorvi {

/// The modification time of a file, or nothing when it cannot be read. The
/// write command compares it with the one taken at open and reloads the
/// image file when they differ.
std::optional<std::filesystem::file_time_type> FileTimeStamp(const std::string& path);

/// What "Load Hex" leaves besides the image.
struct OpenedImage {
  LoadReport load;
  /// The current file name: the chosen path, whatever the load did.
  std::string path;
  /// `lblArq`.
  std::string fileName;
  /// Remembered for the next file dialog (and saved with the settings).
  std::string lastDirectory;
  /// Taken only when the file loaded.
  std::optional<std::filesystem::file_time_type> timeStamp;
  /// The numbering switch from the companion file; read only when the file
  /// loaded.
  std::optional<SerialOnOpen> serial;
};

/// `mnuOpen` once the dialog has given a path (an empty path is a cancel:
/// the caller does nothing): loads with the buffer cleared, takes the time
/// stamp and reads the companion file.
OpenedImage OpenImageCommand(const std::string& path, const DeviceDescriptor& device, MemoryImage& image,
                             SerialState& serial, const LoadOptions& options = {});

}  // namespace quorvi
