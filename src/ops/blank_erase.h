// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "ops/frame.h"

namespace quorvi {

/// The last program address the blank check reads: the calibration word of
/// oscList 2, 3, 5 and 7 is left out; the "14000" stops at 4031.
int32_t BlankCheckBound(const DeviceDescriptor& device);

/// "Blank check": reports only a word that is not erased.
OpResult cmdBlank(AppState& state, UiHost& ui);

/// "Erase" with the family's sequence. For fuse map 21 parts
/// `blankCalibration` true leaves the calibration word erased, false puts
/// the saved factory value back. Reports nothing but a missing device and
/// a chip whose device ID is not the selected part's (unless `checkChip` is
/// false: the write checked it already).
OpResult cmdFill(AppState& state, UiHost& ui, bool blankCalibration, bool checkChip = true);

}  // namespace quorvi
