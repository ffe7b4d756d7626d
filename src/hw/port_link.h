// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

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
/// Every supply off (the active-low bits set), clock and data low, VddStep
/// at its resting high level: what a port must hold before anything else.
inline constexpr uint8_t kIdle = kVdd | kVpp1 | kVpp2 | kVpp3 | kVddStep;
}  // namespace line

/// Volts per step of the board's Vdd-level counter; step 128 is 5.0 V.
inline constexpr double kVoltsPerVddStep = 0.0392;
/// The counter's step after its reset pulse.
inline constexpr int kVddStepMidScale = 128;

/// Owns the lines of the programmer board. Every change edits the shadow of
/// the output byte and writes the whole byte once; nothing is read back.
/// A port starts idle: a shadow of 0 would switch every active-low supply
/// on with the first write, before anything asked for it.
class PortLink {
 public:
  /// Puts the idle byte on `driver` before anything else.
  PortLink(std::unique_ptr<PortDriver> driver, Clock& clock);

  /// Swaps the port (a port menu choice): the new port gets the idle byte
  /// first; the Vdd step is kept.
  void SetDriver(std::unique_ptr<PortDriver> driver);
  PortDriver& driver() { return *driver_; }
  /// The clock every wait on these lines is taken on: the port's own timeline
  /// when it queues writes, else the one the link was made with.
  Clock& clock();

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
  /// socket, chosen by its package (`mclrOnVpp3`: the 14000, whose MCLR only
  /// Vpp3 reaches); anything else switches all off.
  void SetProgrammingVoltage(Flag on, int pinCount, bool mclrOnVpp3);
  /// Steps the board's supply to `volts`. Exactly 5.0 V resets the counter
  /// with a 250 ms low pulse; other levels count up, wrapping at 256. A level
  /// outside the counter's 0..255 steps is refused and nothing is written.
  /// While the board's count is unknown (a new port, a new run) the reset
  /// comes first: counting from a guess lands the supply anywhere.
  Status SetVddLevel(float volts);
  /// Reads the status register; true when DataIn is high. On a port that
  /// queues writes this is a round trip: bits read in a row take MarkSample.
  bool ReadStatus();
  /// Marks DataIn to be read at this point; TakeSamples hands the bits over.
  void MarkSample();
  /// DataIn at each mark since the last call, in order (true: high).
  std::vector<bool> TakeSamples();
  /// Puts every queued write on the lines.
  void Flush();

  /// While one lives, a port that queues writes may keep them queued; when
  /// none does, each write reaches the lines before the call returns, so a
  /// line set outside an operation is never left waiting in a queue.
  class Batch {
   public:
    explicit Batch(PortLink& link) : link_(link) { ++link_.batches_; }
    ~Batch() {
      if (--link_.batches_ == 0) link_.Flush();
    }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

   private:
    PortLink& link_;
  };
  /// Clocked one-bit read of the two-wire bus; returns 0 or 1. The clock
  /// stays low at least `lowNs` and high at least `highNs` (since the last access).
  int ReadDataLine(int64_t lowNs = 0, int64_t highNs = 0);
  /// ReadDataLine's line sequence with the bit marked, not read: TakeSamples hands it over.
  void MarkDataLine(int64_t lowNs = 0, int64_t highNs = 0);
  /// Spins until at least `ns` have passed since the last port access: the
  /// protocols' setup, hold and pulse-width minimums, met on any port speed.
  void HoldSinceLastAccess(int64_t ns);

  uint8_t outputShadow() const { return outputShadow_; }
  uint8_t statusByte() const { return statusByte_; }
  int vddStep() const { return vddStep_; }
  /// False until a reset put the board's counter at a known step.
  bool vddStepKnown() const { return vddStepKnown_; }

 private:
  void Set(uint8_t mask);
  void Clear(uint8_t mask);
  void Write();
  void SetVpp(uint8_t mask, Flag on);
  void ResetVddStep();

  std::unique_ptr<PortDriver> driver_;
  Clock& clock_;
  uint8_t outputShadow_ = line::kIdle;
  uint8_t statusByte_ = 0;
  int64_t lastAccessNs_ = 0;
  int vddStep_ = 0;
  bool vddStepKnown_ = false;
  int batches_ = 0;
};

/// The Vdd-level counter step nearest to `volts` (halves to even).
int64_t VddStepFor(float volts);

}  // namespace quorvi
