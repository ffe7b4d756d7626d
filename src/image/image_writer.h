// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "device/device_descriptor.h"
#include "image/memory_image.h"
#include "util/result.h"

namespace quorvi {

/// The user's answer to "Save ID and FUSES informations?".
enum class SaveIdAnswer { kNo, kYes };

/// True when saving this range asks "Save ID and FUSES informations?": the
/// range starts at word 0 and the device is not a serial EEPROM. The front
/// end asks before calling `SaveImageFile` and passes the answer.
bool SaveAsksIdQuestion(const DeviceDescriptor& device, int32_t firstWord);

/// The Intel HEX text that `SaveImageFile` writes (CR LF line ends). For the
/// parts that carry the data-EEPROM section, `endWord` becomes 0x2200.
Result<std::string> FormatHexImage(int32_t firstWord, int32_t& endWord, const DeviceDescriptor& device,
                                   const MemoryImage& image, SaveIdAnswer answer);

/// Writes program words firstWord..endWord (exclusive, but a record of 8 is
/// written when exactly 7 words remain), the data EEPROM of the parts that
/// carry it, the ID and configuration records when the range starts at 0
/// and `answer` is Yes, and the end record. The file is replaced atomically.
/// `endWord` becomes 0x2200 when the data-EEPROM section is written; callers
/// pass the device's program size itself and keep that side effect.
/// Devices of 32,768 words and more get five-digit address fields, which no
/// Intel HEX reader (ours included) reads back; that is how the files have
/// always been written.
Status SaveImageFile(const std::string& path, int32_t firstWord, int32_t& endWord, const DeviceDescriptor& device,
                     const MemoryImage& image, SaveIdAnswer answer);

/// The save dialog's name rule: ".HEX" is appended unless the name already
/// ends in it (compared upper-cased).
std::string WithHexSuffix(std::string path);

/// The path up to, not including, its last folder separator ("" if none):
/// what the file dialogs remember as the last directory.
std::string LastDirectoryOf(const std::string& path);

/// The file name without its folder, as `lblArq` shows it.
std::string FileNameOf(const std::string& path);

/// The "Save Hex" command once a name is chosen: applies the suffix rule
/// and saves the whole program memory, passing `device.programSize` as the
/// end so that it reads 0x2200 afterwards for parts with a data-EEPROM
/// section. Returns the path written.
Result<std::string> SaveHexCommand(const std::string& chosenPath, DeviceDescriptor& device, const MemoryImage& image,
                                   SaveIdAnswer answer);

}  // namespace quorvi
