// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "app/simulated_socket.h"
#include "hw/port_driver.h"
#include "hw/ppdev_port.h"
#include "hw/raw_port.h"
#include "sim/chip_state.h"
#include "util/result.h"

namespace quorvi {

class Clock;

/// What opening a port may depend on besides its name; tests replace it.
struct PortEnvironment {
  ParportPaths parports;
  PrivilegeOps* privileges = &SystemPrivileges();
  /// The simulated board takes its time from this clock.
  Clock* clock = nullptr;
  /// The bit-bang ports' pin map: a preset's name or a map file; empty: the
  /// adapter's own preset.
  std::string pins;
};

/// What a kind of port is, so that no caller tells ports by their names.
struct PortTraits {
  /// `--chip FILE` names the chip in its socket.
  bool takesChipFile = false;
  /// Waits may take no real time: no real chip is there to cut them short.
  bool virtualClock = false;
  /// Follows the port's name where it is shown: " (simulated board)".
  std::string_view shownSuffix;
};

/// An open port and what it is.
struct OpenedPort {
  std::unique_ptr<PortDriver> driver;
  PortTraits traits;
  /// The simulated board's socket, part of `driver`; null for other ports.
  SimulatedSocket* socket = nullptr;
};

/// One kind of port the user can name. The port option of the command line
/// and the window's port menu both read this table.
struct PortBackend {
  std::string_view name;
  std::string_view usage;  // the forms of port name it takes
  std::string_view description;
  bool (*accepts)(std::string_view port);
  Result<OpenedPort> (*open)(std::string_view port, const PortEnvironment& env);
  PortTraits traits;
};

std::span<const PortBackend> PortBackends();

/// Opens the port named `port`: "lpt1", "lpt2", a hex address such as
/// "0x3BC", a device path such as "/dev/parport0" (all through ppdev),
/// "raw:" before any of the addresses for direct port I/O, "gpio:/dev/gpiochipN"
/// for a GPIO chip through libgpiod (wired by `env.pins`), "record", or the
/// simulated board: "sim" (an empty socket until a device is selected),
/// "sim:NAME" (a new chip of that name) or "sim:FILE.json" (a chip-state file).
Result<OpenedPort> OpenPort(std::string_view port, const PortEnvironment& env = {});

/// What the port named `port` would be; nothing for a name no backend takes.
PortTraits TraitsOfPort(std::string_view port);

/// The port that opens the simulated board on chip-state file `file`: with
/// the chip it holds when `there`, else with an empty socket.
std::string ChipFilePort(const std::string& file, bool there);

/// A new simulated chip of that name, as the factory delivers it.
Result<sim::ChipState> NewSimChip(std::string_view name);

/// The base address of "lpt1", "lpt2" or "0xHEX"; nothing for other names.
std::optional<long> ParsePortAddress(std::string_view port);

}  // namespace quorvi
