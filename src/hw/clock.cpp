// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/clock.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace quorvi {

namespace {

int64_t SteadyNs() {
  using namespace std::chrono;
  return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

// Long waits sleep at most this long between event pumps, so a window repaints.
constexpr int64_t kIdleSliceNs = 2'000'000;

}  // namespace

RealClock::RealClock() : origin_(SteadyNs()) {}

int64_t RealClock::Nanoseconds() { return SteadyNs() - origin_; }

void RealClock::Spin(int64_t ns) {
  // A scheduler sleep is far coarser than the 83 µs steps of a short wait.
  const int64_t end = SteadyNs() + ns;
  while (SteadyNs() < end) {
  }
}

void RealClock::Idle(int64_t ns) {
  std::this_thread::sleep_for(std::chrono::nanoseconds(std::clamp<int64_t>(ns, 0, kIdleSliceNs)));
}

}  // namespace quorvi
