// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/recording_port.h"

namespace quorvi {

void RecordingPort::WriteData(uint8_t value) { accesses_.push_back({Access::Kind::kWrite, value}); }

uint8_t RecordingPort::ReadStatus() {
  uint8_t value = idleStatus_;
  if (!script_.empty()) {
    value = script_.front();
    script_.pop_front();
  } else if (onRead_) {
    value = onRead_();
  }
  accesses_.push_back({Access::Kind::kRead, value});
  return value;
}

void RecordingPort::ScriptReads(std::vector<uint8_t> bytes) { script_.insert(script_.end(), bytes.begin(), bytes.end()); }

std::vector<uint8_t> RecordingPort::Writes() const {
  std::vector<uint8_t> bytes;
  for (const Access& access : accesses_) {
    if (access.kind == Access::Kind::kWrite) bytes.push_back(access.value);
  }
  return bytes;
}

}  // namespace quorvi
