// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "device/device_descriptor.h"
#include "image/image_reader.h"
#include "image/memory_image.h"
#include "util/message.h"
#include "support/golden.h"

namespace quorvi::test {

/// An image as selecting `device` leaves it, with recognisable values in the
/// slots that a load must not touch.
MemoryImage SelectedImage(const DeviceDescriptor& device);

/// A 16F84 image with words and bytes of every width the writer and the
/// listings show, IDs and a configuration word: the source of the golden files
/// save_16f84.hex and listing_16f84_*.txt.
MemoryImage Sample16F84();

/// One Intel HEX record with its correct checksum, e.g.
/// HexRecord(0x400E, 0, {0xF1, 0x3F}) is ":02400E00F13F80".
std::string HexRecord(int byteAddress, int type, const std::vector<int>& bytes);

/// One of the hand-built devices of support/devices.h by name; ":map21"
/// after the name gives it fuse map 21.
DeviceDescriptor TestDevice(const std::string& name);

/// Every field of an image, runs of equal words on one line.
std::string Dump(const MemoryImage& image);

/// A message box as one line: title, icon and text.
std::string Shown(const UserMessage& message);

/// Load options that read files as `format` says.
LoadOptions LoadAs(FileFormat format);

/// Full path of a file in the source tree's examples/ folder.
std::string ExamplePath(const std::string& name);

}  // namespace quorvi::test
