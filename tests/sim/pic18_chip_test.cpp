// SPDX-License-Identifier: GPL-3.0-or-later
// The 18FXX2/XX8 model through the host's 18F layer (DS39576), beyond what
// every_part_test writes and reads.
#include "sim/pic18_chip.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "protocol/pic18_protocol.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

const std::array<uint8_t, 8> kBytes{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};

TEST(Pic18, MultiPanelWritesEveryLoadedPanelSinglePanelOnlyItsOwn) {
  test::SimLink s("18F452");
  Pic18Protocol p(s.p);
  s.p.EnterProgrammingMode();
  TablePointer pointer;
  p.SetPanelMode(true, pointer);
  p.BeginBlock(0, pointer);
  for (uint32_t panel = 0; panel < 4; ++panel) {
    p.LoadPanelBuffer(panel * kPanelSpan + 0x10, kBytes, panel == 3, pointer);
  }
  for (size_t panel = 0; panel < 4; ++panel) EXPECT_EQ(s.state().program[panel * 0x1000 + 8], 0x2211) << panel;
  p.SetPanelMode(false, pointer);
  p.BeginBlock(0, pointer);
  p.LoadPanelBuffer(0x20, kBytes, false, pointer);
  p.LoadPanelBuffer(kPanelSpan + 0x20, kBytes, true, pointer);
  EXPECT_EQ(s.state().program[0x10], 0xFFFF);
  EXPECT_EQ(s.state().program[0x1010], 0x2211);
  EXPECT_EQ(s.Problems(), "");
}

TEST(Pic18, DataEepromIdsAndDeviceId) {
  test::SimLink s("18F452");
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
  p.WriteIdBytes(kBytes);
  EXPECT_EQ(p.ReadBytes(addr18::kIdLocations, 8), std::vector<int>(kBytes.begin(), kBytes.end()));
  EXPECT_EQ(p.ReadBytes(addr18::kDeviceId, 2), (std::vector<int>{0x24, 0x04}));  // DS39576 device ID table
  EXPECT_EQ(s.Problems(), "");
}

}  // namespace
}  // namespace quorvi
