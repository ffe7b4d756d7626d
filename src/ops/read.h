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

/// The calibration text of `txtCal`: " C=" and the word in hex, two digits at least.
std::string CalibrationText(int32_t word);

}  // namespace quorvi
