// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/pic18_protocol.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "support/line_trace.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

using test::FallingEdgeBits;
using test::RecordedLink;
using Bits = std::vector<int>;

ProtocolTarget Target452() {
  return {.name = "18F452", .family = 7, .pairFlag = false, .pinCount = 40, .timing = TimingClass::kPic18};
}

struct Transfer18 {
  int command;
  uint32_t payload;
  bool operator==(const Transfer18&) const = default;
};

// Splits latched bits into 4-bit commands with 16-bit payloads, LSB first.
std::vector<Transfer18> DecodeTransfers(const Bits& bits) {
  std::vector<Transfer18> out;
  for (size_t i = 0; i + 20 <= bits.size(); i += 20) {
    Transfer18 t{0, 0};
    for (size_t b = 0; b < 4; ++b) t.command |= bits[i + b] << b;
    for (size_t b = 0; b < 16; ++b) t.payload |= static_cast<uint32_t>(bits[i + 4 + b]) << b;
    out.push_back(t);
  }
  return out;
}

struct Fixture {
  RecordedLink rl;
  SerialProtocol serial{rl.link, Target452()};
  Pic18Protocol p18{serial};
  std::vector<Transfer18> Transfers() { return DecodeTransfers(FallingEdgeBits(rl.TakeWrites())); }
};

TEST(Pic18, Send4IsLsbFirstOnFourClocks) {
  Fixture f;
  f.p18.Send4(9);
  EXPECT_EQ(FallingEdgeBits(f.rl.TakeWrites()), (Bits{1, 0, 0, 1}));
  f.p18.Send4(12);
  EXPECT_EQ(FallingEdgeBits(f.rl.TakeWrites()), (Bits{0, 0, 1, 1}));
}

TEST(Pic18, Send8ThenReleaseLeavesDataHigh) {
  Fixture f;
  f.p18.Send8ThenRelease(0x81);
  const std::vector<uint8_t> writes = f.rl.TakeWrites();
  EXPECT_EQ(FallingEdgeBits(writes), (Bits{1, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(writes.back() & line::kDataOut, line::kDataOut);
}

TEST(Pic18, SendWord16EndsWithDataLow) {
  Fixture f;
  f.p18.SendWord16(0xFFFF);
  const std::vector<uint8_t> writes = f.rl.TakeWrites();
  EXPECT_EQ(FallingEdgeBits(writes), Bits(16, 1));
  EXPECT_EQ(writes.back() & line::kDataOut, 0);
}

TEST(Pic18, Read8WithDataInHighOnTheFirstClockOnlyReturnsOne) {
  Fixture f;
  f.rl.port->ScriptReads({0x40, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(f.p18.Read8(), 1);
  f.rl.port->ScriptReads({0, 0, 0, 0, 0, 0, 0, 0x40});
  EXPECT_EQ(f.p18.Read8(), 128);
}

TEST(Pic18, Read8SamplesAfterTheFallingEdge) {
  Fixture f;
  f.rl.port->SetIdleStatus(0x00);
  f.p18.Read8();
  const auto& accesses = f.rl.port->accesses();
  ASSERT_EQ(accesses.size(), 24U);
  for (size_t i = 0; i < accesses.size(); i += 3) {
    EXPECT_EQ(accesses[i].kind, RecordingPort::Access::Kind::kWrite);
    EXPECT_NE(accesses[i].value & line::kClock, 0);
    EXPECT_EQ(accesses[i + 1].value & line::kClock, 0);
    EXPECT_EQ(accesses[i + 2].kind, RecordingPort::Access::Kind::kRead);
  }
}

TEST(Pic18, SetTablePointerPayloads) {
  Fixture f;
  f.p18.SetTablePointer(0x3C, 0, 6);
  EXPECT_EQ(f.Transfers(), (std::vector<Transfer18>{{0, 0x0E3C}, {0, 0x6EF8}, {0, 0x0E00}, {0, 0x6EF7},
                                                    {0, 0x0E06}, {0, 0x6EF6}}));
  f.p18.SetTablePointerTo(0x012345);
  EXPECT_EQ(f.Transfers(), (std::vector<Transfer18>{{0, 0x0E01}, {0, 0x6EF8}, {0, 0x0E23}, {0, 0x6EF7},
                                                    {0, 0x0E45}, {0, 0x6EF6}}));
}

TEST(Pic18, WritePreparationWritesZeroAt3C0006) {
  Fixture f;
  f.p18.PrepareWrite();
  EXPECT_EQ(f.Transfers(), (std::vector<Transfer18>{{0, 0x0E3C}, {0, 0x6EF8}, {0, 0x0E00}, {0, 0x6EF7},
                                                    {0, 0x0E06}, {0, 0x6EF6}, {12, 0x0000}}));
  f.p18.BeginBlock(0x000140);
  EXPECT_EQ(f.Transfers(), (std::vector<Transfer18>{{0, 0x8EA6}, {0, 0x9CA6}, {0, 0x0E00}, {0, 0x6EF8},
                                                    {0, 0x0E01}, {0, 0x6EF7}, {0, 0x0E40}, {0, 0x6EF6}}));
}

TEST(Pic18, PanelBufferLoadsFourPairsAndStartsProgrammingOnTheLast) {
  Fixture f;
  const std::array<uint8_t, 8> bytes{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
  f.p18.LoadPanelBuffer(0x2008, bytes, true);
  const std::vector<Transfer18> t = f.Transfers();
  ASSERT_EQ(t.size(), 11U);
  EXPECT_EQ(t[6], (Transfer18{13, 0x2211}));
  EXPECT_EQ(t[7], (Transfer18{13, 0x4433}));
  EXPECT_EQ(t[8], (Transfer18{13, 0x6655}));
  EXPECT_EQ(t[9], (Transfer18{15, 0x8877}));
  EXPECT_EQ(t[10], (Transfer18{0, 0x0000}));
  f.p18.LoadPanelBuffer(0x0000, bytes, false);
  EXPECT_EQ(f.Transfers().back(), (Transfer18{12, 0x8877}));
}

TEST(Pic18, ProgrammingHoldKeepsTheFourthClockHighForP9) {
  VirtualClock clock;
  auto owned = std::make_unique<test::TimedPort>(clock);
  test::TimedPort& port = *owned;
  PortLink link(std::move(owned), clock);
  SerialProtocol serial{link, Target452()};
  Pic18Protocol p18{serial};
  std::vector<int64_t> risesNs;
  std::vector<int64_t> fallsNs;
  bool clockHigh = false;
  p18.StartProgrammingHold();
  for (const auto& w : port.writes()) {
    const bool c = (w.value & line::kClock) != 0;
    if (c && !clockHigh) risesNs.push_back(w.ns);
    if (!c && clockHigh) fallsNs.push_back(w.ns);
    clockHigh = c;
  }
  ASSERT_EQ(risesNs.size(), 20U);
  ASSERT_EQ(fallsNs.size(), 20U);
  EXPECT_GE(fallsNs[3] - risesNs[3], 1'000'000);  // DS39576 P9: 1 ms
  EXPECT_LT(fallsNs[2] - risesNs[2], 10'000);
  EXPECT_GE(risesNs[4] - fallsNs[3], 5'000);       // P10: 5 us
}

TEST(Pic18, ConfigByteGoesInTheHalfOfItsAddress) {
  Fixture f;
  f.p18.WriteConfigByte(3, 0xA5);
  std::vector<Transfer18> t = f.Transfers();
  ASSERT_EQ(t.size(), 12U);
  EXPECT_EQ(t[0], (Transfer18{0, 0x8EA6}));
  EXPECT_EQ(t[1], (Transfer18{0, 0x8CA6}));
  EXPECT_EQ(t[2], (Transfer18{0, 0xEF00}));  // GOTO 100000h
  EXPECT_EQ(t[3], (Transfer18{0, 0xF800}));
  EXPECT_EQ(t[4], (Transfer18{0, 0x0E30}));
  EXPECT_EQ(t[8], (Transfer18{0, 0x0E03}));
  EXPECT_EQ(t[10], (Transfer18{15, 0xA500}));
  f.p18.WriteConfigByte(2, 0x5A);
  t = f.Transfers();
  EXPECT_EQ(t[10], (Transfer18{15, 0x005A}));
}

TEST(Pic18, BulkEraseWrites0080At3C0004ThenTwoNops) {
  Fixture f;
  const int64_t t0 = f.rl.clock.Nanoseconds();
  f.p18.BulkErase();
  EXPECT_EQ(f.Transfers(), (std::vector<Transfer18>{{0, 0x0E3C}, {0, 0x6EF8}, {0, 0x0E00}, {0, 0x6EF7},
                                                    {0, 0x0E04}, {0, 0x6EF6}, {12, 0x0080}, {0, 0}, {0, 0}}));
  EXPECT_GE(f.rl.clock.Nanoseconds() - t0, 5'000'000);  // DS39576 P11
}

TEST(Pic18, ProgramReadTakesTwoTableReadsPerWordLowByteFirst) {
  Fixture f;
  // Every read bit high except the low byte's bit 0 of each word.
  int reads = 0;
  f.rl.port->OnRead([&reads] {
    const int bitInWord = reads++ % 16;
    return uint8_t{bitInWord == 0 ? uint8_t{0} : uint8_t{0x40}};
  });
  int asked = 0;
  const std::vector<int> words = f.p18.ReadProgramMemory(2, [&asked](int) { return ++asked <= 2; });
  EXPECT_EQ(words, (std::vector<int>{0xFFFE, 0xFFFE}));
  EXPECT_EQ(f.rl.link.outputShadow() & line::kVdd, line::kVdd);
  EXPECT_EQ(f.rl.link.outputShadow() & line::kVpp2, line::kVpp2);
}

}  // namespace
}  // namespace quorvi
