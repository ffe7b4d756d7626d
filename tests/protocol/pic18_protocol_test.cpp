// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/pic18_protocol.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <tuple>
#include <vector>

#include "support/golden.h"
#include "support/line_trace.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

using test::FallingEdgeBits;

struct Fixture {
  test::RecordedLink rl;
  SerialProtocol serial{rl.link, {.pinCount = 40, .timing = TimingClass::kPic18}};
  Pic18Protocol p18{serial};
};

// The 8-bit send goes LSB first and releases the line for the read after it;
// the read takes bit 0 first, sampled once the clock has fallen.
TEST(Pic18, Send8ReleasesTheLineAndRead8SamplesAfterTheFallingEdge) {
  Fixture f;
  f.p18.Send8ThenRelease(0x01);
  const std::vector<uint8_t> sent = f.rl.TakeWrites();
  EXPECT_EQ(FallingEdgeBits(sent), (std::vector<int>{1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_NE(sent.back() & line::kDataOut, 0);
  f.rl.port->ScriptReads({0x40, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40});
  EXPECT_EQ(f.p18.Read8(), 1);
  EXPECT_EQ(f.p18.Read8(), 128);
  const auto& accesses = f.rl.port->accesses();
  ASSERT_EQ(accesses.size(), 48U);
  for (size_t i = 0; i < accesses.size(); i += 3) {
    EXPECT_NE(accesses[i].value & line::kClock, 0);
    EXPECT_EQ(accesses[i + 1].value & line::kClock, 0);
    EXPECT_EQ(accesses[i + 2].kind, RecordingPort::Access::Kind::kRead);
  }
}

// The transfers of each sequence as DS39576 lists them (command/payload in
// pic18_transfers.txt), and the least it must take (P9 hold, P11 erase).
TEST(Pic18, SequencesSendTheseTransfers) {
  const std::array<uint8_t, 8> bytes{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
  TablePointer pointer;  // where each sequence starts: unknown
  const std::tuple<const char*, std::function<void(Pic18Protocol&)>, int64_t> cases[] = {
      {"pointer by address", [](Pic18Protocol& p) { p.SetTablePointerTo(0x012345); }, 0},
      {"write preparation", [](Pic18Protocol& p) { p.PrepareWrite(); }, 0},
      {"multi-panel writes", [&](Pic18Protocol& p) { p.SetPanelMode(true, pointer); }, 0},
      {"block opening", [&](Pic18Protocol& p) { p.BeginBlock(0x000140, pointer); }, 0},
      {"panel buffer, programmed", [&](Pic18Protocol& p) { p.LoadPanelBuffer(0x2008, bytes, true, pointer); },
       1'000'000},
      {"panel buffer, not programmed", [&](Pic18Protocol& p) { p.LoadPanelBuffer(0, bytes, false, pointer); }, 0},
      {"block of two groups and the next panel's", [&](Pic18Protocol& p) {
         p.BeginBlock(0x0100, pointer);
         for (const uint32_t address : {0x0100U, 0x0108U, 0x2108U}) p.LoadPanelBuffer(address, bytes, false, pointer);
       }, 0},
      {"configuration bytes 1 and 3", [&](Pic18Protocol& p) {
         p.SelectConfigurationMemory();
         p.ProgramConfigByte(1, 0x22, pointer);
         p.ProgramConfigByte(3, 0x0E, pointer);
       }, 2'000'000},
      {"configuration byte 3", [](Pic18Protocol& p) { p.WriteConfigByte(3, 0xA5); }, 1'000'000},
      {"configuration byte 2", [](Pic18Protocol& p) { p.WriteConfigByte(2, 0x5A); }, 1'000'000},
      {"bulk erase", [](Pic18Protocol& p) { p.BulkErase(); }, 5'000'000},
  };
  const auto golden = test::DataSections("pic18_transfers.txt");
  for (const auto& [name, run, atLeastNs] : cases) {
    pointer.reset();
    Fixture f;
    run(f.p18);
    const std::string transfers = test::Pic18Transfers(f.rl.TakeWrites());
    EXPECT_EQ(test::Words(transfers), test::Words(golden.at(name))) << name;
    EXPECT_GE(f.rl.clock.Nanoseconds(), atLeastNs) << name;
  }
}

// Two table reads a word, low byte first; the supplies are off after it.
TEST(Pic18, ProgramReadTakesTwoTableReadsPerWordLowByteFirst) {
  Fixture f;
  int reads = 0;  // every bit high but bit 0 of each word's low byte
  f.rl.port->OnRead([&reads] { return uint8_t{reads++ % 16 == 0 ? uint8_t{0} : uint8_t{0x40}}; });
  int asked = 0;
  EXPECT_EQ(f.p18.ReadProgramMemory(5, [&asked](int) { return ++asked <= 2; }), (std::vector<int>{0xFFFE, 0xFFFE}));
  EXPECT_EQ(f.rl.link.outputShadow() & (line::kVdd | line::kVpp2), line::kVdd | line::kVpp2);
}

}  // namespace
}  // namespace quorvi
