// SPDX-License-Identifier: GPL-3.0-or-later
// What a line trace costs: the CPU of a 16F877A write and verify with the
// trace on, divided by the same write without it, on the virtual clock over
// the simulated board, and the bytes of the trace file. The least CPU of a
// few runs is taken, so that the machine's other load counts for little.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <limits>
#include <string>

#include "hw/vcd_trace.h"
#include "ops/write.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

double CpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

struct Run {
  double cpu = 0;
  uintmax_t bytes = 0;
};

// `trace` empty: untraced.
Run Write16F877A(const std::string& trace, TraceWindow window) {
  const char* const chip = "16F877A";
  VcdTracePort* tracer = nullptr;
  test::PortWiring wiring;
  if (!trace.empty()) {
    wiring = [&](std::unique_ptr<PortDriver> board, Clock& clock) -> std::unique_ptr<PortDriver> {
      auto traced = VcdTracePort::Open(std::move(board), clock, trace, window);
      tracer = traced.value().get();
      return std::move(traced).value();
    };
  }
  test::SimApp sim(test::PatternedChip(chip), chip, false, VirtualClock::kDefaultPortAccessNs, wiring);
  test::PatternImage(sim.state());
  Run run;
  const double start = CpuSeconds();
  (void)cmdWrite(sim.state(), sim.ui);  // writes, then verifies
  if (tracer != nullptr) (void)tracer->Close();
  run.cpu = CpuSeconds() - start;
  if (tracer != nullptr) run.bytes = std::filesystem::file_size(trace);
  return run;
}

// Arg 0: a plain VCD, 1: zstd-compressed, 2: gzip-compressed, 3: plain, of
// 100 ms in the middle of the write.
void BM_TraceWrite16F877A(benchmark::State& bench) {
  static const char* const kNames[] = {"write.vcd", "write.vcd.zst", "write.vcd.gz", "write.vcd"};
  const TraceWindow window = bench.range(0) == 3 ? TraceWindow{.startNs = 5'000'000'000, .endNs = 5'100'000'000}
                                                 : TraceWindow{};
  test::TempDir dir;
  const std::string path = (dir.path() / kNames[bench.range(0)]).string();
  double plain = std::numeric_limits<double>::max();
  double traced = std::numeric_limits<double>::max();
  uintmax_t bytes = 0;
  for (auto _ : bench) {
    for (int i = 0; i < 3; ++i) {
      plain = std::min(plain, Write16F877A("", {}).cpu);
      const Run run = Write16F877A(path, window);
      traced = std::min(traced, run.cpu);
      bytes = run.bytes;
    }
  }
  bench.counters["plain_cpu_s"] = plain;
  bench.counters["traced_cpu_s"] = traced;
  bench.counters["cpu_ratio"] = traced / plain;
  bench.counters["trace_MB"] = static_cast<double>(bytes) / 1e6;
}
BENCHMARK(BM_TraceWrite16F877A)->DenseRange(0, 3)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvi
