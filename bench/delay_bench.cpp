// SPDX-License-Identifier: GPL-3.0-or-later
// How closely short waits on the real clock hit their intended length
// ((round-half-even(ms x 10) - 1) units of 1/12000 s). Goal: the largest
// deviation under 50 µs on an idle machine. Counters: mean_dev_us, max_dev_us.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "hw/clock.h"
#include "hw/delay.h"

namespace quorvi {
namespace {

void BM_DelayMsAccuracy(benchmark::State& state) {
  const float ms = static_cast<float>(state.range(0)) / 10.0F;
  const double intendedUs = static_cast<double>(ShortWaitUnits(ms)) * 1e6 / 12000.0;
  RealClock clock;
  double sum = 0.0;
  double worst = 0.0;
  int64_t count = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    DelayMs(clock, ms);
    const auto took = std::chrono::steady_clock::now() - start;
    const double us = std::chrono::duration<double, std::micro>(took).count();
    state.SetIterationTime(us / 1e6);
    const double deviation = std::abs(us - intendedUs);
    sum += deviation;
    worst = std::max(worst, deviation);
    ++count;
  }
  state.counters["intended_us"] = intendedUs;
  state.counters["mean_dev_us"] = count > 0 ? sum / static_cast<double>(count) : 0.0;
  state.counters["max_dev_us"] = worst;
}
// Arguments are tenths of a millisecond: 0.5, 1, 5, 10, 15 and 19.9 ms.
BENCHMARK(BM_DelayMsAccuracy)->Arg(5)->Arg(10)->Arg(50)->Arg(100)->Arg(150)->Arg(199)->Iterations(200)->UseManualTime();

}  // namespace
}  // namespace quorvi
