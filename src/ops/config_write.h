// SPDX-License-Identifier: GPL-3.0-or-later
// Writing the configuration word, and the word programming routine the
// write and the erase share.
#pragma once

#include <cstdint>

#include "ops/frame.h"

namespace quorvi {

/// The pulse modes of the word programming routine. Each wait is at least
/// what the part's document asks for (the timing table lengthens it).
enum class PulseMode {
  kShort = 100,  // one delay unit (an EPROM pulse), then End Programming
  kLong = 10,    // 10 ms, the chip ends the cycle itself
  kMedium = 1,   // 1 ms, then End Programming
};

/// A count above this is a word that did not program.
inline constexpr int16_t kMaxProgramCycles = 25;

/// Programs `word` at the chip's current address until it reads back equal
/// in the bits of `mask` (at most 26 cycles; a 12-bit part stops after 9).
/// Returns the cycles issued.
int16_t ProgramWord(SerialProtocol& protocol, PulseMode mode, int word, int mask = 0x3FFF);

/// The configuration bits of the selected part that are compared: those it
/// implements (the others read back as the silicon chooses).
int ConfigCompareMask(const DeviceDescriptor& device);

/// True when the word at the counter reads back as `expected` in the bits the part implements.
bool ConfigReadsBack(OperationFrame& frame, int expected);

/// Powers the target up afresh and programs the configuration word of the
/// image by the family's sequence; true when it was taken. Leaves the target
/// powered: the caller powers down.
bool WriteConfiguration(OperationFrame& frame);

/// The "Write fuses" button.
OpResult cmdWriteFuse(AppState& state, UiHost& ui);

}  // namespace quorvi
