// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/recorded_link.h"

namespace quorvi::test {

namespace {

std::unique_ptr<RecordingPort> MakePort(RecordingPort*& out) {
  auto port = std::make_unique<RecordingPort>();
  out = port.get();
  return port;
}

}  // namespace

RecordedLink::RecordedLink(int64_t portAccessNs) : clock(portAccessNs), port(nullptr), link(MakePort(port), clock) {
  port->Clear();  // the idle byte every port gets first; tests look at what follows
}

std::vector<uint8_t> RecordedLink::TakeWrites() {
  std::vector<uint8_t> writes = port->Writes();
  port->Clear();
  return writes;
}

}  // namespace quorvi::test
