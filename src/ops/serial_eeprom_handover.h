// SPDX-License-Identifier: GPL-3.0-or-later
// Where the PIC operations hand over to the 24Cxx variants.
#pragma once

#include "ops/frame.h"

namespace quorvi {

/// The 24Cxx variant each command hands over to for family 5.
enum class EepromOperation { kRead, kBlank, kErase, kWrite, kCompare };

/// Hand-over point for family 5: runs the 24Cxx variant of `operation`.
OpResult RunSerialEepromOperation(EepromOperation operation, OperationFrame& frame);

}  // namespace quorvi
