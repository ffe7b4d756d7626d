// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "hw/port_driver.h"
#include "util/result.h"

namespace quorvi {

/// Where the kernel describes its parallel ports; tests point these at a fake tree.
struct ParportPaths {
  std::string procRoot = "/proc/sys/dev/parport";
  std::string devRoot = "/dev";
};

/// The device file of the parport whose base address is `base`
/// (from parportN/base-addr, whose first number is the base in decimal).
Result<std::string> FindParportByAddress(long base, const ParportPaths& paths = {});

/// Opens and claims a parport through the Linux ppdev driver.
Result<std::unique_ptr<PortDriver>> OpenPpdevPort(const std::string& devicePath);

/// The user's message for an errno from opening or claiming `devicePath`.
std::string DescribePpdevError(const std::string& devicePath, int error, bool whileClaiming);

}  // namespace quorvi
