// SPDX-License-Identifier: GPL-3.0-or-later
// Verify: the chip against the image, in production mode at both supply margins.
#pragma once

#include "ops/frame.h"

namespace quorvi {

/// One program-and-ID compare pass at `level`. Clears and sets
/// `operationFailed`; kNoDevice, kFailed (reported) or kTerminated (quiet
/// mode: the caller returns at once).
OpOutcome CompareProgramPass(OperationFrame& frame, VddLevel level);

/// The same pass for the 18F family: the program memory through the 18F
/// read, then the ID bytes.
OpOutcome CompareProgramPass18(OperationFrame& frame, VddLevel level);

/// One configuration compare pass at `level` (the 18F configuration bytes
/// for that family); returns the supply to
/// 5.0 V at its end. A difference is reported but leaves `operationFailed`.
OpOutcome CompareConfigPass(OperationFrame& frame, VddLevel level);

/// The "Verify" button.
OpResult cmdCompare(AppState& state, UiHost& ui);

}  // namespace quorvi
