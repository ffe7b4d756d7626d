// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/port_link.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/golden.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

using Bytes = std::vector<uint8_t>;
using test::RecordedLink;

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

std::string LineCall(const std::vector<std::string>& w) {
  RecordedLink r;
  r.link.SetOutputByte(static_cast<uint8_t>(std::stoi(w.at(0), nullptr, 16)));
  r.TakeWrites();
  const std::string& call = w.at(1);
  const auto flag = [&w] { return static_cast<Flag>(std::stoi(w.at(2))); };
  if (call == "SetDataLine") r.link.SetDataLine(flag());
  if (call == "SetClockLine") r.link.SetClockLine(flag());
  if (call == "PulseClock") r.link.PulseClock();
  if (call == "SetVdd") r.link.SetVdd(w.at(2));
  if (call == "SetVpp1") r.link.SetVpp1(flag());
  if (call == "SetVpp2") r.link.SetVpp2(flag());
  if (call == "SetVpp3") r.link.SetVpp3(flag());
  if (call == "SetProgrammingVoltage") r.link.SetProgrammingVoltage(flag(), std::stoi(w.at(4)), w.at(3) == "14000");
  if (call == "ReadDataLine") r.link.ReadDataLine();
  if (call == "SetVddLevel") {
    EXPECT_TRUE(r.link.SetVddLevel(std::stof(w.at(2))).ok());
  }
  std::string out;
  for (const uint8_t byte : r.TakeWrites()) out += (out.empty() ? "" : " ") + test::Hex(byte, 2);
  return out.empty() ? "none" : out;
}

// A level set after 5.0 V.
std::string Level(const std::vector<std::string>& w) {
  RecordedLink r;
  EXPECT_TRUE(r.link.SetVddLevel(5.0F).ok());
  r.TakeWrites();
  const int64_t before = r.clock.Nanoseconds();
  const Status status = r.link.SetVddLevel(std::stof(w.at(0)));
  const Bytes writes = r.TakeWrites();
  return (status.ok() ? "" : status.message() + ": ") + std::to_string(StepPulses(writes)) + " pulses in " +
         std::to_string(writes.size()) + " writes, step " + std::to_string(r.link.vddStep()) + ", " +
         std::to_string((r.clock.Nanoseconds() - before) / 1'000'000) + " ms";
}

TEST(PortLink, EachLineOperationWritesExactlyTheseBytes) {
  EXPECT_EQ(test::TableMismatches("port_link.txt", [](const std::string& row) { return LineCall(test::Words(row)); }),
            "");
}

TEST(SetVddLevel, ResetsAtFiveVoltsCountsUpToOthersAndRefusesTheUnreachable) {
  EXPECT_EQ(test::TableMismatches("vdd_level.txt", {{"SetVddLevel", Level}}), "");
}

TEST(PortLink, EveryPortStartsIdleBeforeAnyOtherWrite) {
  auto port = std::make_unique<RecordingPort>();
  RecordingPort* first = port.get();
  VirtualClock clock;
  PortLink link(std::move(port), clock);
  EXPECT_EQ(first->Writes(), (Bytes{0x7C}));
  link.SetProgrammingVoltage(kFalse, 18, false);  // the first operation: no supply comes on
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
