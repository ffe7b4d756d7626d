// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "device/device_descriptor.h"
#include "image/file_format.h"
#include "image/memory_image.h"
#include "util/result.h"

namespace quorvi {

/// The user's answer to "Save ID and FUSES informations?".
enum class SaveIdAnswer { kNo, kYes };

/// True when saving this range asks "Save ID and FUSES informations?": the
/// range starts at word 0 and the device is not a serial EEPROM. The front
/// end asks before calling `SaveImageFile` and passes the answer.
bool SaveAsksIdQuestion(const DeviceDescriptor& device, int32_t firstWord);

/// The Intel HEX text that `SaveImageFile` writes (CR LF line ends).
/// Standard: program words firstWord..endWord-1, with the data EEPROM when
/// the range starts at 0, and IDs and configuration when `answer` is Yes, at
/// the addresses gpasm and MPLAB use, in records every reader accepts.
/// Legacy: our earlier versions' records exactly, their ID sums and five-digit
/// addresses included; `endWord` becomes 0x2200 for the parts that carry the
/// data-EEPROM section.
Result<std::string> FormatHexImage(int32_t firstWord, int32_t& endWord, const DeviceDescriptor& device,
                                   const MemoryImage& image, SaveIdAnswer answer, FileFormat format);

/// Writes the file atomically: a standard .bin gets the program memory's
/// bytes (words low byte first), any other name the Intel HEX text above.
Status SaveImageFile(const std::string& path, int32_t firstWord, int32_t& endWord, const DeviceDescriptor& device,
                     const MemoryImage& image, SaveIdAnswer answer, FileFormat format);

/// The save dialog's name rule for legacy files: ".HEX" is appended unless
/// the name already ends in it (compared upper-cased).
std::string WithHexSuffix(std::string path);

/// The name a save writes: legacy files as `WithHexSuffix`; standard ones keep
/// the name given, with ".hex" added only when it has no extension at all.
std::string SavedFileName(const std::string& chosenPath, FileFormat format);

/// The path up to, not including, its last folder separator ("" if none):
/// what the file dialogs remember as the last directory.
std::string LastDirectoryOf(const std::string& path);

/// The file name without its folder, as `lblArq` shows it.
std::string FileNameOf(const std::string& path);

/// The "Save Hex" command once a name is chosen: saves the whole chip under
/// `SavedFileName`. Legacy files pass `device.programSize` as the end, so that
/// it reads 0x2200 afterwards for parts with a data-EEPROM section. Returns
/// the path written.
Result<std::string> SaveHexCommand(const std::string& chosenPath, DeviceDescriptor& device, const MemoryImage& image,
                                   SaveIdAnswer answer, FileFormat format);

/// What "Save Hex" writes, as Intel HEX text, for standard output.
Result<std::string> WholeImageHex(const DeviceDescriptor& device, const MemoryImage& image, SaveIdAnswer answer,
                                  FileFormat format);

}  // namespace quorvi
