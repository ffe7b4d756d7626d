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
  explicit RecordedLink(int64_t portAccessNs = VirtualClock::kDefaultPortAccessNs);

  VirtualClock clock;
  RecordingPort* port;  // owned by link
  PortLink link;

  /// The bytes written since the last call, then forgets them.
  std::vector<uint8_t> TakeWrites();
};

}  // namespace quorvi::test
