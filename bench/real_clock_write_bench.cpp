// SPDX-License-Identifier: GPL-3.0-or-later
// A whole 16F84A write and verify on the simulated board in real time, as
// on a real port: its waits should leave the core free. Goal: CPU under 10%
// of the wall time.
#include <benchmark/benchmark.h>

#include "ops/write.h"
#include "support/sim_app.h"
#include "thread_cpu.h"

namespace quorvi {
namespace {

void BM_RealClockWrite16F84A(benchmark::State& state) {
  for (auto _ : state) {
    test::SimApp sim(test::BlankChip("16F84A"), "16F84A", true);
    test::PatternImage(sim.state());
    const int64_t cpu = ThreadCpuNs();
    const int64_t start = sim.clock().Nanoseconds();
    (void)cmdWrite(sim.state(), sim.ui);  // writes, then verifies
    const auto wall = static_cast<double>(sim.clock().Nanoseconds() - start);
    state.counters["wall_s"] = wall / 1e9;
    state.counters["cpu_share"] = static_cast<double>(ThreadCpuNs() - cpu) / wall;
  }
}
BENCHMARK(BM_RealClockWrite16F84A)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace quorvi
