// SPDX-License-Identifier: GPL-3.0-or-later
// The few libgpiod calls the GPIO port makes, behind an interface: the only
// place that sees libgpiod, and the seam where tests put a chip of their own.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "hw/pin_map.h"
#include "util/result.h"

namespace quorvi {

/// Why a GPIO chip or one of its lines was refused to us.
enum class GpioFault {
  kNoChip,    // no device file at the path
  kNotAChip,  // the file is some other device
  kDenied,    // no permission on the device file
  kNoLine,    // the chip has no line at the offset
  kBusy,      // another program or a kernel driver holds the line
  kOther,     // `error` says
};

struct GpioFailure {
  GpioFault fault = GpioFault::kOther;
  /// The errno the kernel gave.
  int error = 0;
  /// The line refused, when it was one line.
  std::optional<unsigned> offset{};
  /// kBusy: who holds the line, as the kernel names its consumer ("" when it names none).
  std::string holder{};
  /// kDenied: the group the device file belongs to ("" for root's: only root may use it).
  std::string group{};
  /// kNoLine: how many lines the chip has.
  unsigned lines = 0;
};

/// The user's message for `failure` on the chip at `device`: what failed and
/// what to do about it. `map`, when given, names the refused line's pin and
/// board line (the pin numbers of a GPIO map are the chip's line offsets).
std::string DescribeGpioFailure(std::string_view device, const GpioFailure& failure, const PinMap* map = nullptr);

/// One GPIO chip with seven of its lines driven and one read.
class GpioChip {
 public:
  virtual ~GpioChip() = default;

  /// The device file, as the user named it.
  virtual const std::string& Path() const = 0;
  /// Takes `input` as an input and `outputs` as outputs that hold `levels`
  /// (0 or 1, one each) from the moment they are ours; all of them or none.
  virtual std::optional<GpioFailure> Request(std::span<const unsigned> outputs, std::span<const int> levels,
                                             unsigned input) = 0;
  /// Puts `levels` on the outputs, in Request's order, in one call.
  virtual Status SetOutputs(std::span<const int> levels) = 0;
  /// The input's level: true when high.
  virtual Result<bool> GetInput() = 0;
};

/// Opens the GPIO chip at `path` (such as /dev/gpiochip0) through libgpiod.
Result<std::unique_ptr<GpioChip>> OpenGpioChip(const std::string& path);

}  // namespace quorvi
