// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hw/port_driver.h"

namespace quorvi {

/// What the lines go to when no port could be opened: writes have no effect
/// and the chip's data line reads low, so nothing reads as a blank chip.
class DisconnectedPort final : public PortDriver {
 public:
  static constexpr std::string_view kDescribed = "no port (";

  explicit DisconnectedPort(std::string reason) : reason_(std::move(reason)) {}
  void WriteData(uint8_t) override {}
  uint8_t ReadStatus() override { return 0x00; }
  std::string Describe() const override { return std::string(kDescribed) + reason_ + ")"; }

 private:
  std::string reason_;
};

/// Why `port` drives nothing, when it is a disconnected port. The ports that
/// wrap another (forwarders, tracers) pass its description on, so the
/// description is what tells it through any number of them.
inline std::optional<std::string> DisconnectedReason(const PortDriver& port) {
  const std::string described = port.Describe();
  if (!described.starts_with(DisconnectedPort::kDescribed)) return std::nullopt;
  const size_t start = DisconnectedPort::kDescribed.size();
  const size_t end = described.rfind(')');
  return described.substr(start, end == std::string::npos || end < start ? std::string::npos : end - start);
}

}  // namespace quorvi
