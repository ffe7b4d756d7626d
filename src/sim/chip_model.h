// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sim/chip_info.h"
#include "sim/chip_state.h"
#include "util/result.h"

namespace quorvi::sim {

/// The socket pins as the chip sees them.
struct SocketPins {
  bool vdd = false;      // supply switched on
  double vddVolts = 0.0; // the board's supply level
  bool vpp = false;      // programming voltage on this chip's MCLR pin
  bool clock = false;
  bool data = false;     // DataOut as driven by the board
};

/// A chip in the simulated socket. The board tells it every change of its
/// pins with the time; the chip answers with what it drives on the data line.
/// What a real chip would refuse (a wait cut short, an order its document
/// does not allow) it refuses too, and notes the broken rule with the
/// document that sets it.
class ChipModel {
 public:
  virtual ~ChipModel() = default;

  /// Every rule the host broke, in order, each naming its document.
  const std::vector<std::string>& violations() const { return violations_; }

  /// The pins after a port write (or unchanged, to let time pass).
  virtual void Update(const SocketPins& pins, int64_t nowNs) = 0;
  /// The chip's drive of the data line; nullopt when it leaves it released.
  virtual std::optional<bool> DataDrive() const = 0;
  virtual bool inProgrammingMode() const = 0;
  /// "UV erase" of a windowed EPROM part; flash parts refuse it.
  virtual Status UvErase() = 0;

  virtual const ChipInfo& info() const = 0;
  virtual const ChipState& state() const = 0;
  virtual ChipState& state() = 0;

 protected:
  /// Notes a broken rule at `nowNs`.
  void Violate(int64_t nowNs, const std::string& rule);

 private:
  std::vector<std::string> violations_;
};

/// The model for the chip's class, holding `state`.
Result<std::unique_ptr<ChipModel>> MakeChip(ChipState state);

}  // namespace quorvi::sim
