// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "ops/frame.h"

namespace quorvi {

/// `readMode` values of the read.
namespace read_mode {
inline constexpr int16_t kFull = 0;            // everything, fuse map 21 mask applied
inline constexpr int16_t kConfigurationOnly = 1;  // IDs, revision, configuration word
inline constexpr int16_t kFullUnmasked = 2;    // any other value: everything, no mask
}  // namespace read_mode

/// Copies the chip in the socket into the image ("Read").
OpResult cmdRead(AppState& state, UiHost& ui, int16_t readMode);

/// The reads after the chip is powered up: a 12- or 14-bit core's, and the
/// 18F's. Each powers down and finishes the frame.
OpResult ReadPic(OperationFrame& frame, int16_t readMode, OpResult result);
OpResult Read18F(OperationFrame& frame, int16_t readMode, OpResult result);

/// The calibration text of `txtCal`: " C=" and the word in hex, two digits at least.
std::string CalibrationText(int32_t word);

}  // namespace quorvi
