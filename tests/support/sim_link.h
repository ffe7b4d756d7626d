// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated board behind a PortLink on a virtual clock, with the host's
// command layer set up for the chip in its socket.
#pragma once

#include <string>

#include "hw/clock.h"
#include "hw/port_link.h"
#include "protocol/eeprom_bus.h"
#include "protocol/serial_protocol.h"
#include "sim/chip_state.h"
#include "sim/sim_board.h"

namespace quorvi::test {

struct SimLink {
  /// Port accesses cost what a real port's do unless asked; at 0 every
  /// bit-level minimum must come from the host's own waits.
  explicit SimLink(sim::ChipState state, int64_t portAccessNs = VirtualClock::kDefaultPortAccessNs);
  explicit SimLink(const std::string& chipName, int64_t portAccessNs = VirtualClock::kDefaultPortAccessNs);
  SimLink(const SimLink&) = delete;
  SimLink& operator=(const SimLink&) = delete;

  VirtualClock clock;
  sim::SimBoard* board;  // owned by link
  PortLink link;
  /// While set, every documented wait the command layer plans is halved.
  bool shortWaits = false;
  /// The command layer with the host's timing class and entry order for the part.
  SerialProtocol p;

  sim::ChipModel& chip() { return *board->chip(); }
  const sim::ChipInfo& info() { return chip().info(); }
  sim::ChipState& state() { return chip().state(); }
  /// Lets simulated time pass with the lines as they are.
  void Wait(float ms);
  /// Both lines high and Vdd on, as the serial EEPROM operations start.
  void PowerBus();
  EepromTarget BusTarget();
  /// Every rule the chip or the board saw broken, one a line.
  std::string Problems() const;
};

/// The catalogue family the host would give this chip.
int FamilyOf(const sim::ChipInfo& info);

/// Programs (or reads) a word at a socket address, 2000h.. configuration and
/// 2100h.. data as the HEX files map them, in a mode entry of its own, as the
/// chip's document says; EPROM parts get pulses until it reads back, 25 at most.
void WriteWord(SimLink& s, int address, int word);
int ReadWord(SimLink& s, int address);

}  // namespace quorvi::test
