// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/gpio_port.h"

#include <array>

#include "hw/port_link.h"

namespace quorvi {

namespace {

// The outputs come first in the board's line order, DataIn last.
constexpr size_t kOutputs = kBoardLines - 1;
static_assert(static_cast<size_t>(BoardLine::kDataIn) == kOutputs);

class GpioPort final : public PortDriver {
 public:
  GpioPort(std::unique_ptr<GpioChip> chip, const PinMap& map, std::string pins, uint64_t levels)
      : chip_(std::move(chip)), map_(map), pins_(std::move(pins)), levels_(levels) {}

  void WriteData(uint8_t value) override {
    const uint64_t levels = map_.PinLevels(value);
    // Many of the protocols' writes change no line: they cost no ioctl.
    if (levels == levels_ || lost_) {
      costNs_ = 0;
      return;
    }
    costNs_ = kGpioSetValuesNs;
    if (Status set = chip_->SetOutputs(OutputLevels(map_, levels)); !set) {
      lost_ = set.message();
      return;
    }
    levels_ = levels;
  }

  uint8_t ReadStatus() override {
    if (lost_) {
      costNs_ = 0;
      return 0;  // DataIn low: a chip that is not there never reads blank
    }
    costNs_ = kGpioGetValueNs;
    const Result<bool> high = chip_->GetInput();
    if (!high) {
      lost_ = high.message();
      return 0;
    }
    const int pin = map_.lines[static_cast<size_t>(BoardLine::kDataIn)].pin;
    return map_.DataIn(high.value() ? uint64_t{1} << pin : 0) ? line::kDataIn : 0;
  }

  std::string Describe() const override { return chip_->Path() + " (GPIO, " + pins_ + ")"; }
  // A chip that failed once (unplugged, its driver unbound) is not trusted again.
  std::optional<std::string> NotConnectedReason() const override { return lost_; }
  std::optional<int64_t> LastAccessCostNs() const override { return costNs_; }

  static std::array<int, kOutputs> OutputLevels(const PinMap& map, uint64_t levels) {
    std::array<int, kOutputs> out{};
    for (size_t i = 0; i < kOutputs; ++i) out[i] = static_cast<int>((levels >> map.lines[i].pin) & 1U);
    return out;
  }

 private:
  std::unique_ptr<GpioChip> chip_;
  PinMap map_;
  std::string pins_;
  uint64_t levels_;
  int64_t costNs_ = 0;
  std::optional<std::string> lost_;
};

}  // namespace

Result<std::unique_ptr<PortDriver>> OpenGpioPort(std::unique_ptr<GpioChip> chip, const PinMap& map,
                                                 std::string pins) {
  std::array<unsigned, kOutputs> offsets{};
  for (size_t i = 0; i < kOutputs; ++i) offsets[i] = static_cast<unsigned>(map.lines[i].pin);
  const auto input = static_cast<unsigned>(map.lines[static_cast<size_t>(BoardLine::kDataIn)].pin);
  const uint64_t idle = map.PinLevels(line::kIdle);
  if (auto refused = chip->Request(offsets, GpioPort::OutputLevels(map, idle), input)) {
    return Status::Fail(DescribeGpioFailure(chip->Path(), *refused, &map));
  }
  return std::unique_ptr<PortDriver>(std::make_unique<GpioPort>(std::move(chip), map, std::move(pins), idle));
}

}  // namespace quorvi
