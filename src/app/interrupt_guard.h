// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "hw/port_driver.h"

namespace quorvi {

/// Catches Ctrl-C and SIGTERM. The handler only notes the signal; the next
/// port access (there is one every few microseconds while an operation runs)
/// powers the target down and ends the program.
void InstallInterruptHandlers();
bool Interrupted();
/// The exit status a run stopped by a signal ends with: 128 + the signal.
int InterruptedStatus();

/// A port that, once a signal has come, switches the programming voltage
/// and the supply off and drives data and clock low, then calls `onStop`
/// (which ends the program).
class InterruptGuardPort final : public PortWrapper {
 public:
  InterruptGuardPort(std::unique_ptr<PortDriver> inner, std::function<void()> onStop);

  void WriteData(uint8_t value) override;
  uint8_t ReadStatus() override;
  void MarkSample() override;
  /// Powers the target down if a signal has come; returns whether it had.
  bool StopIfInterrupted();
  /// The run is ending anyway: from now on a signal is only noted, so the
  /// end (power-down, trace, chip state) completes in order.
  void Disarm() { stopping_ = true; }

 protected:
  PortDriver& Inner() const override { return *inner_; }

 private:
  std::unique_ptr<PortDriver> inner_;
  std::function<void()> onStop_;
  uint8_t last_ = 0;
  bool stopping_ = false;
};

}  // namespace quorvi
