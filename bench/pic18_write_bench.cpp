// SPDX-License-Identifier: GPL-3.0-or-later
// What an 18F452 write costs on a real parallel port, estimated on the
// virtual clock over the simulated board (1 µs a port access): (a) a full
// image, every program word, ID, configuration register and data EEPROM byte
// used; (b) a 2 KiB program, the rest of program memory FFFFh and the data
// EEPROM blank, with the same IDs and configuration. Both erase the chip
// first. Goals: (b) at most 15% of (a); port accesses per programmed byte
// within 1.1x of the least that DS39576's own sequences take.
//
// Counters: *_program_s the program memory alone, and program_ratio;
// *_write_s from the command's start to the verify, and write_ratio: this
// adds the power-up and the power cycle of the configuration write, about
// 0.5 s whatever the image holds; *_total_s the whole command with the
// verify, which reads every word. *_per_byte: the program memory's port
// accesses per programmed byte, and *_minimum_per_byte DS39576's.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "ops/op_texts.h"
#include "ops/write.h"
#include "protocol/pic18_protocol.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

// DS39576's code memory sequences (3.2) in transfers of a 4-bit command and
// a 16-bit payload: a multi-panel write loads each panel's buffer with the
// whole table pointer (six core instructions) and four table writes, then one
// NOP holds P9: 4 x (6 + 4) + 1 = 41 transfers for 32 bytes on a part of four
// panels. A single-panel write takes 6 + 4 + 1 = 11 for 8 bytes.
// On this board a bit is three port writes (data, clock up, clock down) and
// each payload ends with one more that takes the data line low.
constexpr double kAccessesPerTransfer = (4 + 16) * 3 + 1;
constexpr double kMultiPanelMinimumPerByte = (4 * (6 + 4) + 1) * kAccessesPerTransfer / (4 * kPanelBufferBytes);
constexpr double kSinglePanelMinimumPerByte = (6 + 4 + 1) * kAccessesPerTransfer / kPanelBufferBytes;
constexpr int32_t kSmallProgramWords = 1024;

// Counts what reaches the board: every write and every status read.
class CountingPort final : public PortWrapper {
 public:
  CountingPort(std::unique_ptr<PortDriver> inner, int64_t& accesses) : inner_(std::move(inner)), accesses_(accesses) {}
  void WriteData(uint8_t value) override {
    ++accesses_;
    inner_->WriteData(value);
  }
  uint8_t ReadStatus() override {
    ++accesses_;
    return inner_->ReadStatus();
  }
  void MarkSample() override {
    ++accesses_;
    inner_->MarkSample();
  }

 protected:
  PortDriver& Inner() const override { return *inner_; }

 private:
  std::unique_ptr<PortDriver> inner_;
  int64_t& accesses_;
};

// Notes the virtual time and the port accesses at each status the write shows.
class StampingUi final : public UiHost {
 public:
  struct Stamp {
    std::string status;
    int64_t ns;
    int64_t accesses;
  };
  StampingUi(Clock& clock, const int64_t& accesses) : clock_(clock), accesses_(accesses) {}
  void ShowStatus(const std::string& text) override {
    stamps.push_back({text, clock_.Nanoseconds(), accesses_});
  }
  void ShowProgress(double) override {}
  void HideProgress() override {}
  void HideStatus() override {}
  void SetStatusBar(const std::string&) override {}
  void ShowMessage(const UserMessage& message) override { failures.push_back(message.text); }
  bool AskYesNo(const UserMessage&) override { return true; }
  void PumpEvents() override {}
  void PlaySound(const std::string&) override {}
  void Terminate(int, const std::string&) override {}

  std::vector<Stamp> stamps;
  std::vector<std::string> failures;

 private:
  Clock& clock_;
  const int64_t& accesses_;
};

struct Run {
  double writeSeconds = 0;
  double programSeconds = 0;
  double totalSeconds = 0;
  double programAccesses = 0;
  double programmedBytes = 0;
  std::string failure;
};

Run Measure(bool full) {
  int64_t accesses = 0;
  const test::PortWiring counting = [&accesses](std::unique_ptr<PortDriver> board, Clock&) {
    return std::make_unique<CountingPort>(std::move(board), accesses);
  };
  test::SimApp sim(test::BlankChip("18F452"), "18F452", false, VirtualClock::kDefaultPortAccessNs, counting);
  AppState& state = sim.state();
  test::PatternImage(state);
  state.options.chkErase = true;
  int32_t usedWords = state.device.programSize + 1;
  if (!full) {
    std::fill(state.image.programBuffer.begin() + kSmallProgramWords,
              state.image.programBuffer.begin() + usedWords, 0xFFFF);
    state.image.dataBuffer.fill(0xFF);
    usedWords = kSmallProgramWords;
  }
  StampingUi ui(sim.clock(), accesses);
  const int64_t start = sim.clock().Nanoseconds();
  Run run;
  if (!cmdWrite(state, ui).ok()) {
    run.failure = "the write failed: " + (ui.failures.empty() ? std::string() : ui.failures[0]);
    return run;
  }
  const auto compare = std::find_if(ui.stamps.begin(), ui.stamps.end(),
                                    [](const StampingUi::Stamp& s) { return s.status.starts_with("Comparing"); });
  // The program memory runs from the family's own "Writing data..." to the next status.
  auto program = std::find_if(std::make_reverse_iterator(compare), ui.stamps.rend(),
                              [](const StampingUi::Stamp& s) { return s.status == op_text::kWritingData; });
  const auto programStart = std::prev(program.base());
  const auto programEnd = std::next(programStart);
  run.writeSeconds = static_cast<double>(compare->ns - start) / 1e9;
  run.programSeconds = static_cast<double>(programEnd->ns - programStart->ns) / 1e9;
  run.totalSeconds = static_cast<double>(sim.clock().Nanoseconds() - start) / 1e9;
  run.programAccesses = static_cast<double>(programEnd->accesses - programStart->accesses);
  run.programmedBytes = 2.0 * usedWords;
  return run;
}

void BM_Write18F452(benchmark::State& bench) {
  Run full;
  Run small;
  for (auto _ : bench) {
    full = Measure(true);
    small = Measure(false);
  }
  for (const Run* run : {&full, &small}) {
    if (!run->failure.empty()) return bench.SkipWithError(run->failure.c_str());
  }
  bench.counters["full_write_s"] = full.writeSeconds;
  bench.counters["small_write_s"] = small.writeSeconds;
  bench.counters["write_ratio"] = small.writeSeconds / full.writeSeconds;
  bench.counters["full_program_s"] = full.programSeconds;
  bench.counters["small_program_s"] = small.programSeconds;
  bench.counters["program_ratio"] = small.programSeconds / full.programSeconds;
  bench.counters["full_total_s"] = full.totalSeconds;
  bench.counters["small_total_s"] = small.totalSeconds;
  bench.counters["full_per_byte"] = full.programAccesses / full.programmedBytes;
  bench.counters["full_minimum_per_byte"] = kMultiPanelMinimumPerByte;
  bench.counters["small_per_byte"] = small.programAccesses / small.programmedBytes;
  bench.counters["small_minimum_per_byte"] = kSinglePanelMinimumPerByte;
}

BENCHMARK(BM_Write18F452)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvi
