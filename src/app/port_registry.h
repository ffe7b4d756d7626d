// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "hw/port_driver.h"
#include "hw/ppdev_port.h"
#include "hw/raw_port.h"
#include "util/result.h"

namespace quorvi {

/// What opening a port may depend on besides its name; tests replace it.
struct PortEnvironment {
  ParportPaths parports;
  PrivilegeOps* privileges = &SystemPrivileges();
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
/// "raw:" before any of the addresses for direct port I/O, or "record".
Result<std::unique_ptr<PortDriver>> OpenPort(std::string_view port, const PortEnvironment& env = {});

/// The base address of "lpt1", "lpt2" or "0xHEX"; nothing for other names.
std::optional<long> ParsePortAddress(std::string_view port);

}  // namespace quorvi
