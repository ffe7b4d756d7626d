// SPDX-License-Identifier: GPL-3.0-or-later
// The device-ID check that runs before an erase, a write or a configuration
// write: a wrong chip in the socket, or none, must not be written.
#pragma once

#include <optional>
#include <string>

#include "ops/frame.h"

namespace quorvi {

/// What the chip's device ID says about it.
struct ChipIdentity {
  enum class Verdict { kNoId, kMatch, kOtherPart, kNoChip };
  Verdict verdict = Verdict::kNoId;
  int idWord = 0;  // as read, revision bits included
  /// The known part the ID belongs to, for another part.
  std::optional<std::string> part;
  /// Left in programming mode after a match, as asked.
  bool powered = false;
};

/// Reads the device ID of a part that has one (14-bit flash at 2006h, 18F at
/// 3FFFFEh) in a power cycle of its own, entered as `plan` says. A match
/// stays powered when `stayOnMatch` asks.
ChipIdentity ReadChipIdentity(OperationFrame& frame, const PowerUpPlan& plan, bool stayOnMatch = false);

/// The message for a chip that is not the selected part (empty for a match).
std::string ChipIdentityMessage(const DeviceDescriptor& device, const ChipIdentity& identity);

/// Checks the chip and applies the state's `wrongChip` policy: kOk to go on;
/// otherwise the operation ends with this outcome (a message shown, the
/// quiet-mode log written, or No answered). The target is left powered down.
OpOutcome CheckChipIdentity(OperationFrame& frame, const PowerUpPlan& plan);

/// The check at an operation's start: the result that ends the operation
/// (marked `wrongChip`), or nothing when it goes on.
std::optional<OpResult> StopForChipIdentity(OperationFrame& frame, const PowerUpPlan& plan);

/// The check, then the operation's power-up by `plan`. An 18F goes on in the
/// power-up its ID was read in, since every one of its sequences sets the
/// table pointer first; the other cores start again at their reset address.
std::optional<OpResult> PowerUpIdentifiedChip(OperationFrame& frame, const PowerUpPlan& plan);

}  // namespace quorvi
