// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/vcd_trace.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "hw/clock.h"
#include "hw/port_link.h"
#include "hw/recording_port.h"
#include "support/golden.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

using test::TempDir;

// A traced link on a virtual clock whose port accesses cost `accessNs`.
struct TracedLink {
  explicit TracedLink(int64_t accessNs = 1000, std::unique_ptr<PortDriver> inner = std::make_unique<RecordingPort>(),
                      const std::string& name = "t.vcd", TraceWindow window = {})
      : path((dir.path() / name).string()), clock(accessNs), port(dynamic_cast<RecordingPort*>(inner.get())) {
    auto traced = VcdTracePort::Open(std::move(inner), clock, path, window);
    EXPECT_TRUE(traced.ok()) << traced.message();
    tracer = traced.value().get();
    link = std::make_unique<PortLink>(std::move(traced).value(), clock);
  }
  // The file as it stands once the trace is closed.
  std::string Closed() {
    const Status closed = tracer->Close();
    EXPECT_TRUE(closed.ok()) << closed.message();
    return dir.Read(path.substr(path.rfind('/') + 1));
  }
  TempDir dir;
  const std::string path;
  VirtualClock clock;
  RecordingPort* port;  // null when the link runs on another port
  VcdTracePort* tracer;
  std::unique_ptr<PortLink> link;
};

TEST(VcdTrace, RecordsOnlyTheWiresThatChangeAtTheClocksTime) {
  TracedLink t;
  t.link->SetVdd("off");  // three writes of the idle byte the link opened with
  t.link->SetVdd("on");
  t.port->SetIdleStatus(0x00);
  t.link->ReadStatus();
  t.link->PulseClock();
  EXPECT_EQ(t.port->Writes(), (std::vector<uint8_t>{0x7C, 0x7C, 0x7C, 0x7C, 0x78, 0x7A, 0x78}));
  EXPECT_EQ(test::GoldenMismatch("trace_lines.vcd", t.Closed()), "");
}

TEST(VcdTrace, EdgesNeverShareATimestamp) {
  TracedLink t(/*accessNs=*/0);  // the clock never moves
  t.link->SetDataLine(kTrue);
  t.link->SetClockLine(kTrue);
  t.link->SetDataLine(kFalse);
  EXPECT_EQ(test::GoldenMismatch("trace_edges.vcd", t.Closed()), "");
}

// A port that knows the bus level, as the simulated board does.
class BusLevelPort final : public PortDriver {
 public:
  void WriteData(uint8_t value) override { last = value; }
  uint8_t ReadStatus() override { return 0x40; }
  std::string Describe() const override { return "bus level port"; }
  std::optional<bool> BusLevel() const override { return chipDrivesLow ? false : (last & 1) != 0; }
  uint8_t last = 0;
  bool chipDrivesLow = false;
};

TEST(VcdTrace, SdaFollowsThePortsBusLevelWithoutAStatusRead) {
  auto owned = std::make_unique<BusLevelPort>();
  BusLevelPort* port = owned.get();
  TracedLink t(1000, std::move(owned));
  t.link->SetDataLine(kTrue);  // 1a, SDA 1
  port->chipDrivesLow = true;
  t.link->SetClockLine(kTrue);  // the chip pulls the line low: SDA 0, DataIn still 1
  port->chipDrivesLow = false;
  t.link->SetClockLine(kFalse);  // released: SDA 1
  EXPECT_EQ(test::GoldenMismatch("trace_sda.vcd", t.Closed()), "");
}

TEST(VcdTrace, AccessesStillReachThePortAfterClose) {
  TracedLink t;
  t.link->SetDataLine(kTrue);
  const std::string closed = t.Closed();
  t.link->SetDataLine(kFalse);
  EXPECT_EQ(t.port->Writes(), (std::vector<uint8_t>{0x7C, 0x7D, 0x7C}));
  EXPECT_EQ(t.dir.Read("t.vcd"), closed);
}

// The times a trace's stamps give, in order.
std::vector<int64_t> Stamps(const std::string& vcd) {
  std::vector<int64_t> stamps;
  std::istringstream lines(vcd);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line[0] == '#') stamps.push_back(std::stoll(line.substr(1)));
  }
  return stamps;
}

TEST(VcdTrace, StampsAreTheClocksNanosecondsAcrossEveryDigitCount) {
  TracedLink t(/*accessNs=*/0);  // the link's first write, at 0, starts the trace
  const std::vector<int64_t> times{999'999,       1'000'000,         1'000'001,        1'000'999'999,
                                   1'001'000'000, 12'345'678'901LL, 98'765'432'109'876LL};
  Flag level = kTrue;
  for (const int64_t ns : times) {
    t.clock.Advance(ns - t.clock.Nanoseconds());
    t.link->SetDataLine(level);
    level = level == kTrue ? kFalse : kTrue;
  }
  std::vector<int64_t> expected{0};
  expected.insert(expected.end(), times.begin(), times.end());
  expected.push_back(times.back() + 1);  // the closing stamp
  EXPECT_EQ(Stamps(t.Closed()), expected);
}

// Changes every microsecond: DataOut toggles from 1000 ns on.
void ToggleData(PortLink& link, int count) {
  for (int i = 0; i < count; ++i) link.SetDataLine(i % 2 == 0 ? kTrue : kFalse);
}

TEST(VcdTrace, AWindowOpensWithTheLevelsThatHeldAndClosesAtItsEnd) {
  TracedLink t(1000, std::make_unique<RecordingPort>(), "t.vcd", {.startNs = 3500, .endNs = 6500});
  ToggleData(*t.link, 10);
  EXPECT_EQ(test::GoldenMismatch("trace_window.vcd", t.Closed()), "");
}

TEST(VcdTrace, AWindowTheRunNeverReachesIsAMessage) {
  TracedLink t(1000, std::make_unique<RecordingPort>(), "t.vcd", {.startNs = 2'000'000'000});
  ToggleData(*t.link, 3);
  EXPECT_EQ(t.tracer->Close().message(), "The trace file " + t.path +
                                             " holds no samples: the last line change, at 0 ms, came before the trace "
                                             "window");
}

TEST(TraceWindow, ParsesMillisecondsOnEitherSideOfTheColon) {
  EXPECT_EQ(test::TableMismatches("trace_window.txt",
                                  [](const std::string& text) {
                                    const Result<TraceWindow> window = ParseTraceWindow(text);
                                    if (!window) return "error: " + window.message();
                                    return std::to_string(window.value().startNs) + " to " +
                                           (window.value().endNs == TraceWindow{}.endNs
                                                ? std::string("the end")
                                                : std::to_string(window.value().endNs));
                                  }),
            "");
}

// Compressed traces are the plain trace once the usual tools have unpacked
// them, and sigrok reads what they unpack. Enough changes for many pieces.
TEST(VcdTrace, ACompressedTraceUnpacksToThePlainOne) {
  ASSERT_TRUE(test::HaveProgram("zstd")) << "zstd is missing: run scripts/install-deps --test";
  ASSERT_TRUE(test::HaveProgram("sigrok-cli")) << "sigrok-cli is missing: run scripts/install-deps --test";
  TracedLink plain;
  ToggleData(*plain.link, 30'000);
  const std::string expected = plain.Closed();
  ASSERT_GT(expected.size(), 400'000U);
  const struct {
    const char* name;
    const char* unpack;
  } kinds[] = {{"t.vcd.zst", "zstd -dc"}, {"t.vcd.gz", "gzip -dc"}};
  for (const auto& kind : kinds) {
    SCOPED_TRACE(kind.name);
    TracedLink t(1000, std::make_unique<RecordingPort>(), kind.name);
    ToggleData(*t.link, 30'000);
    const std::string packed = t.Closed();
    EXPECT_LT(packed.size(), expected.size() / 4);
    const std::string unpack = std::string(kind.unpack) + " '" + t.path + "'";
    EXPECT_EQ(test::RunCommand(unpack).out, expected);
    const test::CommandOutput show = test::RunCommand(unpack + " | sigrok-cli -i - -I vcd --show 2>&1");
    EXPECT_NE(show.out.find("Logic sample count: " + std::to_string(30'000 * 1000 + 1)), std::string::npos)
        << show.out;
  }
}

TEST(VcdTrace, AnUnwritableFileIsAMessage) {
  VirtualClock clock;
  auto traced = VcdTracePort::Open(std::make_unique<RecordingPort>(), clock, "/nonexistent-folder/t.vcd");
  ASSERT_FALSE(traced.ok());
  EXPECT_EQ(traced.message(), "Cannot write the trace file /nonexistent-folder/t.vcd");
}

// An independent reader: sigrok's VCD input and its parallel decoder must see
// our clock edges and the data bit on each. (sigrok-cli 0.7.2 may abort while
// shutting its decoders down after printing everything: exit status 134.)
TEST(VcdTrace, SigrokReadsTheTraceWithEveryFallingEdge) {
  ASSERT_TRUE(test::HaveProgram("sigrok-cli")) << "sigrok-cli is missing: run scripts/install-deps";
  const std::vector<int> bits{0, 0, 0, 1, 0, 0, 1, 1};
  TracedLink t;
  for (const int bit : bits) {
    t.link->SetDataLine(static_cast<Flag>(bit));
    t.link->PulseClock();
  }
  t.link->PulseClock();  // the decoder reports an item when the next edge comes
  const int64_t endNs = t.clock.Nanoseconds();
  t.Closed();
  const std::string& path = t.path;

  const test::CommandOutput show = test::RunCommand("sigrok-cli -i '" + path + "' -I vcd --show 2>&1");
  ASSERT_EQ(show.exitCode, 0) << show.out;
  EXPECT_NE(show.out.find("Samplerate: 1000000000"), std::string::npos) << show.out;
  EXPECT_NE(show.out.find("Channels: 9"), std::string::npos) << show.out;
  // The last change sits one access before the end, plus the closing stamp.
  EXPECT_NE(show.out.find("Logic sample count: " + std::to_string(endNs - 1000 + 1)), std::string::npos)
      << show.out;

  const test::CommandOutput decoded = test::RunCommand(
      "sigrok-cli -i '" + path +
      "' -I vcd -P parallel:clk=Clock:d0=DataOut:clock_edge=falling --protocol-decoder-samplenum 2>/dev/null");
  ASSERT_TRUE(decoded.exitCode == 0 || decoded.exitCode == 134) << decoded.exitCode;
  std::vector<int> seen;
  std::vector<long> starts;
  const std::regex item(R"((\d+)-(\d+) parallel-1: (\d))");
  for (auto it = std::sregex_iterator(decoded.out.begin(), decoded.out.end(), item); it != std::sregex_iterator();
       ++it) {
    starts.push_back(std::stol((*it)[1]));
    seen.push_back(std::stoi((*it)[3]));
  }
  EXPECT_EQ(seen, bits) << decoded.out;
  // Each bit takes three accesses (data, clock up, clock down): falling edges 3 µs apart.
  ASSERT_EQ(starts.size(), bits.size());
  for (size_t i = 1; i < starts.size(); ++i) EXPECT_EQ(starts[i] - starts[i - 1], 3000) << i;
}

}  // namespace
}  // namespace quorvi
