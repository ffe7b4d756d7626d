// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/serial_protocol.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "support/line_trace.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

using test::FallingEdgeBits;
using test::RecordedLink;
using Bits = std::vector<int>;

ProtocolTarget Target(const char* name = "16F84", int family = 1, int pins = 18, bool pairFlag = false) {
  return {.name = name, .family = family, .pairFlag = pairFlag, .pinCount = pins};
}

int RisingClocks(const std::vector<uint8_t>& writes) {
  int count = 0;
  bool high = false;
  for (const uint8_t byte : writes) {
    const bool now = (byte & line::kClock) != 0;
    count += now && !high ? 1 : 0;
    high = now;
  }
  return count;
}

Bits Lsb(int value, int count = 14) {
  Bits bits;
  for (int i = 0; i < count; ++i) bits.push_back((value >> i) & 1);
  return bits;
}

// A load: six command bits, the start bit, the check bits, the word, the stop bit.
Bits Load(int code, const Bits& check, int word) {
  Bits b = Lsb(code, 6);
  b.push_back(0);
  b.insert(b.end(), check.begin(), check.end());
  const Bits w = Lsb(word);
  b.insert(b.end(), w.begin(), w.end());
  b.push_back(0);
  return b;
}

// A part with check bits gets them before program and configuration words
// (an odd count of ones among bits 13, 11, .. 1, then an even count among
// bits 12, 10, .. 0), never before data; its reads clock past them too.
TEST(Transfers, CheckBitsGoWithProgramAndConfigurationWordsOnly) {
  struct Case {
    const char* name;
    std::function<void(SerialProtocol&)> run;
    Bits bits;  // empty: only the clock count is checked
    int clocks;
  };
  for (const Case& c : {
           Case{"Load program", [](SerialProtocol& p) { p.LoadProgramData(0x3FFF); }, Load(2, {1, 0}, 0x3FFF), 24},
           {"Load program, odd bits only", [](SerialProtocol& p) { p.LoadProgramData(0x2AAA); },
            Load(2, {1, 1}, 0x2AAA), 24},
           {"Load data", [](SerialProtocol& p) { p.LoadDataMemory(0x3FFF); }, Load(3, {}, 0x3FFF), 22},
           {"Load configuration", [](SerialProtocol& p) { p.LoadConfiguration(0); }, Load(0, {0, 1}, 0), 24},
           {"Read", [](SerialProtocol& p) { p.ReadProgramWord(); }, {}, 6 + 18},
       }) {
    RecordedLink r;
    SerialProtocol p(r.link, Target("16F84", 1, 18, /*pairFlag=*/true));
    c.run(p);
    const auto writes = r.TakeWrites();
    if (!c.bits.empty()) {
      EXPECT_EQ(FallingEdgeBits(writes), c.bits) << c.name;
    }
    EXPECT_EQ(RisingClocks(writes), c.clocks) << c.name;
    EXPECT_EQ(writes.back() & line::kDataOut, 0) << c.name << ": the data line is left low";
  }
}

// On a port that costs nothing, only the waits move the clock: the protocol's
// own holds must still give the chip its setup, hold and command-to-data times.
TEST(BitTiming, AFreePortStillGetsTheDocumentedMinimums) {
  RecordedLink r(0);
  auto timed = std::make_unique<test::TimedPort>(r.clock);
  test::TimedPort* port = timed.get();
  r.link.SetDriver(std::move(timed));
  SerialProtocol p(r.link, Target());
  p.IncrementAddress();
  p.ReadProgramWord();
  const auto& writes = port->writes();
  int64_t lastFall = -1;
  int64_t lastDataChange = 0;
  bool commandEnded = false;
  int fallsInCommand = 0;
  for (size_t i = 1; i < writes.size(); ++i) {
    const uint8_t before = writes[i - 1].value;
    const uint8_t now = writes[i].value;
    const int64_t at = writes[i].ns;
    if ((before ^ now) & line::kDataOut) {
      if (lastFall >= 0) {
        EXPECT_GE(at - lastFall, IcspTiming().holdNs) << "hold at write " << i;
      }
      lastDataChange = at;
    }
    if (!(before & line::kClock) && (now & line::kClock)) {
      if (commandEnded) {
        EXPECT_GE(at - lastFall, IcspTiming().commandToDataNs) << "tdly2 at write " << i;
      }
      commandEnded = false;
    }
    if ((before & line::kClock) && !(now & line::kClock)) {
      EXPECT_GE(at - lastDataChange, IcspTiming().setupNs) << "setup at write " << i;
      lastFall = at;
      if (++fallsInCommand == 6) commandEnded = true;
    }
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
  int64_t vddOnNs = -1;
  int64_t vppOnNs = -1;
  int64_t endNs = 0;
};

EntryTimes TimeEntry(const ProtocolTarget& target) {
  VirtualClock clock(0);
  auto port = std::make_unique<test::TimedPort>(clock);
  test::TimedPort* timed = port.get();
  PortLink link(std::move(port), clock);
  SerialProtocol p(link, target);
  p.EnterProgrammingMode();
  EntryTimes t;
  for (const auto& w : timed->writes()) {
    if ((w.value & line::kVdd) == 0 && t.vddOnNs < 0) t.vddOnNs = w.ns;
    if ((w.value & (line::kVpp1 | line::kVpp2 | line::kVpp3)) != 0x38 && t.vppOnNs < 0) t.vppOnNs = w.ns;
  }
  t.endNs = clock.Nanoseconds();
  return t;
}

TEST(EnterProgrammingMode, SettleWaitsByPartAndVppFirstParts) {
  const EntryTimes f84 = TimeEntry(Target());
  EXPECT_EQ(f84.vddOnNs, 100'000'000);
  EXPECT_EQ(f84.vppOnNs - f84.vddOnNs, 100'000'000);
  EXPECT_EQ(f84.endNs - f84.vppOnNs, 100'000'000);
  // "At once": only the few microseconds a Vdd-first entry lets the supply settle.
  for (const ProtocolTarget& t : {Target("16C558", 2), Target("12F675", 1, 8)}) {
    const EntryTimes at = TimeEntry(t);
    EXPECT_GE(at.vppOnNs - at.vddOnNs, IcspTiming().vddBeforeVppNs) << t.name;
    EXPECT_LT(at.vppOnNs - at.vddOnNs, 10'000) << t.name;
  }
  ProtocolTarget first = Target("16F628A");
  first.vppFirst = true;
  const EntryTimes vppFirst = TimeEntry(first);
  EXPECT_GE(vppFirst.vddOnNs - vppFirst.vppOnNs, IcspTiming().vppBeforeVddNs);
}

}  // namespace
}  // namespace quorvi
