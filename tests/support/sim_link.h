// SPDX-License-Identifier: GPL-3.0-or-later
// A PortLink over the simulated board on a virtual clock, and the small
// chip-side routines the simulator tests program chips with.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "hw/clock.h"
#include "hw/port_link.h"
#include "protocol/serial_protocol.h"
#include "sim/chip_state.h"
#include "sim/sim_board.h"

namespace quorvi::sim {
/// Parameterised tests name a chip by its name, not its bytes.
inline void PrintTo(const ChipInfo& info, std::ostream* os) { *os << info.name; }
}  // namespace quorvi::sim

namespace quorvi::test {

struct SimLink {
  /// A board with a chip of `state` (which must name a simulated chip).
  explicit SimLink(sim::ChipState state);
  /// A board with a blank chip of that name.
  explicit SimLink(const std::string& chipName);

  VirtualClock clock;
  sim::SimBoard* board;  // owned by link
  PortLink link;

  sim::ChipModel& chip() { return *board->chip(); }
  const sim::ChipInfo& info() { return chip().info(); }
  sim::ChipState& state() { return chip().state(); }
  /// The command layer for the chip in the socket, with its catalogue family.
  SerialProtocol Protocol(int family);
  /// Vpp on the chip's own switch before Vdd, as the 16F62 parts are powered.
  void EnterVppFirst();
  /// Lets simulated time pass with the lines as they are.
  void Wait(float ms);
};

/// The catalogue family the host would give this chip.
int FamilyOf(const sim::ChipInfo& info);

}  // namespace quorvi::test
