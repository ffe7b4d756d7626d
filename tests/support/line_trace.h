// SPDX-License-Identifier: GPL-3.0-or-later
// Reading recorded port writes back as clocked bits and commands.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hw/clock.h"
#include "hw/port_driver.h"

namespace quorvi::test {

/// DataOut at each falling edge of Clock, in order: what a chip latches.
std::vector<int> FallingEdgeBits(const std::vector<uint8_t>& writes);

/// The six-bit commands a 12- or 14-bit chip takes from those writes, a word
/// each: a load (0, 2, 3) with its data word, as "2(3FFF)". Loads and reads
/// (4, 5) take a 16-clock frame after the command.
std::string Commands(const std::vector<uint8_t>& writes);

/// The 18F transfers a chip takes from those writes, "command/payload" in
/// hex each: "0/0E3C 12/0080". Table reads and TABLAT shifts (1000..1011,
/// 0010), whose last eight clocks the chip drives, show as "9/--".
std::string Pic18Transfers(const std::vector<uint8_t>& writes);

/// A port that keeps each write with the clock time it happened at.
class TimedPort final : public PortDriver {
 public:
  struct Write {
    int64_t ns;
    uint8_t value;
  };
  explicit TimedPort(Clock& clock) : clock_(clock) {}
  void WriteData(uint8_t value) override { writes_.push_back({clock_.Nanoseconds(), value}); }
  uint8_t ReadStatus() override { return 0x40; }
  std::string Describe() const override { return "timed test port"; }
  const std::vector<Write>& writes() const { return writes_; }

 private:
  Clock& clock_;
  std::vector<Write> writes_;
};

}  // namespace quorvi::test
