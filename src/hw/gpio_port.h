// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hw/gpio_chip.h"
#include "hw/pin_map.h"
#include "hw/port_driver.h"
#include "util/result.h"

namespace quorvi {

/// Estimates for the virtual clock, not measurements: one set-values or
/// get-value ioctl through libgpiod on a Raspberry Pi class board (the round
/// trip into the kernel and the pin controller's register access).
inline constexpr int64_t kGpioSetValuesNs = 4000;
inline constexpr int64_t kGpioGetValueNs = 3000;

/// Drives the board through the lines of `chip`, wired as `map` says (its pin
/// numbers are the chip's line offsets). The lines are requested holding the
/// idle byte's levels, so that opening switches no supply on. `pins` names
/// the map for Describe ("rpi pins"). A refusal names the device and the line.
Result<std::unique_ptr<PortDriver>> OpenGpioPort(std::unique_ptr<GpioChip> chip, const PinMap& map,
                                                 std::string pins);

}  // namespace quorvi
