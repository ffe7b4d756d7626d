// SPDX-License-Identifier: GPL-3.0-or-later
// Where the PIC operations hand over to layers this build does not have yet.
#pragma once

#include "ops/frame.h"

namespace quorvi {

/// The 24Cxx variant each command hands over to for family 5.
enum class EepromOperation { kRead, kBlank, kErase, kWrite, kCompare };

/// Hand-over point for family 5: runs the 24Cxx variant of `operation`.
OpResult RunSerialEepromOperation(EepromOperation operation, OperationFrame& frame);

/// UNFINISHED: the configuration write of 18F parts (byte-wide registers at
/// 300000h) has no sequence yet. Powers down, reports that, and ends the operation.
OpResult Pic18Unavailable(OperationFrame& frame);

}  // namespace quorvi
