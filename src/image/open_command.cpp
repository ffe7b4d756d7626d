// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/open_command.h"

#include "image/image_writer.h"

namespace quorvi {

std::optional<std::filesystem::file_time_type> FileTimeStamp(const std::string& path) {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(path, error);
  if (error) return std::nullopt;
  return time;
}

OpenedImage OpenImageCommand(const std::string& path, const DeviceDescriptor& device, MemoryImage& image,
                             SerialState& serial, const LoadOptions& options) {
  OpenedImage opened;
  opened.path = path;
  opened.lastDirectory = LastDirectoryOf(path);
  opened.fileName = FileNameOf(path);
  opened.load = LoadImageFile(path, false, device, image, options);
  if (opened.load.loaded) {
    opened.timeStamp = FileTimeStamp(path);
    opened.serial = ReadCompanionOnOpen(path, serial);
  }
  return opened;
}

}  // namespace quorvi
