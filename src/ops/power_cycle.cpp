// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/power_cycle.h"

#include "hw/delay.h"

namespace quorvi {

namespace {

constexpr float kHoldMs = 100.0F;

}  // namespace

std::vector<PowerStep> PowerCycle(AppState& state) {
  PortLink& link = state.link;
  const DeviceDescriptor& device = state.device;
  std::vector<PowerStep> steps;
  const auto step = [&](const char* what) { steps.push_back({what, link.clock().Nanoseconds(), link.outputShadow()}); };
  step("supplies off");
  link.SetDataLine(kFalse);
  link.SetVdd("on");
  step("Vdd on");
  DelayMs(link.clock(), kHoldMs);
  link.SetProgrammingVoltage(kTrue, device.pinCount, device.rules.calibrationBlock);
  step("Vpp on");
  DelayMs(link.clock(), kHoldMs);
  link.SetProgrammingVoltage(kFalse, device.pinCount, device.rules.calibrationBlock);
  link.SetVdd("off");
  step("target powered down");
  return steps;
}

}  // namespace quorvi
