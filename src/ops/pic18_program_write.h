// SPDX-License-Identifier: GPL-3.0-or-later
// The 18F program memory write: which 8-byte groups go to the chip, and
// whether a programming cycle writes one panel or every panel at once
// (DS39576 3.2).
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "protocol/pic18_protocol.h"

namespace quorvi {

/// One programming cycle and the byte addresses of the 8-byte groups in it
/// that hold data. A multi-panel cycle writes the group at the same offset of
/// every panel, FFh in those without data.
struct PanelCycle {
  bool multiPanel = false;
  std::vector<uint32_t> groups;

  bool operator==(const PanelCycle&) const = default;
};

/// The cycles that write `words` (program memory from address 0). A group of
/// FFFFh words gets none. An offset where two or more panels hold data is one
/// multi-panel cycle: loading the idle panels' buffers costs less than a
/// programming hold each. The multi-panel cycles come first, then the single
/// ones, each in address order.
std::vector<PanelCycle> PlanPanelCycles(std::span<const int> words);

/// Writes the planned cycles into a chip in programming mode whose write is
/// prepared (single-panel writes), and leaves it so. Each 64-byte block that
/// a cycle writes is opened once; `done(i)` follows cycle i.
void WritePanelCycles(Pic18Protocol& pic18, std::span<const int> words, const std::vector<PanelCycle>& cycles,
                      const std::function<void(size_t)>& done);

}  // namespace quorvi
