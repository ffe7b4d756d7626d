// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "hw/clock.h"
#include "hw/port_link.h"
#include "hw/recording_port.h"

namespace quorvi::test {

/// A PortLink over a recording port on a virtual clock: what most line-level
/// tests need.
struct RecordedLink {
  explicit RecordedLink(int64_t portAccessNs = VirtualClock::kDefaultPortAccessNs)
      : clock(portAccessNs), port(new RecordingPort), link(std::unique_ptr<RecordingPort>(port), clock) {
    port->Clear();  // the idle byte every port gets first; tests look at what follows
  }

  VirtualClock clock;
  RecordingPort* port;  // owned by link
  PortLink link;

  /// The bytes written since the last call, then forgets them.
  std::vector<uint8_t> TakeWrites() {
    std::vector<uint8_t> writes = port->Writes();
    port->Clear();
    return writes;
  }
};

}  // namespace quorvi::test
