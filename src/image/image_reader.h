// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "device/device_descriptor.h"
#include "image/file_format.h"
#include "image/memory_image.h"
#include "util/message.h"

namespace quorvi {

struct LoadOptions {
  /// An unattended command-line run: a missing file ends the program
  /// instead of showing a message.
  bool quiet = false;
  /// The progress bar, 0..100; only devices above 32,767 words report it.
  std::function<void(int percent)> progress;
  /// Asked now and then: true stops the load (Ctrl-C), leaving the image as it was.
  std::function<bool()> stop;
  FileFormat format = FileFormat::kStandard;
};

/// What a load did and what the front end must show or do afterwards.
struct LoadReport {
  /// The file was read and the image now holds it. When false the image is
  /// exactly as it was before the call.
  bool loaded = false;
  /// Message boxes to show, in order.
  std::vector<UserMessage> messages;
  /// Status lines: how the file was understood when that is worth saying.
  std::vector<std::string> notes;
  /// The file could not be opened: the progress bar and the "reading..."
  /// status stay shown until the next operation hides them.
  bool progressLeftShown = false;
  /// Quiet mode and the load failed: the caller writes this as the error
  /// log's one line and ends the program. A missing file leaves the log
  /// empty (its line went to a channel that was never open).
  std::optional<std::string> quietEnd;
  /// Why the load failed, in English (also when the log line is empty).
  std::string failure;
};

/// Reads an Intel HEX (.HEX, .OBJ, any other extension), .BIN or .TIF file
/// into `image` as the selected `device` places it. `keepBuffer` keeps the
/// program buffer (no clear) and, for devices of up to 8,192 words,
/// suppresses the "Configuration missing" check. A file that cannot be
/// opened or read as its format says leaves `image` untouched.
/// Standard files: every checksum is checked; data that no memory of the
/// device takes is reported, not loaded; a load that keeps the buffer
/// changes only what the file names.
LoadReport LoadImageFile(const std::string& path, bool keepBuffer, const DeviceDescriptor& device,
                         MemoryImage& image, const LoadOptions& options = {});

/// The kind of image file, from the path's last three characters.
enum class ImageFileKind { kHex, kBin, kTif };
ImageFileKind ImageFileKindOf(const std::string& path);

}  // namespace quorvi
