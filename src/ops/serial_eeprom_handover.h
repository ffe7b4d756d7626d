// SPDX-License-Identifier: GPL-3.0-or-later
// Where the PIC operations hand over to layers this build does not have yet.
#pragma once

#include "ops/frame.h"

namespace quorvi {

/// The 24Cxx variant each command hands over to for family 5.
enum class EepromOperation { kRead, kBlank, kErase, kWrite, kCompare };

/// Hand-over point for family 5: runs the 24Cxx variant of `operation`.
OpResult RunSerialEepromOperation(EepromOperation operation, OperationFrame& frame);

/// UNFINISHED: the 18F paths of read, erase and configuration write need the
/// 18F command layer, which is not in this build yet. Powers down, reports
/// that, and ends the operation.
OpResult Pic18Unavailable(OperationFrame& frame);

}  // namespace quorvi
