// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace quorvi {

/// Time as the protocols see it. The real clock is the PC's; the virtual
/// clock moves only when waited on or when the port is used, so a whole chip
/// can be programmed against the simulator in milliseconds.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Nanoseconds since the clock was made; never goes back.
  virtual int64_t Nanoseconds() = 0;
  /// Waits `ns`, never less, without letting the window run (short waits).
  virtual void Spin(int64_t ns) = 0;
  /// Gives time away for up to `ns` (one slice of a long wait); may return early.
  virtual void Idle(int64_t ns) = 0;
  /// Called once per port access; the virtual clock charges `costNs`, or a
  /// parallel port access when the port gives no cost of its own.
  virtual void ChargePortAccess(std::optional<int64_t> costNs = std::nullopt) { (void)costNs; }
  /// True when its time is an estimate of a real port's, not time that passed.
  virtual bool Estimates() const { return false; }

  /// The millisecond clock of the protocols: wraps at 2^32 like timeGetTime.
  uint32_t Milliseconds() { return static_cast<uint32_t>(Nanoseconds() / 1'000'000); }

  /// Lets a window stay live during long waits (never called for short ones).
  void SetEventPump(std::function<void()> pump) { pump_ = std::move(pump); }
  virtual void PumpEvents() {
    if (pump_) pump_();
  }

 private:
  std::function<void()> pump_;
};

/// The PC's steady clock. A short wait sleeps until just before its end and
/// spins the rest; a long one sleeps in slices. Used on one thread: the first
/// short wait sets that thread's timer slack and measures its wake-up lateness.
class RealClock final : public Clock {
 public:
  RealClock();
  int64_t Nanoseconds() override;
  void Spin(int64_t ns) override;
  void Idle(int64_t ns) override;
  /// How early a sleep ends before a short wait's deadline, to spin the rest.
  int64_t wakeUpMarginNs();

 private:
  int64_t origin_;
  int64_t wakeUpMarginNs_ = -1;
};

/// Simulated time: advances only when waited on, plus a fixed cost per port access.
class VirtualClock final : public Clock {
 public:
  /// About what one access to a real parallel port costs.
  static constexpr int64_t kDefaultPortAccessNs = 1000;

  explicit VirtualClock(int64_t portAccessNs = kDefaultPortAccessNs) : portAccessNs_(portAccessNs) {}
  int64_t Nanoseconds() override { return now_; }
  void Spin(int64_t ns) override { Advance(ns); }
  void Idle(int64_t ns) override { Advance(ns); }
  void ChargePortAccess(std::optional<int64_t> costNs = std::nullopt) override {
    Advance(costNs.value_or(portAccessNs_));
  }
  bool Estimates() const override { return true; }

  void Advance(int64_t ns) {
    if (ns > 0) now_ += ns;
  }
  int64_t portAccessNs() const { return portAccessNs_; }

 private:
  int64_t now_ = 0;
  int64_t portAccessNs_;
};

}  // namespace quorvi
