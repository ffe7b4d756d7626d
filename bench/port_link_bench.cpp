// SPDX-License-Identifier: GPL-3.0-or-later
// Cost of one line change: the host must never be what limits a real port
// (about 1 µs per access). Goal: under 20 ns on a null driver.
#include <benchmark/benchmark.h>

#include <memory>

#include "hw/clock.h"
#include "hw/port_link.h"

namespace quorvi {
namespace {

class NullPort final : public PortDriver {
 public:
  void WriteData(uint8_t value) override { benchmark::DoNotOptimize(value); }
  uint8_t ReadStatus() override { return 0x40; }
  std::string Describe() const override { return "null"; }
};

// The real clock charges nothing per access, as on hardware.
void BM_LineChange(benchmark::State& state) {
  RealClock clock;
  PortLink link(std::make_unique<NullPort>(), clock);
  Flag level = kFalse;
  for (auto _ : state) {
    link.SetDataLine(level);
    level = level == kFalse ? kTrue : kFalse;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LineChange);

void BM_PulseClock(benchmark::State& state) {
  RealClock clock;
  PortLink link(std::make_unique<NullPort>(), clock);
  for (auto _ : state) link.PulseClock();
  state.SetItemsProcessed(2 * state.iterations());
}
BENCHMARK(BM_PulseClock);

}  // namespace
}  // namespace quorvi
