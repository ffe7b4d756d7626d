// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/port_link.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/recorded_link.h"

namespace quorvi {
namespace {

using Bytes = std::vector<uint8_t>;
using test::RecordedLink;

struct LineCase {
  std::string name;
  uint8_t start;                           // shadow before the call
  std::function<void(PortLink&)> action;
  Bytes writes;                            // exactly what reaches the port
};

void PrintTo(const LineCase& c, std::ostream* os) { *os << c.name; }

class LineOperation : public ::testing::TestWithParam<LineCase> {};

TEST_P(LineOperation, WritesExactlyTheseBytes) {
  const LineCase& c = GetParam();
  RecordedLink r;
  // Reach the start state through the public operations, then forget those writes.
  // Vdd first: switching it off also drops data and clock.
  for (const uint8_t bit : {line::kVdd, line::kDataOut, line::kClock, line::kVpp1, line::kVpp2, line::kVpp3}) {
    if ((c.start & bit) == 0) continue;
    switch (bit) {
      case line::kDataOut: r.link.SetDataLine(kTrue); break;
      case line::kClock: r.link.SetClockLine(kTrue); break;
      case line::kVdd: r.link.SetVdd("off"); break;
      case line::kVpp1: r.link.SetVpp1(kFalse); break;
      case line::kVpp2: r.link.SetVpp2(kFalse); break;
      case line::kVpp3: r.link.SetVpp3(kFalse); break;
      default: FAIL() << "start state uses a bit the test cannot set";
    }
  }
  ASSERT_EQ(r.link.outputShadow(), c.start) << "test set-up";
  r.TakeWrites();

  c.action(r.link);
  EXPECT_EQ(r.TakeWrites(), c.writes);
}

// 0x3C: the safe idle state, every supply off, clock and data low.
INSTANTIATE_TEST_SUITE_P(
    PortLink, LineOperation,
    ::testing::Values(
        LineCase{"DataHigh", 0x00, [](PortLink& l) { l.SetDataLine(kTrue); }, {0x01}},
        LineCase{"DataAnyNonZeroIsHigh", 0x00, [](PortLink& l) { l.SetDataLine(1); }, {0x01}},
        LineCase{"DataLow", 0x3D, [](PortLink& l) { l.SetDataLine(kFalse); }, {0x3C}},
        LineCase{"ClockTrue", 0x3C, [](PortLink& l) { l.SetClockLine(kTrue); }, {0x3E}},
        LineCase{"ClockOneIsNotTrue", 0x3E, [](PortLink& l) { l.SetClockLine(1); }, {0x3C}},
        LineCase{"PulseClockTwoWrites", 0x01, [](PortLink& l) { l.PulseClock(); }, {0x03, 0x01}},
        LineCase{"VddOnTouchesOnlyItsBit", 0x3F, [](PortLink& l) { l.SetVdd("on"); }, {0x3B}},
        LineCase{"VddOffDropsDataAndClock", 0x03, [](PortLink& l) { l.SetVdd("off"); }, {0x07, 0x06, 0x04}},
        LineCase{"VddOtherTextWritesNothing", 0x3C, [](PortLink& l) { l.SetVdd("ON"); }, {}},
        LineCase{"VddEmptyTextWritesNothing", 0x3C, [](PortLink& l) { l.SetVdd(""); }, {}},
        LineCase{"Vpp1On", 0x3C, [](PortLink& l) { l.SetVpp1(kTrue); }, {0x34}},
        LineCase{"Vpp2On", 0x3C, [](PortLink& l) { l.SetVpp2(kTrue); }, {0x2C}},
        LineCase{"Vpp3On", 0x3C, [](PortLink& l) { l.SetVpp3(kTrue); }, {0x1C}},
        LineCase{"Vpp1Off", 0x00, [](PortLink& l) { l.SetVpp1(kFalse); }, {0x08}},
        LineCase{"Vpp2NeitherTrueNorFalse", 0x3C, [](PortLink& l) { l.SetVpp2(1); }, {}},
        LineCase{"Vpp3NeitherTrueNorFalse", 0x3C, [](PortLink& l) { l.SetVpp3(-2); }, {}},
        LineCase{"ProgrammingVoltageOffAllThree", 0x00,
                 [](PortLink& l) { l.SetProgrammingVoltage(kFalse, "16F84", 18); }, {0x08, 0x18, 0x38}},
        LineCase{"ProgrammingVoltageAnyNonTrueIsOff", 0x00,
                 [](PortLink& l) { l.SetProgrammingVoltage(1, "16F84", 18); }, {0x08, 0x18, 0x38}},
        LineCase{"Vpp1For18Pins", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "16F84", 18); }, {0x34}},
        LineCase{"Vpp1For8Pins", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "12F675", 8); }, {0x34}},
        LineCase{"Vpp1For14Pins", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "16F676", 14); },
                 {0x34}},
        LineCase{"Vpp2For28Pins", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "16F876", 28); },
                 {0x2C}},
        LineCase{"Vpp2For40Pins", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "18F452", 40); },
                 {0x2C}},
        LineCase{"Vpp2For64Pins", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "16C924", 64); },
                 {0x2C}},
        LineCase{"Only Vpp3 for the 14000", 0x3C,
                 [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "14000", 28); }, {0x1C}},
        LineCase{"NoVppFor20Pins", 0x3C, [](PortLink& l) { l.SetProgrammingVoltage(kTrue, "16F690", 20); }, {}},
        LineCase{"ReadDataLineSequence", 0x3C, [](PortLink& l) { l.ReadDataLine(); },
                 {0x3D, 0x3F, 0x3D, 0x3C}}),
    [](const ::testing::TestParamInfo<LineCase>& param) {
      std::string name = param.param.name;
      for (char& ch : name) {
        if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
      }
      return name;
    });

TEST(PortLink, ShadowStartsAtZeroAndVddStepAtZero) {
  RecordedLink r;
  EXPECT_EQ(r.link.outputShadow(), 0);
  EXPECT_EQ(r.link.vddStep(), 0);
  EXPECT_TRUE(r.port->accesses().empty());
}

TEST(PortLink, ReadStatusKeepsTheByteAndTestsBit6Only) {
  RecordedLink r;
  r.port->ScriptReads({0x40, 0xBF, 0x7F, 0x00});
  EXPECT_TRUE(r.link.ReadStatus());
  EXPECT_EQ(r.link.statusByte(), 0x40);
  EXPECT_FALSE(r.link.ReadStatus());
  EXPECT_EQ(r.link.statusByte(), 0xBF);
  EXPECT_TRUE(r.link.ReadStatus());
  EXPECT_FALSE(r.link.ReadStatus());
}

TEST(PortLink, ReadDataLineSamplesWhileClockIsHigh) {
  RecordedLink r;
  r.port->ScriptReads({0x00, 0x40});
  EXPECT_EQ(r.link.ReadDataLine(), 0);
  EXPECT_EQ(r.link.ReadDataLine(), 1);
  using Kind = RecordingPort::Access::Kind;
  const auto& a = r.port->accesses();
  ASSERT_EQ(a.size(), 10U);
  EXPECT_EQ(a[1], (RecordingPort::Access{Kind::kWrite, 0x03}));
  EXPECT_EQ(a[2].kind, Kind::kRead);
  EXPECT_EQ(r.link.outputShadow(), 0x00);
}

TEST(PortLink, EveryAccessCostsVirtualTime) {
  RecordedLink r(/*portAccessNs=*/1000);
  r.link.PulseClock();
  r.link.ReadStatus();
  EXPECT_EQ(r.clock.Nanoseconds(), 3000);
}

// --- Vdd level -------------------------------------------------------------

// Rising edges of VddStep, the line resting high before the first write.
int CountStepPulses(const Bytes& writes) {
  int pulses = 0;
  bool high = true;
  for (const uint8_t byte : writes) {
    const bool now = (byte & line::kVddStep) != 0;
    if (!high && now) ++pulses;
    high = now;
  }
  return pulses;
}

TEST(SetVddLevel, FiveVoltsAlwaysResetsWithA250msPulse) {
  RecordedLink r;
  ASSERT_TRUE(r.link.SetVddLevel(5.0F));
  EXPECT_EQ(r.link.vddStep(), kVddStepMidScale);
  ASSERT_TRUE(r.link.SetVddLevel(5.0F).ok());  // again, already at 128
  const int64_t before = r.clock.Nanoseconds();
  r.TakeWrites();
  ASSERT_TRUE(r.link.SetVddLevel(5.0F).ok());
  EXPECT_EQ(r.TakeWrites(), (Bytes{0x00, 0x40}));
  EXPECT_GE(r.clock.Nanoseconds() - before, 250'000'000);
  EXPECT_LT(r.clock.Nanoseconds() - before, 251'000'000);
}

TEST(SetVddLevel, StepsFromTheCurrentCount) {
  struct Case {
    float startVolts;  // 5.0 puts the counter at 128 first
    float volts;
    int pulses;
    int step;
  };
  for (const Case c : {Case{5.0F, 5.0176F, 0, 128},  // 5.0176 / 0.0392 is exactly 128
                       Case{5.0F, 5.2F, 5, 133},      // 132.65 -> 133
                       Case{5.0F, 4.5F, 243, 115},    // wraps through 255 to 0
                       Case{5.0F, 0.0F, 128, 0},
                       Case{5.0F, 9.99F, 127, 255}}) {
    RecordedLink r;
    ASSERT_TRUE(r.link.SetVddLevel(c.startVolts).ok());
    r.TakeWrites();
    ASSERT_TRUE(r.link.SetVddLevel(c.volts).ok()) << c.volts;
    const Bytes writes = r.TakeWrites();
    EXPECT_EQ(CountStepPulses(writes), c.pulses) << c.volts;
    EXPECT_EQ(writes.size(), static_cast<size_t>(2 * c.pulses)) << c.volts;
    EXPECT_EQ(r.link.vddStep(), c.step) << c.volts;
  }
}

TEST(SetVddLevel, From200To4Point5VoltsWrapsIn171Pulses) {
  RecordedLink r;
  // 7.84 V is step 200, reached from the starting count of 0.
  ASSERT_TRUE(r.link.SetVddLevel(7.84F).ok());
  ASSERT_EQ(r.link.vddStep(), 200);
  r.TakeWrites();
  ASSERT_TRUE(r.link.SetVddLevel(4.5F).ok());
  const Bytes writes = r.TakeWrites();
  EXPECT_EQ(writes.size(), 2U * 171U);
  EXPECT_EQ(r.link.vddStep(), 115);
  // Each pulse is low then high on 0x40 only.
  EXPECT_EQ(writes[0], 0x00);
  EXPECT_EQ(writes[1], 0x40);
}

TEST(SetVddLevel, RefusesLevelsTheCounterCannotReach) {
  for (const float volts : {-0.1F, 10.02F, 12.0F, -5.0F}) {
    RecordedLink r;
    const Status status = r.link.SetVddLevel(volts);
    EXPECT_FALSE(status.ok()) << volts;
    EXPECT_NE(status.message().find("outside"), std::string::npos);
    EXPECT_TRUE(r.port->accesses().empty()) << volts;
    EXPECT_EQ(r.link.vddStep(), 0);
  }
}

TEST(SetVddLevel, KeepsTheOtherLines) {
  RecordedLink r;
  r.link.SetVdd("off");
  r.link.SetVpp1(kFalse);
  r.TakeWrites();
  ASSERT_TRUE(r.link.SetVddLevel(0.04F).ok());  // one step
  EXPECT_EQ(r.TakeWrites(), (Bytes{0x0C, 0x4C}));
}

}  // namespace
}  // namespace quorvi
