// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

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
};

/// One kind of port the user can name. The port option of the command line
/// and the window's port menu both read this table.
struct PortBackend {
  std::string_view name;
  std::string_view usage;  // the forms of port name it takes
  std::string_view description;
  bool (*accepts)(std::string_view port);
  Result<std::unique_ptr<PortDriver>> (*open)(std::string_view port, const PortEnvironment& env);
};

std::span<const PortBackend> PortBackends();

/// Opens the port named `port`: "lpt1", "lpt2", a hex address such as
/// "0x3BC", a device path such as "/dev/parport0" (all through ppdev),
/// "raw:" before any of the addresses for direct port I/O, "record", or the
/// simulated board: "sim" (an empty socket until a device is selected),
/// "sim:NAME" (a new chip of that name) or "sim:FILE.json" (a chip-state file).
Result<std::unique_ptr<PortDriver>> OpenPort(std::string_view port, const PortEnvironment& env = {});

/// A new simulated chip of that name, as the factory delivers it.
Result<sim::ChipState> NewSimChip(std::string_view name);

/// The base address of "lpt1", "lpt2" or "0xHEX"; nothing for other names.
std::optional<long> ParsePortAddress(std::string_view port);

}  // namespace quorvi
