// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

#include "hw/port_driver.h"

namespace quorvi {

/// A port that keeps every access in order. Reads are answered from a script
/// first, then by a callback, then with a fixed byte (DataIn high, as the
/// board's pull-up leaves it when no chip drives the line).
class RecordingPort final : public PortDriver {
 public:
  struct Access {
    enum class Kind { kWrite, kRead };
    Kind kind;
    uint8_t value;
    bool operator==(const Access&) const = default;
  };

  void WriteData(uint8_t value) override;
  uint8_t ReadStatus() override;
  std::string Describe() const override { return "recording port (no hardware)"; }

  /// Bytes for the next reads, in order.
  void ScriptReads(std::vector<uint8_t> bytes);
  /// Answers reads once the script is used up.
  void OnRead(std::function<uint8_t()> answer) { onRead_ = std::move(answer); }
  void SetIdleStatus(uint8_t status) { idleStatus_ = status; }

  const std::vector<Access>& accesses() const { return accesses_; }
  /// Only the bytes written, in order.
  std::vector<uint8_t> Writes() const;
  void Clear() { accesses_.clear(); }

 private:
  std::vector<Access> accesses_;
  std::deque<uint8_t> script_;
  std::function<uint8_t()> onRead_;
  uint8_t idleStatus_ = 0x40;
};

}  // namespace quorvi
