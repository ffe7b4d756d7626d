// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/serial_protocol.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "hw/delay.h"
#include "support/line_trace.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

using test::DecodeFrames;
using test::FallingEdgeBits;
using test::Frame;
using test::RecordedLink;
using Bits = std::vector<int>;

ProtocolTarget Target16F84() { return {.name = "16F84", .family = 1, .pairFlag = false, .pinCount = 18}; }

int CountRisingClocks(const std::vector<uint8_t>& writes) {
  int count = 0;
  bool high = false;
  for (const uint8_t byte : writes) {
    const bool now = (byte & line::kClock) != 0;
    if (now && !high) ++count;
    high = now;
  }
  return count;
}

TEST(BitText, MostSignificantBitFirstFourteenCharacters) {
  EXPECT_EQ(ToBitText(8), "00000000001000");
  EXPECT_EQ(ToBitText(0x3FFF), "11111111111111");
  EXPECT_EQ(ToBitText(0x2001), "10000000000001");
}

TEST(BitText, CommandTextsWeighDigitsFromTheRight) {
  EXPECT_EQ(CommandCodeFromText("001000"), 8);
  EXPECT_EQ(CommandCodeFromText("011000"), 24);
  EXPECT_EQ(CommandCodeFromText("010111"), 23);
  EXPECT_EQ(CommandCodeFromText("001110"), 14);
  EXPECT_EQ(CommandCodeFromText("011111"), 31);
}

TEST(CheckBits, OddCountOfOddBitsAndEvenCountOfEvenBits) {
  const CheckBits all = CheckBitsFor(0x3FFF);  // 7 odd, 7 even
  EXPECT_TRUE(all.first);
  EXPECT_FALSE(all.second);
  const CheckBits none = CheckBitsFor(0);
  EXPECT_FALSE(none.first);
  EXPECT_TRUE(none.second);
  const CheckBits lowTwo = CheckBitsFor(0x0003);  // bit 1 odd, bit 0 even
  EXPECT_TRUE(lowTwo.first);
  EXPECT_FALSE(lowTwo.second);
}

TEST(SendCommand, EightIsZeroZeroZeroOneZeroZeroOnSixClocks) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.SendCommand(8);
  const auto writes = r.TakeWrites();
  EXPECT_EQ(FallingEdgeBits(writes), (Bits{0, 0, 0, 1, 0, 0}));
  // Each bit: data, clock up, clock down.
  EXPECT_EQ(writes, (std::vector<uint8_t>{0x00, 0x02, 0x00, 0x00, 0x02, 0x00, 0x00, 0x02, 0x00, 0x01, 0x03, 0x01,
                                          0x00, 0x02, 0x00, 0x00, 0x02, 0x00}));
}

TEST(SendCommand, ForReadReleasesTheDataLineAfterwards) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.SendCommandForRead(4);
  const auto writes = r.TakeWrites();
  ASSERT_EQ(writes.size(), 19U);
  EXPECT_EQ(writes.back() & line::kDataOut, line::kDataOut);
}

TEST(SendWord16, SixteenBitsLsbFirstThenDataLow) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.SendWord16(0x8001);
  const auto writes = r.TakeWrites();
  EXPECT_EQ(FallingEdgeBits(writes), (Bits{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(writes.back(), 0x00);
}

TEST(LoadProgramData, AllOnesWithoutPairFlagIsSixPlusSixteenClocks) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.LoadProgramData(0x3FFF);
  const auto writes = r.TakeWrites();
  EXPECT_EQ(CountRisingClocks(writes), 22);
  EXPECT_EQ(FallingEdgeBits(writes),
            (Bits{0, 1, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0}));
  EXPECT_EQ(writes.back() & line::kDataOut, 0);
}

TEST(LoadProgramData, AllOnesWithPairFlagCarriesCheckBitsOneThenZero) {
  RecordedLink r;
  ProtocolTarget t = Target16F84();
  t.pairFlag = true;
  SerialProtocol p(r.link, t);
  p.LoadProgramData(0x3FFF);
  const auto writes = r.TakeWrites();
  EXPECT_EQ(CountRisingClocks(writes), 24);
  EXPECT_EQ(FallingEdgeBits(writes),
            (Bits{0, 1, 0, 0, 0, 0, 0, 1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0}));
}

TEST(LoadProgramData, WaitsOneMillisecondStepBeforeTheWordAndOneUnitAfter) {
  RecordedLink r(0);  // free port accesses: only the waits move the clock
  SerialProtocol p(r.link, Target16F84());
  p.LoadProgramData(0);
  EXPECT_EQ(r.clock.Nanoseconds(), ShortWaitUnits(1.0F) * 1'000'000'000 / 12'000 + kDelayUnitNs);
}

TEST(LoadDataMemory, NeverCarriesCheckBits) {
  RecordedLink r;
  ProtocolTarget t = Target16F84();
  t.pairFlag = true;
  SerialProtocol p(r.link, t);
  p.LoadDataMemory(0xA5);
  const auto writes = r.TakeWrites();
  EXPECT_EQ(CountRisingClocks(writes), 22);
  EXPECT_EQ(DecodeFrames(FallingEdgeBits(writes), true), (std::vector<Frame>{{3, 0xA5}}));
}

TEST(LoadConfiguration, CheckBitsOnPairFlagDevices) {
  RecordedLink r;
  ProtocolTarget t = Target16F84();
  t.pairFlag = true;
  SerialProtocol p(r.link, t);
  p.LoadConfiguration(0);
  const Bits bits = FallingEdgeBits(r.TakeWrites());
  ASSERT_EQ(bits.size(), 24U);
  EXPECT_EQ(bits[7], 0);  // no odd bits set
  EXPECT_EQ(bits[8], 1);  // zero even bits set: an even count
}

TEST(ReadProgramWord, DataInHighReadsAllOnesAndLowReadsZero) {
  RecordedLink high;
  SerialProtocol ph(high.link, Target16F84());
  EXPECT_EQ(ph.ReadProgramWord(), 0x3FFF);

  RecordedLink low;
  low.port->SetIdleStatus(0x00);
  SerialProtocol pl(low.link, Target16F84());
  EXPECT_EQ(pl.ReadProgramWord(), 0);
}

TEST(ReadProgramWord, FirstBitReadIsBitZero) {
  RecordedLink r;
  // 0x1235 LSB first over fourteen reads.
  std::vector<uint8_t> script;
  for (int b = 0; b < 14; ++b) script.push_back(((0x1235 >> b) & 1) != 0 ? 0x40 : 0xBF);
  r.port->ScriptReads(script);
  SerialProtocol p(r.link, Target16F84());
  EXPECT_EQ(p.ReadProgramWord(), 0x1235);
  const auto writes = r.TakeWrites();
  EXPECT_EQ(CountRisingClocks(writes), 6 + 16);
  EXPECT_EQ(writes.back(), 0x00);
}

TEST(ReadProgramWord, SkipsTwoCheckBitClocksOnPairFlagDevices) {
  RecordedLink r;
  ProtocolTarget t = Target16F84();
  t.pairFlag = true;
  SerialProtocol p(r.link, t);
  p.ReadProgramWord();
  EXPECT_EQ(CountRisingClocks(r.TakeWrites()), 6 + 18);
}

TEST(ReadProgramWord, TwelveBitCoreWaitsOneUnitAfterReleasingTheLine) {
  RecordedLink core14(0);
  SerialProtocol p14(core14.link, Target16F84());
  p14.ReadProgramWord();
  EXPECT_EQ(core14.clock.Nanoseconds(), 0);

  RecordedLink core12(0);
  SerialProtocol p12(core12.link, {.name = "12C508", .family = 4, .pairFlag = false, .pinCount = 8});
  p12.ReadProgramWord();
  EXPECT_EQ(core12.clock.Nanoseconds(), kDelayUnitNs);
}

TEST(ReadDataMemory, SendsCodeFiveThenReads) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.ReadDataMemory();
  EXPECT_EQ(DecodeFrames(FallingEdgeBits(r.TakeWrites()), false), (std::vector<Frame>{{5, {}}}));
}

TEST(PlainCommands, IncrementBeginAndEndEndWithDataLow) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.IncrementAddress();
  auto writes = r.TakeWrites();
  EXPECT_EQ(FallingEdgeBits(writes), (Bits{0, 1, 1, 0, 0, 0}));
  EXPECT_EQ(writes.size(), 18U);
  p.BeginProgramming();
  writes = r.TakeWrites();
  EXPECT_EQ(FallingEdgeBits(writes), (Bits{0, 0, 0, 1, 0, 0}));
  EXPECT_EQ(writes.size(), 19U);
  p.EndProgramming();
  writes = r.TakeWrites();
  EXPECT_EQ(FallingEdgeBits(writes), (Bits{0, 1, 1, 1, 0, 0}));
  EXPECT_EQ(writes.size(), 19U);
  EXPECT_EQ(writes.back() & line::kDataOut, 0);
}

struct EntryTiming {
  int64_t vddOnNs = -1;
  int64_t vppOnNs = -1;
  int64_t endNs = 0;
};

EntryTiming TimeEntry(const ProtocolTarget& target, float offMs) {
  VirtualClock clock(0);
  auto port = std::make_unique<test::TimedPort>(clock);
  test::TimedPort* timed = port.get();
  PortLink link(std::move(port), clock);
  link.SetVdd("on");
  SerialProtocol p(link, target);
  const size_t first = timed->writes().size();
  p.EnterProgrammingMode(offMs);
  EntryTiming t;
  bool vddWasOff = false;
  for (size_t i = first; i < timed->writes().size(); ++i) {
    const auto& w = timed->writes()[i];
    if ((w.value & line::kVdd) != 0) vddWasOff = true;
    if (vddWasOff && (w.value & line::kVdd) == 0 && t.vddOnNs < 0) t.vddOnNs = w.ns;
    if (t.vddOnNs >= 0 && (w.value & (line::kVpp1 | line::kVpp2 | line::kVpp3)) != 0x38 && t.vppOnNs < 0) {
      t.vppOnNs = w.ns;
    }
  }
  t.endNs = clock.Nanoseconds();
  return t;
}

TEST(EnterProgrammingMode, EighteenPin16F84WaitsOneHundredMsBetweenVddAndVpp) {
  const EntryTiming t = TimeEntry(Target16F84(), SerialProtocol::kEntryOffMs);
  EXPECT_EQ(t.vddOnNs, 100'000'000);
  EXPECT_EQ(t.vppOnNs - t.vddOnNs, 100'000'000);
  EXPECT_EQ(t.endNs - t.vppOnNs, 100'000'000);
}

TEST(EnterProgrammingMode, Eighteen16F818AndThe16C55xPutVppOnAtOnce) {
  for (const char* name : {"16F818", "16C558"}) {
    const EntryTiming t = TimeEntry({.name = name, .family = 9, .pairFlag = false, .pinCount = 18},
                                    SerialProtocol::kEntryOffMs);
    EXPECT_EQ(t.vppOnNs, t.vddOnNs) << name;
  }
  const EntryTiming small = TimeEntry({.name = "12F675", .family = 1, .pairFlag = false, .pinCount = 8},
                                      SerialProtocol::kEntryOffMs);
  EXPECT_EQ(small.vppOnNs, small.vddOnNs);
}

TEST(EnterProgrammingMode, OffWaitVariants) {
  const ProtocolTarget t = {.name = "16F877", .family = 1, .pairFlag = false, .pinCount = 40};
  EXPECT_EQ(TimeEntry(t, SerialProtocol::kEntryOffLongMs).vddOnNs, 250'000'000);
  EXPECT_EQ(TimeEntry(t, SerialProtocol::kEntryOffNone).vddOnNs, 0);
}

TEST(EnterProgrammingMode, LineOrderVppOffVddOffThenOnThenVpp) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.EnterProgrammingMode();
  // Vpp1..3 off, Vdd off with data and clock low, Vdd on, Vpp1 on.
  EXPECT_EQ(r.TakeWrites(), (std::vector<uint8_t>{0x08, 0x18, 0x38, 0x3C, 0x3C, 0x3C, 0x38, 0x30}));
}

TEST(LeaveProgrammingMode, VppOffThenVddOff) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.LeaveProgrammingMode();
  EXPECT_EQ(r.TakeWrites(), (std::vector<uint8_t>{0x08, 0x18, 0x38, 0x3C, 0x3C, 0x3C}));
}

std::vector<Frame> FramesOf(void (SerialProtocol::*sequence)()) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  (p.*sequence)();
  return DecodeFrames(FallingEdgeBits(r.TakeWrites()), false);
}

TEST(FixedSequences, CodeProtectEraseConfigPath) {
  EXPECT_EQ(FramesOf(&SerialProtocol::CodeProtectEraseConfigPath),
            (std::vector<Frame>{{0, 0x3FFF}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}},
                                {1, {}}, {7, {}}, {8, {}}, {1, {}}, {7, {}}}));
}

TEST(FixedSequences, CodeProtectEraseProgramPathCommands) {
  EXPECT_EQ(FramesOf(&SerialProtocol::CodeProtectEraseProgramPath),
            (std::vector<Frame>{{2, 0x3FFF}, {1, {}}, {7, {}}, {8, {}}, {1, {}}, {7, {}},
                                {2, 0x3FFF}, {1, {}}, {7, {}}, {8, {}}, {1, {}}, {7, {}},
                                {3, 0x00FF}, {8, {}}, {5, {}}, {6, {}}}));
}

TEST(FixedSequences, CodeProtectEraseProgramPathCyclesVpp1Twice) {
  RecordedLink r;
  SerialProtocol p(r.link, Target16F84());
  p.CodeProtectEraseProgramPath();
  int vpp1Offs = 0;
  bool on = false;
  for (const uint8_t byte : r.TakeWrites()) {
    const bool now = (byte & line::kVpp1) == 0;
    if (on && !now) ++vpp1Offs;
    on = now;
  }
  EXPECT_EQ(vpp1Offs, 2);
}

TEST(FixedSequences, BulkEraseVariantATwoEntriesAndTheDoubleBegin) {
  const std::vector<Frame> frames = FramesOf(&SerialProtocol::CodeProtectBulkEraseA);
  const std::vector<Frame> tail(frames.end() - 4, frames.end());
  EXPECT_EQ(tail, (std::vector<Frame>{{2, 0x3FFF}, {8, {}}, {9, {}}, {8, {}}}));
  ASSERT_GE(frames.size(), 11U);
  EXPECT_EQ(frames[8], (Frame{1, {}}));
  EXPECT_EQ(frames[10], (Frame{8, {}}));
}

TEST(FixedSequences, BulkEraseVariantBHasNoBeginAfterTheSecondSetupPair) {
  const std::vector<Frame> frames = FramesOf(&SerialProtocol::CodeProtectBulkEraseB);
  const std::vector<Frame> expected = {
      {0, 0x3FFF}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {2, 0x3FFF}, {1, {}}, {7, {}},
      {8, {}},     {0, 0x3FFF}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {6, {}}, {1, {}}, {7, {}},
      {2, 0x3FFF}, {11, {}}, {8, {}}, {2, 0x3FFF}, {8, {}}, {9, {}}, {8, {}}};
  EXPECT_EQ(frames, expected) << test::ToString(frames);
}

TEST(FixedSequences, BulkEraseVariantBLongEntryThenImmediateEntry) {
  VirtualClock clock(0);
  auto port = std::make_unique<test::TimedPort>(clock);
  test::TimedPort* timed = port.get();
  PortLink link(std::move(port), clock);
  SerialProtocol p(link, {.name = "16F877", .family = 1, .pairFlag = false, .pinCount = 40});
  p.CodeProtectBulkEraseB();
  // Vdd off->on gaps: the 250 ms entry, then the one with no wait.
  std::vector<int64_t> offGaps;
  int64_t offAt = -1;
  bool vddOn = true;  // shadow starts at 0: supply on
  for (const auto& w : timed->writes()) {
    const bool on = (w.value & line::kVdd) == 0;
    if (vddOn && !on) offAt = w.ns;
    if (!vddOn && on) offGaps.push_back(w.ns - offAt);
    vddOn = on;
  }
  // The long wait counts whole milliseconds of the millisecond clock.
  ASSERT_EQ(offGaps.size(), 2U);
  EXPECT_NEAR(static_cast<double>(offGaps[0]), 250e6, 1e6);
  EXPECT_EQ(offGaps[1], 0);
}

}  // namespace
}  // namespace quorvi
