// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/clock.h"

#include <sys/prctl.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

namespace quorvi {

namespace {

int64_t SteadyNs() {
  using namespace std::chrono;
  return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

// Long waits sleep at most this long between event pumps, so a window repaints.
constexpr int64_t kIdleSliceNs = 2'000'000;
constexpr int64_t kUsualSpunPart = 20;
constexpr int64_t kMostSpunPart = 10;

// steady_clock is CLOCK_MONOTONIC on Linux, so its deadlines are the sleep's.
void SleepUntil(int64_t steadyNs) {
  const timespec deadline{static_cast<time_t>(steadyNs / 1'000'000'000), static_cast<long>(steadyNs % 1'000'000'000)};
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
}

// How long before a deadline a sleep must end to wake in time: a generous
// share of the scheduler's wake-up lateness, sampled now.
int64_t MeasureWakeUpMarginNs() {
  constexpr int64_t kProbeNs = 100'000;
  std::array<int64_t, 16> late{};
  for (int64_t& l : late) {
    const int64_t deadline = SteadyNs() + kProbeNs;
    SleepUntil(deadline);
    l = SteadyNs() - deadline;
  }
  std::sort(late.begin(), late.end());
  // The worst sample may be a preemption, which no margin covers.
  return std::clamp<int64_t>(2 * late[late.size() - 2], 20'000, 1'000'000);
}

}  // namespace

RealClock::RealClock() : origin_(SteadyNs()) {}

int64_t RealClock::wakeUpMarginNs() {
  // Measured on first need: a run that never waits (a file conversion) pays nothing.
  if (wakeUpMarginNs_ < 0) {
    // The default 50 µs timer slack would be most of a short wait's margin.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    wakeUpMarginNs_ = MeasureWakeUpMarginNs();
  }
  return wakeUpMarginNs_;
}

int64_t RealClock::Nanoseconds() { return SteadyNs() - origin_; }

void RealClock::Spin(int64_t ns) {
  // Sleep most of the wait so the core is free, and spin the last stretch,
  // which the scheduler cannot be trusted to end on time. A long sleep wakes
  // later than the short probes did, so the spin grows with the wait: a
  // twentieth of it, at least the measured margin, at most a tenth.
  const int64_t margin = std::min(std::max(wakeUpMarginNs(), ns / kUsualSpunPart), ns / kMostSpunPart);
  const int64_t end = SteadyNs() + ns;
  if (ns > margin) SleepUntil(end - margin);
  while (SteadyNs() < end) {
  }
}

void RealClock::Idle(int64_t ns) {
  // The last slice ends on the deadline, not on a scheduler tick after it.
  if (ns <= kIdleSliceNs) {
    Spin(ns);
    return;
  }
  SleepUntil(SteadyNs() + kIdleSliceNs);
}

}  // namespace quorvi
