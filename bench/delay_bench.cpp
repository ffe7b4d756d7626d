// SPDX-License-Identifier: GPL-3.0-or-later
// Waits on the real clock: how far each short wait lands from its intended
// length ((round-half-even(ms x 10) - 1) units of 1/12000 s), and what CPU it
// burns. Goals on an idle machine: the 99.9th percentile deviation under
// 50 µs, CPU under 10% of the wait.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "hw/clock.h"
#include "hw/delay.h"
#include "thread_cpu.h"

namespace quorvi {
namespace {

// Times each wait that `wait` makes and reports its deviation from the
// intended length and the CPU it took.
template <typename Wait>
void MeasureWaits(benchmark::State& state, Wait wait) {
  const float ms = static_cast<float>(state.range(0)) / 10.0F;
  const double intendedNs = static_cast<double>(ShortWaitUnits(ms)) * 1e9 / 12000.0;
  std::vector<double> deviations;
  int64_t cpuNs = 0;
  for (auto _ : state) {
    const int64_t cpu = ThreadCpuNs();
    const int64_t start = MonotonicNs();
    wait(ms, static_cast<int64_t>(intendedNs));
    const int64_t took = MonotonicNs() - start;
    cpuNs += ThreadCpuNs() - cpu;
    state.SetIterationTime(static_cast<double>(took) / 1e9);
    deviations.push_back(std::abs(static_cast<double>(took) - intendedNs) / 1e3);
  }
  std::sort(deviations.begin(), deviations.end());
  double sum = 0;
  for (const double d : deviations) sum += d;
  const auto n = static_cast<double>(deviations.size());
  state.counters["intended_us"] = intendedNs / 1e3;
  state.counters["mean_dev_us"] = sum / n;
  state.counters["p999_dev_us"] = deviations[static_cast<size_t>(0.999 * (n - 1))];
  state.counters["max_dev_us"] = deviations.back();
  state.counters["cpu_share"] = static_cast<double>(cpuNs) / (n * intendedNs);
}

void BM_ShortWait(benchmark::State& state) {
  RealClock clock;
  MeasureWaits(state, [&clock](float ms, int64_t) { DelayMs(clock, ms); });
  state.counters["margin_us"] = static_cast<double>(clock.wakeUpMarginNs()) / 1e3;
}

// The same waits spun whole on the clock: what the machine itself does to a
// thread that never sleeps. A tail here is the machine's (other load, a
// hypervisor), and no way of waiting can beat it.
void BM_ShortWaitSpinOnly(benchmark::State& state) {
  MeasureWaits(state, [](float, int64_t ns) {
    const int64_t end = MonotonicNs() + ns;
    while (MonotonicNs() < end) {
    }
  });
}

// Arguments are tenths of a millisecond: 0.5, 1, 5, 10, 15 and 19.9 ms.
BENCHMARK(BM_ShortWait)->Arg(5)->Arg(10)->Arg(50)->Arg(100)->Arg(150)->Arg(199)->Iterations(1000)->UseManualTime();
BENCHMARK(BM_ShortWaitSpinOnly)->Arg(5)->Arg(10)->Arg(50)->Arg(100)->Arg(150)->Arg(199)->Iterations(1000)->UseManualTime();

}  // namespace
}  // namespace quorvi
