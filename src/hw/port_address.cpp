// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/port_address.h"

#include <cstdio>

namespace quorvi {

namespace {
constexpr long kHighestPort = 0x7FFF;
}

std::string FormatPortAddress(long base) {
  char text[24];
  std::snprintf(text, sizeof text, base < 0 ? "-0x%lX" : "0x%lX", base < 0 ? -base : base);
  return text;
}

Status ValidatePortAddress(long base) {
  if (base < 1 || base > kHighestPort) {
    return Status::Fail("Port address " + FormatPortAddress(base) + " is out of range: ports go from 0x1 to " +
                        FormatPortAddress(kHighestPort));
  }
  if (base + 1 > kHighestPort) {
    return Status::Fail("Port address " + FormatPortAddress(base) + " is out of range: its status register at " +
                        FormatPortAddress(base + 1) + " is beyond " + FormatPortAddress(kHighestPort));
  }
  return Status::Ok();
}

}  // namespace quorvi
