// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "util/result.h"

namespace quorvi {

/// The classic port addresses of LPT1 and LPT2.
inline constexpr long kLpt1Address = 0x378;
inline constexpr long kLpt2Address = 0x278;

/// Checks that a port's data register and its status register (base + 1) are
/// both 16-bit signed port numbers (1 to 0x7FFF), as the port layer needs.
Status ValidatePortAddress(long base);

/// "0x378" for messages.
std::string FormatPortAddress(long base);

}  // namespace quorvi
