// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorvi {

/// What image files mean. Standard: as in gpasm, MPLAB, srec_cat and every
/// Intel HEX reader. Legacy: our earlier versions' word-paired reading and
/// their files byte for byte, for those who need identical files.
enum class FileFormat { kStandard, kLegacy };

}  // namespace quorvi
