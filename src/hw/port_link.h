// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "hw/clock.h"
#include "hw/port_driver.h"
#include "util/arith.h"
#include "util/result.h"

namespace quorvi {

/// The board's lines as bits of the port. Outputs are on the data register;
/// Vdd and the Vpp switches are active low (bit clear = supply on).
namespace line {
inline constexpr uint8_t kDataOut = 0x01;
inline constexpr uint8_t kClock = 0x02;
inline constexpr uint8_t kVdd = 0x04;
inline constexpr uint8_t kVpp1 = 0x08;
inline constexpr uint8_t kVpp2 = 0x10;
inline constexpr uint8_t kVpp3 = 0x20;
inline constexpr uint8_t kVddStep = 0x40;
/// On the status register.
inline constexpr uint8_t kDataIn = 0x40;
}  // namespace line

/// Volts per step of the board's Vdd-level counter; step 128 is 5.0 V.
inline constexpr double kVoltsPerVddStep = 0.0392;
/// The counter's step after its reset pulse.
inline constexpr int kVddStepMidScale = 128;

/// Owns the lines of the programmer board. Every change edits the shadow of
/// the output byte and writes the whole byte once; nothing is read back.
class PortLink {
 public:
  PortLink(std::unique_ptr<PortDriver> driver, Clock& clock);

  /// Swaps the port (a port menu choice); the shadow and Vdd step are kept.
  void SetDriver(std::unique_ptr<PortDriver> driver);
  PortDriver& driver() { return *driver_; }
  Clock& clock() { return clock_; }

  /// Puts the whole output byte at once (the programmer reset).
  void SetOutputByte(uint8_t value);
  /// Any non-zero level sets DataOut.
  void SetDataLine(Flag level);
  /// Only True sets Clock; anything else clears it.
  void SetClockLine(Flag level);
  /// Clock high then low: the chip latches DataOut on the falling edge.
  void PulseClock();
  /// "on" or "off"; "off" also takes DataOut and Clock low. Other texts do nothing.
  void SetVdd(std::string_view state);
  /// True switches the Vpp on, False off; other values do nothing.
  void SetVpp1(Flag on);
  void SetVpp2(Flag on);
  void SetVpp3(Flag on);
  /// True switches on the Vpp that reaches the MCLR pin of the device in the
  /// socket, chosen by its name and package; anything else switches all off.
  void SetProgrammingVoltage(Flag on, std::string_view deviceName, int pinCount);
  /// Steps the board's supply to `volts`. Exactly 5.0 V resets the counter
  /// with a 250 ms low pulse; other levels count up, wrapping at 256. A level
  /// outside the counter's 0..255 steps is refused and nothing is written.
  Status SetVddLevel(float volts);
  /// Reads the status register; true when DataIn is high.
  bool ReadStatus();
  /// Clocked one-bit read of the two-wire bus; returns 0 or 1.
  int ReadDataLine();

  uint8_t outputShadow() const { return outputShadow_; }
  uint8_t statusByte() const { return statusByte_; }
  int vddStep() const { return vddStep_; }

 private:
  void Set(uint8_t mask);
  void Clear(uint8_t mask);
  void Write();
  void SetVpp(uint8_t mask, Flag on);

  std::unique_ptr<PortDriver> driver_;
  Clock& clock_;
  uint8_t outputShadow_ = 0;
  uint8_t statusByte_ = 0;
  int vddStep_ = 0;
};

/// The Vdd-level counter step nearest to `volts` (halves to even).
int64_t VddStepFor(float volts);

}  // namespace quorvi
