// SPDX-License-Identifier: GPL-3.0-or-later
// Write: program memory, data EEPROM, ID words and configuration word from
// the image, then a verify and the serial-number bookkeeping.
#pragma once

#include "ops/frame.h"

namespace quorvi {

/// True when the image's configuration word selects `CP0_ON` or `CP1_ON`.
bool CodeProtectionSelected(const DeviceDescriptor& device, int32_t configWord);

/// The "Write" button (also Enter and the "/W" option).
OpResult cmdWrite(AppState& state, UiHost& ui);

}  // namespace quorvi
