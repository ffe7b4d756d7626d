// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/serial_protocol.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ops/frame.h"
#include "support/devices.h"
#include "support/line_trace.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

using test::FallingEdgeBits;
using test::RecordedLink;

// The target the operations would build for the part, its name rules included.
ProtocolTarget Target(const char* name = "16F84", Family family = Family::kFlash, int pins = 18,
                      bool pairFlag = false) {
  DeviceDescriptor device = test::MakeDevice({.name = name, .family = family});
  device.pinCount = static_cast<int16_t>(pins);
  device.pairFlag = pairFlag;
  ApplyPartRules(device);
  return TargetOf(device, LengthenedWait);
}

// A part with check bits gets them before program and configuration words
// (an odd count of ones among bits 13, 11, .. 1, then an even count among
// bits 12, 10, .. 0), never before data; its reads clock past them too. The
// bits as latched, a clock each: command LSB first, start bit, check bits,
// word LSB first, stop bit; a read leaves the line released, high.
TEST(Transfers, CheckBitsGoWithProgramAndConfigurationWordsOnly) {
  const std::pair<std::function<void(SerialProtocol&)>, std::string> cases[] = {
      {[](SerialProtocol& p) { p.LoadProgramData(0x3FFF); }, "010000 0 10 11111111111111 0"},
      {[](SerialProtocol& p) { p.LoadProgramData(0x2AAA); }, "010000 0 11 01010101010101 0"},
      {[](SerialProtocol& p) { p.LoadDataMemory(0x3FFF); }, "110000 0 11111111111111 0"},
      {[](SerialProtocol& p) { p.LoadConfiguration(0); }, "000000 0 01 00000000000000 0"},
      {[](SerialProtocol& p) { p.ReadProgramWord(); }, "001000 1 11 11111111111111 1"},
  };
  for (auto [run, expected] : cases) {
    RecordedLink r;
    SerialProtocol p(r.link, Target("16F84", Family::kFlash, 18, /*pairFlag=*/true));
    run(p);
    const auto writes = r.TakeWrites();
    std::string bits;
    for (const int bit : FallingEdgeBits(writes)) bits += static_cast<char>('0' + bit);
    std::erase(expected, ' ');
    EXPECT_EQ(bits, expected);
    EXPECT_EQ(writes.back() & line::kDataOut, 0) << expected << ": the data line is left low";
  }
}

TEST(LoadProgramData, OneMillisecondStepBeforeTheWordAndOneUnitAfter) {
  RecordedLink r(0);
  SerialProtocol p(r.link, Target());
  p.LoadProgramData(0);
  const int64_t waits = 750'000 + 83'333;  // 1 ms spins nine units of 1/12000 s; then one more
  EXPECT_GE(r.clock.Nanoseconds(), waits);
  EXPECT_LT(r.clock.Nanoseconds(), waits + 100'000);  // plus the bit holds only
}

struct EntryTimes {
  int64_t vddOnNs = -1, vppOnNs = -1, endNs = 0;
};

EntryTimes TimeEntry(const ProtocolTarget& target) {
  VirtualClock clock(0);
  auto port = std::make_unique<test::TimedPort>(clock);
  const test::TimedPort& timed = *port;
  PortLink link(std::move(port), clock);
  SerialProtocol(link, target).EnterProgrammingMode();
  EntryTimes t{.endNs = clock.Nanoseconds()};
  for (const auto& w : timed.writes()) {
    if ((w.value & line::kVdd) == 0 && t.vddOnNs < 0) t.vddOnNs = w.ns;
    if ((w.value & (line::kVpp1 | line::kVpp2 | line::kVpp3)) != 0x38 && t.vppOnNs < 0) t.vppOnNs = w.ns;
  }
  return t;
}

TEST(EnterProgrammingMode, SettleWaitsByPartAndVppFirstParts) {
  const EntryTimes f84 = TimeEntry(Target());
  EXPECT_EQ(f84.vddOnNs, 100'000'000);
  EXPECT_EQ(f84.vppOnNs - f84.vddOnNs, 100'000'000);
  EXPECT_EQ(f84.endNs - f84.vppOnNs, 100'000'000);
  // "At once": only the few microseconds a Vdd-first entry lets the supply settle.
  for (const char* part : {"16C558", "12C508A"}) {
    const EntryTimes at = TimeEntry(Target(part, Family::kEprom, part[1] == '6' ? 18 : 8));
    EXPECT_GE(at.vppOnNs - at.vddOnNs, IcspTiming().vddBeforeVppNs) << part;
    EXPECT_LT(at.vppOnNs - at.vddOnNs, 10'000) << part;
  }
  const ProtocolTarget first = Target("16F628A");
  const EntryTimes vppFirst = TimeEntry(first);
  EXPECT_GE(vppFirst.vddOnNs - vppFirst.vppOnNs, IcspTiming().vppBeforeVddNs);
}

}  // namespace
}  // namespace quorvi
