// SPDX-License-Identifier: GPL-3.0-or-later
// What a USB bit-bang adapter costs against the parallel port, on the
// virtual clock over the simulated board: the estimated time of a 16F84A
// write and verify and of a 16F877A read, the adapter's round trips, and the
// ratio to the parallel port's estimate. Goals: at most one round trip per
// word read or verified; write and verify within 1.3x, read within 2x.
// Arg 0: FT232R (1 ms round trips), 1: FT2232H (125 µs), 2: a GPIO chip
// (no round trips; each line change and read costs an ioctl).
#include <benchmark/benchmark.h>

#include "hw/ftdi_port.h"
#include "ops/compare.h"
#include "ops/read.h"
#include "ops/write.h"
#include "support/board_gpio.h"
#include "support/fake_ftdi.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

struct Run {
  double seconds = 0;
  int64_t roundTrips = 0;
  int64_t words = 0;
};

Run Measure(const char* chip, bool write, const test::PortWiring& wiring, test::FakeFtdiBus* const* bus) {
  test::SimApp sim(test::PatternedChip(chip), chip, false, VirtualClock::kDefaultPortAccessNs, wiring);
  AppState& state = sim.state();
  test::PatternImage(state);
  const int64_t start = sim.clock().Nanoseconds();
  const int64_t tripsBefore = *bus != nullptr ? (*bus)->transfers : 0;
  if (write) {
    (void)cmdWrite(state, sim.ui);  // writes, then verifies
  } else {
    (void)cmdRead(state, sim.ui, read_mode::kFull);
  }
  Run run;
  run.seconds = static_cast<double>(sim.clock().Nanoseconds() - start) / 1e9;
  run.roundTrips = *bus != nullptr ? (*bus)->transfers - tripsBefore : 0;
  run.words = state.device.programSize + 1 + state.device.dataBytes;
  return run;
}

void Adapter(benchmark::State& bench, const char* chip, bool write) {
  const bool gpio = bench.range(0) == 2;
  const FtdiChip kind = bench.range(0) == 0 ? FtdiChip::kFt232r : FtdiChip::kFt2232h;
  test::FakeFtdiBus* bus = nullptr;
  test::FakeFtdiBus* none = nullptr;
  const test::PortWiring wiring = gpio ? test::GpioWiring(PresetPinMap("rpi").value())
                                       : test::FtdiWiring(PresetPinMap(PresetFor(kind)).value(), kind, &bus);
  Run parallel;
  Run usb;
  for (auto _ : bench) {
    parallel = Measure(chip, write, {}, &none);
    usb = Measure(chip, write, wiring, &bus);
  }
  bench.counters["parallel_s"] = parallel.seconds;
  bench.counters["adapter_s"] = usb.seconds;
  bench.counters["ratio"] = usb.seconds / parallel.seconds;
  bench.counters["round_trips"] = static_cast<double>(usb.roundTrips);
  bench.counters["trips_per_word"] = static_cast<double>(usb.roundTrips) / static_cast<double>(usb.words);
}

void BM_WriteVerify16F84A(benchmark::State& bench) { Adapter(bench, "16F84A", true); }
void BM_Read16F877A(benchmark::State& bench) { Adapter(bench, "16F877A", false); }

BENCHMARK(BM_WriteVerify16F84A)->DenseRange(0, 2)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Read16F877A)->DenseRange(0, 2)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvi
