// SPDX-License-Identifier: GPL-3.0-or-later
// The 18FXX2/XX8 model through the host's 18F layer (DS39576).
#include "sim/pic18_chip.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "protocol/pic18_protocol.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

int Pattern(int word) { return (word * 0x3B1 + 0x1234) & 0xFFFF; }

std::array<uint8_t, 8> PatternBytes(int firstWord) {
  std::array<uint8_t, 8> bytes{};
  for (size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<uint8_t>(Pattern(firstWord + static_cast<int>(i / 2)) >> (i % 2 * 8));
  }
  return bytes;
}

TEST(Pic18, EraseThenWritesAcrossPanelEdgesAndConfigurationBytes) {
  for (const sim::ChipInfo& info : sim::Pic18Table()) {
    SCOPED_TRACE(info.name);
    sim::ChipState state = sim::BlankState(info);
    state.program[3] = 0x0000;  // cells only clear without the erase
    SimLink s(state);
    Pic18Protocol p(s.p);
    s.p.EnterProgrammingMode();
    p.BulkErase();
    p.PrepareWrite();
    const std::vector<int> firsts{0, 0x0FFC, 0x1000, 0x1FFC, 0x2000, 0x3FFC};  // the 8 KB panels' edges
    for (const int w : firsts) {
      p.BeginBlock(static_cast<uint32_t>(w * 2));
      p.LoadPanelBuffer(static_cast<uint32_t>(w * 2), PatternBytes(w), true);
    }
    for (int i = 0; i < sim::kConfig18Bytes; ++i) p.WriteConfigByte(i, 0x5A ^ i);
    const std::vector<int> config = p.ReadBytes(addr18::kConfigBytes, sim::kConfig18Bytes);
    for (int i = 0; i < sim::kConfig18Bytes; ++i) {
      EXPECT_EQ(config[static_cast<size_t>(i)], (0x5A ^ i) & sim::Config18Mask(info, i)) << i;
    }
    EXPECT_EQ(config[5], info.hasCcp2mx ? 1 : 0) << "CCP2MX only on the 252/452";
    const std::vector<int> words = p.ReadProgramMemory(info.programWords - 1, nullptr);
    for (const int w : firsts) {
      for (int i = w; i < w + 4; ++i) EXPECT_EQ(words[static_cast<size_t>(i)], Pattern(i)) << i;
    }
    EXPECT_EQ(words[4], 0xFFFF);
    EXPECT_EQ(s.Problems(), "");
  }
}

TEST(Pic18, MultiPanelWritesEveryLoadedPanelSinglePanelOnlyItsOwn) {
  SimLink s("18F452");
  Pic18Protocol p(s.p);
  s.p.EnterProgrammingMode();
  p.SetPanelMode(true);
  p.BeginBlock(0);
  for (uint32_t panel = 0; panel < 4; ++panel) p.LoadPanelBuffer(panel * kPanelSpan + 0x10, PatternBytes(8), panel == 3);
  for (size_t panel = 0; panel < 4; ++panel) EXPECT_EQ(s.state().program[panel * 0x1000 + 8], Pattern(8)) << panel;
  p.SetPanelMode(false);
  p.BeginBlock(0);
  p.LoadPanelBuffer(0x20, PatternBytes(0), false);
  p.LoadPanelBuffer(kPanelSpan + 0x20, PatternBytes(0), true);
  EXPECT_EQ(s.state().program[0x10], 0xFFFF);
  EXPECT_EQ(s.state().program[0x1010], Pattern(0));
  EXPECT_EQ(s.Problems(), "");
}

TEST(Pic18, DataEepromIdsAndDeviceId) {
  SimLink s("18F452");
  Pic18Protocol p(s.p);
  s.p.EnterProgrammingMode();
  for (const int a : {0, 0x7F, 0xFF}) {
    ASSERT_TRUE(p.WriteDataEeprom(a, a ^ 0xA5)) << a;
    EXPECT_EQ(p.ReadDataEeprom(a), a ^ 0xA5) << a;
  }
  EXPECT_EQ(p.ReadDataEeprom(2), 0xFF);
  // DS39576 3.3: WR without the 55h, AAh sequence writes nothing.
  for (const uint32_t insn : {insn18::kBcfEepgd, insn18::kBcfCfgs, insn18::kMovlw + 5, insn18::kMovwfEeadr,
                              insn18::kMovlw + 0x12, insn18::kMovwfEedata, insn18::kBsfWren, insn18::kBsfWr}) {
    p.Transfer(cmd18::kCoreInstruction, insn);
  }
  s.Wait(10.0F);
  EXPECT_EQ(s.state().data[5], 0xFF);
  const std::array<uint8_t, 8> ids{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
  p.WriteIdBytes(ids);
  EXPECT_EQ(p.ReadBytes(addr18::kIdLocations, 8), std::vector<int>(ids.begin(), ids.end()));
  EXPECT_EQ(p.ReadBytes(addr18::kDeviceId, 2), (std::vector<int>{0x24, 0x04}));  // DS39576 device ID table
  EXPECT_EQ(s.Problems(), "");
}

}  // namespace
}  // namespace quorvi
