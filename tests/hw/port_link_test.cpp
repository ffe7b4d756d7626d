// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/port_link.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/recorded_link.h"

namespace quorvi {
namespace {

using Bytes = std::vector<uint8_t>;
using test::RecordedLink;

struct LineCase {
  const char* name;
  uint8_t start;  // shadow before the call
  std::function<void(PortLink&)> action;
  Bytes writes;  // exactly what reaches the port
};

// 0x3C: every supply off, clock, data and VddStep low.
TEST(PortLink, EachLineOperationWritesExactlyTheseBytes) {
  const std::vector<LineCase> cases = {
      {"data high", 0x00, [](PortLink& l) { l.SetDataLine(kTrue); }, {0x01}},
      {"data: any non-zero is high", 0x00, [](PortLink& l) { l.SetDataLine(1); }, {0x01}},
      {"data low", 0x3D, [](PortLink& l) { l.SetDataLine(kFalse); }, {0x3C}},
      {"clock true", 0x3C, [](PortLink& l) { l.SetClockLine(kTrue); }, {0x3E}},
      {"clock: 1 is not true", 0x3E, [](PortLink& l) { l.SetClockLine(1); }, {0x3C}},
      {"pulse: two writes", 0x01, [](PortLink& l) { l.PulseClock(); }, {0x03, 0x01}},
      {"Vdd on touches its bit only", 0x3F, [](PortLink& l) { l.SetVdd("on"); }, {0x3B}},
      {"Vdd off drops data and clock", 0x03, [](PortLink& l) { l.SetVdd("off"); }, {0x07, 0x06, 0x04}},
      {"Vdd: other texts write nothing", 0x3C, [](PortLink& l) { l.SetVdd("ON"); }, {}},
      {"Vpp1 on", 0x3C, [](PortLink& l) { l.SetVpp1(kTrue); }, {0x34}},
      {"Vpp3 on", 0x3C, [](PortLink& l) { l.SetVpp3(kTrue); }, {0x1C}},
      {"Vpp1 off", 0x00, [](PortLink& l) { l.SetVpp1(kFalse); }, {0x08}},
      {"Vpp2: neither true nor false", 0x3C, [](PortLink& l) { l.SetVpp2(1); }, {}},
      {"programming voltage off: all three", 0x00,
       [](PortLink& l) { l.SetProgrammingVoltage(1, "16F84", 18); }, {0x08, 0x18, 0x38}},
      {"Vpp1 for 8, 14 and 18 pins", 0x3C,
       [](PortLink& l) {
         for (const int pins : {8, 14, 18}) l.SetProgrammingVoltage(kTrue, "16F84", pins);
       },
       {0x34, 0x34, 0x34}},
      {"Vpp2 for 28, 40 and 64 pins", 0x3C,
       [](PortLink& l) {
         for (const int pins : {28, 40, 64}) l.SetProgrammingVoltage(kTrue, "16F876", pins);
       },
       {0x2C, 0x2C, 0x2C}},
      {"only Vpp3 for the 14000", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "14000", 28); }, {0x1C}},
      {"no Vpp for 20 pins", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "16F690", 20); }, {}},
      {"read data line", 0x3C, [](PortLink& l) { l.ReadDataLine(); }, {0x3D, 0x3F, 0x3D, 0x3C}},
      {"Vdd step keeps the other lines", 0x0C, [](PortLink& l) { (void)l.SetVddLevel(5.0F); }, {0x0C, 0x4C}},
  };
  for (const LineCase& c : cases) {
    RecordedLink r;
    r.link.SetOutputByte(c.start);
    r.TakeWrites();
    c.action(r.link);
    EXPECT_EQ(r.TakeWrites(), c.writes) << c.name;
  }
}

TEST(PortLink, EveryPortStartsIdleBeforeAnyOtherWrite) {
  auto port = std::make_unique<RecordingPort>();
  RecordingPort* first = port.get();
  VirtualClock clock;
  PortLink link(std::move(port), clock);
  EXPECT_EQ(first->Writes(), (Bytes{0x7C}));
  link.SetProgrammingVoltage(kFalse, "16F84", 18);  // the first operation: no supply comes on
  for (const uint8_t byte : first->Writes()) EXPECT_EQ(byte & 0x3C, 0x3C);

  ASSERT_TRUE(link.SetVddLevel(5.2F).ok());
  link.SetVdd("on");
  link.SetDataLine(kTrue);
  auto next = std::make_unique<RecordingPort>();
  RecordingPort* second = next.get();
  link.SetDriver(std::move(next));
  EXPECT_EQ(second->Writes(), (Bytes{0x7C}));
  EXPECT_EQ(link.vddStep(), 133) << "the new port gets the old Vdd step";
}

TEST(PortLink, ReadsTestBit6AndReadDataLineSamplesWhileClockIsHigh) {
  RecordedLink r;
  r.port->ScriptReads({0x40, 0xBF, 0x7F, 0x00, 0x00, 0x40});
  for (const bool high : {true, false, true, false}) EXPECT_EQ(r.link.ReadStatus(), high);
  EXPECT_EQ(r.link.statusByte(), 0x00);
  EXPECT_EQ(r.link.ReadDataLine(), 0);
  EXPECT_EQ(r.link.ReadDataLine(), 1);
  using Kind = RecordingPort::Access::Kind;
  const auto& a = r.port->accesses();
  ASSERT_EQ(a.size(), 14U);
  EXPECT_EQ(a[5], (RecordingPort::Access{Kind::kWrite, 0x7F}));
  EXPECT_EQ(a[6].kind, Kind::kRead);
}

TEST(PortLink, AccessesCostVirtualTimeAndHoldsWaitOnlyWhatIsLeft) {
  RecordedLink r(/*portAccessNs=*/1000);
  const int64_t t0 = r.clock.Nanoseconds();
  r.link.PulseClock();
  r.link.ReadStatus();
  EXPECT_EQ(r.clock.Nanoseconds() - t0, 3000);
  r.link.HoldSinceLastAccess(800);
  EXPECT_EQ(r.clock.Nanoseconds() - t0, 3000);
  r.link.HoldSinceLastAccess(4000);
  EXPECT_EQ(r.clock.Nanoseconds() - t0, 6000);  // 4 us from the start of the read
}

// Rising edges of VddStep, the line resting high before the first write.
int StepPulses(const Bytes& writes) {
  int pulses = 0;
  bool high = true;
  for (const uint8_t byte : writes) {
    const bool now = (byte & line::kVddStep) != 0;
    pulses += !high && now ? 1 : 0;
    high = now;
  }
  return pulses;
}

// From 128 (5.0 V) the counter only counts up, wrapping at 256; exactly 5.0 V
// is the reset pulse instead, even when the counter is already there.
TEST(SetVddLevel, ResetsAtFiveVoltsCountsUpToOthersAndRefusesTheUnreachable) {
  struct Case {
    float volts;
    int pulses;
    int step;
    const char* error = nullptr;
  };
  for (const Case c : {Case{5.0F, 1, 128}, {5.0176F, 0, 128},  // 5.0176 / 0.0392 is exactly 128
                       {5.2F, 5, 133}, {0.0F, 128, 0}, {9.99F, 127, 255},
                       {4.5F, 243, 115},  // through 255 to 0
                       {-0.1F, 0, 128, "Vdd level -0.100 V is outside the board's range (0 to 9.996 V)"},
                       {10.02F, 0, 128, "Vdd level 10.020 V is outside the board's range (0 to 9.996 V)"},
                       {std::numeric_limits<float>::quiet_NaN(), 0, 128, "Vdd level is not a number"}}) {
    RecordedLink r;
    ASSERT_TRUE(r.link.SetVddLevel(5.0F).ok());
    r.TakeWrites();
    const int64_t before = r.clock.Nanoseconds();
    const Status status = r.link.SetVddLevel(c.volts);
    const int64_t took = r.clock.Nanoseconds() - before;
    EXPECT_EQ(status.ok() ? "" : status.message(), c.error == nullptr ? "" : c.error) << c.volts;
    const Bytes writes = r.TakeWrites();
    EXPECT_EQ(StepPulses(writes), c.pulses) << c.volts;
    EXPECT_EQ(writes.size(), static_cast<size_t>(2 * c.pulses)) << c.volts;
    EXPECT_EQ(r.link.vddStep(), c.step) << c.volts;
    EXPECT_EQ(took >= 250'000'000, c.volts == 5.0F) << c.volts;
    EXPECT_LT(took, 251'000'000) << c.volts;
  }
}

// The board powers up at mid-scale while the link's copy starts at 0:
// counting from there would land 128 steps off (9.5 V for a 4.5 V margin).
TEST(SetVddLevel, TheFirstLevelOfARunOrOfAnotherPortResetsTheCounterFirst) {
  RecordedLink r;
  for (int run = 0; run < 2; ++run) {
    EXPECT_FALSE(r.link.vddStepKnown());
    const int64_t before = r.clock.Nanoseconds();
    ASSERT_TRUE(r.link.SetVddLevel(4.5F).ok());
    const Bytes writes = r.TakeWrites();
    EXPECT_GE(r.clock.Nanoseconds() - before, 249'000'000) << "the 250 ms reset pulse";
    EXPECT_EQ(StepPulses(writes), 1 + 243) << "the reset's own edge, then 128 -> 115 through 0";
    EXPECT_EQ(r.link.vddStep(), 115);
    auto next = std::make_unique<RecordingPort>();
    r.port = next.get();
    r.link.SetDriver(std::move(next));
  }
}

}  // namespace
}  // namespace quorvi
