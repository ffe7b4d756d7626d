// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/pic18_protocol.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <ostream>
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
void PrintTo(const Transfer18& t, std::ostream* os) { *os << t.command << "/" << std::hex << t.payload; }

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

// Four- and eight-bit sends go LSB first; the eight-bit one releases the
// line (high) for the read after it, a payload leaves it low.
TEST(Pic18, SendsGoLsbFirstOnTheFallingEdges) {
  struct Case {
    std::function<void(Pic18Protocol&)> send;
    Bits bits;
    int dataLeft;  // -1: not looked at
  };
  for (const Case& c : {Case{[](Pic18Protocol& p) { p.Send4(9); }, {1, 0, 0, 1}, -1},
                        {[](Pic18Protocol& p) { p.Send4(12); }, {0, 0, 1, 1}, -1},
                        {[](Pic18Protocol& p) { p.Send8ThenRelease(0x01); }, {1, 0, 0, 0, 0, 0, 0, 0}, 1},
                        {[](Pic18Protocol& p) { p.SendWord16(0xFFFF); }, Bits(16, 1), 0}}) {
    Fixture f;
    c.send(f.p18);
    const std::vector<uint8_t> writes = f.rl.TakeWrites();
    EXPECT_EQ(FallingEdgeBits(writes), c.bits);
    if (c.dataLeft >= 0) {
      EXPECT_EQ(writes.back() & line::kDataOut, c.dataLeft);
    }
  }
}

// The first bit read is bit 0, sampled once the clock has fallen.
TEST(Pic18, Read8SamplesAfterTheFallingEdgeLsbFirst) {
  Fixture f;
  f.rl.port->ScriptReads({0x40, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40});
  EXPECT_EQ(f.p18.Read8(), 1);
  EXPECT_EQ(f.p18.Read8(), 128);
  const auto& accesses = f.rl.port->accesses();
  ASSERT_EQ(accesses.size(), 48U);
  for (size_t i = 0; i < accesses.size(); i += 3) {
    EXPECT_EQ(accesses[i].kind, RecordingPort::Access::Kind::kWrite);
    EXPECT_NE(accesses[i].value & line::kClock, 0);
    EXPECT_EQ(accesses[i + 1].value & line::kClock, 0);
    EXPECT_EQ(accesses[i + 2].kind, RecordingPort::Access::Kind::kRead);
  }
}

// The command and payload of each transfer, as DS39576 lists them, and the
// least the sequence must take (P9 programming hold, P11 bulk erase).
TEST(Pic18, SequencesSendTheseTransfers) {
  using Transfers = std::vector<Transfer18>;
  const std::array<uint8_t, 8> bytes{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
  const Transfers at3C0006{{0, 0x0E3C}, {0, 0x6EF8}, {0, 0x0E00}, {0, 0x6EF7}, {0, 0x0E06}, {0, 0x6EF6}};
  auto with = [](Transfers head, const Transfers& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
  };
  struct Case {
    const char* what;
    std::function<void(Pic18Protocol&)> run;
    Transfers transfers;
    int64_t atLeastNs = 0;
  };
  const std::vector<Case> cases = {
      {"pointer by address", [](Pic18Protocol& p) { p.SetTablePointerTo(0x012345); },
       {{0, 0x0E01}, {0, 0x6EF8}, {0, 0x0E23}, {0, 0x6EF7}, {0, 0x0E45}, {0, 0x6EF6}}},
      {"write preparation: single-panel writes", [](Pic18Protocol& p) { p.PrepareWrite(); }, with(at3C0006, {{12, 0}})},
      {"multi-panel writes", [](Pic18Protocol& p) { p.SetPanelMode(true); },
       with(with({{0, 0x8EA6}, {0, 0x8CA6}}, at3C0006), {{12, 0x0040}})},
      {"block opening", [](Pic18Protocol& p) { p.BeginBlock(0x000140); },
       {{0, 0x8EA6}, {0, 0x9CA6}, {0, 0x0E00}, {0, 0x6EF8}, {0, 0x0E01}, {0, 0x6EF7}, {0, 0x0E40}, {0, 0x6EF6}}},
      {"panel buffer, programming on the last pair", [&](Pic18Protocol& p) { p.LoadPanelBuffer(0x2008, bytes, true); },
       {{0, 0x0E00}, {0, 0x6EF8}, {0, 0x0E20}, {0, 0x6EF7}, {0, 0x0E08}, {0, 0x6EF6}, {13, 0x2211}, {13, 0x4433},
        {13, 0x6655}, {15, 0x8877}, {0, 0}},
       1'000'000},
      {"panel buffer without programming", [&](Pic18Protocol& p) { p.LoadPanelBuffer(0, bytes, false); },
       {{0, 0x0E00}, {0, 0x6EF8}, {0, 0x0E00}, {0, 0x6EF7}, {0, 0x0E00}, {0, 0x6EF6}, {13, 0x2211}, {13, 0x4433},
        {13, 0x6655}, {12, 0x8877}}},
      // GOTO 100000h first: out of every code-protect block.
      {"configuration byte at an odd address takes the high byte", [](Pic18Protocol& p) { p.WriteConfigByte(3, 0xA5); },
       {{0, 0x8EA6}, {0, 0x8CA6}, {0, 0xEF00}, {0, 0xF800}, {0, 0x0E30}, {0, 0x6EF8}, {0, 0x0E00}, {0, 0x6EF7},
        {0, 0x0E03}, {0, 0x6EF6}, {15, 0xA500}, {0, 0}},
       1'000'000},
      {"configuration byte at an even address takes the low byte",
       [](Pic18Protocol& p) { p.WriteConfigByte(2, 0x5A); },
       {{0, 0x8EA6}, {0, 0x8CA6}, {0, 0xEF00}, {0, 0xF800}, {0, 0x0E30}, {0, 0x6EF8}, {0, 0x0E00}, {0, 0x6EF7},
        {0, 0x0E02}, {0, 0x6EF6}, {15, 0x005A}, {0, 0}},
       1'000'000},
      {"bulk erase: 0080h at 3C0004h, two NOPs", [](Pic18Protocol& p) { p.BulkErase(); },
       {{0, 0x0E3C}, {0, 0x6EF8}, {0, 0x0E00}, {0, 0x6EF7}, {0, 0x0E04}, {0, 0x6EF6}, {12, 0x0080}, {0, 0}, {0, 0}},
       5'000'000},
  };
  for (const Case& c : cases) {
    Fixture f;
    c.run(f.p18);
    EXPECT_EQ(f.Transfers(), c.transfers) << c.what;
    EXPECT_GE(f.rl.clock.Nanoseconds(), c.atLeastNs) << c.what;
  }
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
