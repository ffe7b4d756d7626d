// SPDX-License-Identifier: GPL-3.0-or-later
// The families the registry chooses from, one file each.
#pragma once

#include "ops/chip_family.h"

namespace quorvi {

inline constexpr int32_t kIdAddress = 0x2000;
/// The blank check moves the progress bar every this many words.
inline constexpr int32_t kBlankProgressStep = 100;

/// Bulk erase of program and data memory, then the code-protect erase paths.
void BulkEraseWithCodeProtect(OperationFrame& frame);

const ChipFamily& Flash16F8xFamily();    // family_flash14.cpp
const ChipFamily& Flash16F7xFamily();    // family_flash14.cpp
const ChipFamily& Flash16F87xAFamily();  // family_flash14.cpp
const ChipFamily& Flash16F81xFamily();   // family_flash14.cpp
const ChipFamily& OtpFamily();           // family_otp.cpp
const ChipFamily& Pic18Family();         // family_pic18.cpp

}  // namespace quorvi
