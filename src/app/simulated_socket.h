// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "util/result.h"

namespace quorvi {

/// The socket of the simulated board, as the front ends reach it without
/// knowing the simulator: the port registry hands it out with the port.
class SimulatedSocket {
 public:
  virtual ~SimulatedSocket() = default;

  /// What the board and the chip in it saw that would harm a real chip, oldest first.
  virtual std::vector<std::string> Problems() const = 0;
  /// Puts a new chip of device `name`, as the factory delivers it, into an
  /// empty socket; nothing when the socket holds a chip or no such chip is simulated.
  virtual void InsertNewChip(std::string_view name) = 0;
  /// Saves the chip in the socket to chip-state file `path`; nothing for an empty socket.
  virtual Status SaveChip(const std::string& path) = 0;
};

}  // namespace quorvi
