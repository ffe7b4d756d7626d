// SPDX-License-Identifier: GPL-3.0-or-later
// Chip contents for the operation tests.
#pragma once

#include <string>

#include "sim/chip_state.h"

namespace quorvi::test {

/// A chip of that name with every word, byte and ID different from its
/// neighbours and from blank, and an unprotected configuration word.
sim::ChipState PatternedChip(const std::string& chipName);

}  // namespace quorvi::test
