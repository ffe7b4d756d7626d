// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hw/clock.h"
#include "hw/port_driver.h"
#include "sim/chip_model.h"

namespace quorvi::sim {

/// The programmer board with a chip in its socket, as a port. It watches
/// every byte written: DataOut, Clock, Vdd, the three Vpp switches (only the
/// one wired to the chip's MCLR pin counts) and the Vdd-level counter; and it
/// answers DataIn with the chip's drive, pulled high when nothing drives it.
class SimBoard final : public PortDriver {
 public:
  /// The counter's step at power-on: mid-scale, 5.0 V.
  static constexpr int kPowerOnStep = 128;
  /// A VddStep low level held this long resets the counter to mid-scale.
  static constexpr int64_t kStepResetNs = 200'000'000;

  explicit SimBoard(Clock& clock, std::unique_ptr<ChipModel> chip = nullptr);

  void WriteData(uint8_t value) override;
  uint8_t ReadStatus() override;
  std::string Describe() const override;
  std::optional<bool> BusLevel() const override { return DataLineLevel(); }

  void Insert(std::unique_ptr<ChipModel> chip);
  std::unique_ptr<ChipModel> Remove();
  /// The chip in the socket, or null.
  ChipModel* chip() { return chip_.get(); }
  /// Lets the chip see the time that passed since the last port access.
  void Sync();

  /// The data line as a probe on the socket sees it: DataOut (released
  /// high) and the chip's drive, wired together. Stuck faults are not on it.
  bool DataLineLevel() const;

  int vddStep() const { return step_; }
  double VddVolts() const;
  uint8_t lastWrite() const { return output_; }

  /// What the supplies did that could harm a chip: a supply switched on
  /// for a moment, a programming voltage without Vdd.
  const std::vector<std::string>& faults() const { return faults_; }
  /// The board's faults and every rule the chip in the socket saw broken.
  std::vector<std::string> Problems() const;

  /// A supply on for less than this was never asked for: a glitch.
  static constexpr int64_t kShortestSupplyNs = 1'000'000;

 private:
  bool ChipPresent() const { return chip_ && !chip_->state().faults.noChip; }
  SocketPins Pins() const;
  void TrackVddStep(uint8_t value, int64_t nowNs);
  void TrackSupplies(uint8_t value, int64_t nowNs);
  /// Notes a supply above the chip's absolute maximum, once per excursion.
  void CheckVddLevel(int64_t nowNs);
  /// True when `vppLine` may be on without Vdd for `ns`: the start of a
  /// Vpp-first entry on the chip's own switch, or a memory the switch feeds.
  bool VppAloneAllowed(uint8_t vppLine, int64_t ns) const;
  void Fault(int64_t nowNs, const std::string& what);

  Clock& clock_;
  std::unique_ptr<ChipModel> chip_;
  // Until the first write the port's lines are taken as the safe idle state.
  uint8_t output_ = 0x7C;
  int step_ = kPowerOnStep;
  int64_t stepLowSinceNs_ = 0;
  bool stepResetDone_ = false;
  // When each supply line (Vdd, Vpp1..3 as line masks) last came on, and
  // since when a Vpp has been on without Vdd.
  std::map<uint8_t, int64_t> onSinceNs_;
  std::map<uint8_t, int64_t> aloneSinceNs_;
  std::vector<std::string> faults_;
  bool overVoltage_ = false;
};

/// A board with a chip of `state` in its socket.
Result<std::unique_ptr<SimBoard>> MakeBoard(Clock& clock, ChipState state);

}  // namespace quorvi::sim
