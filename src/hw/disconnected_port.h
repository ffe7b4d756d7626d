// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "hw/port_driver.h"

namespace quorvi {

/// What the lines go to when no port could be opened: writes have no effect
/// and the chip's data line reads low, so nothing reads as a blank chip.
class DisconnectedPort final : public PortDriver {
 public:
  explicit DisconnectedPort(std::string reason) : reason_(std::move(reason)) {}
  void WriteData(uint8_t) override {}
  uint8_t ReadStatus() override { return 0x00; }
  std::string Describe() const override { return "no port (" + reason_ + ")"; }
  std::optional<std::string> NotConnectedReason() const override { return reason_; }

 private:
  std::string reason_;
};

}  // namespace quorvi
