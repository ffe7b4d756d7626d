// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/pic18_chip.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "protocol/pic18_protocol.h"
#include "sim/chip_state.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

sim::ChipState Blank(const std::string& name) { return sim::BlankState(*sim::FindChip(name).value()); }

ProtocolTarget TargetOf(const sim::ChipInfo& info) {
  return {.name = std::string(info.name), .family = 7, .pairFlag = false, .pinCount = info.pins};
}

int Pattern(int word) { return (word * 0x3B1 + 0x1234) & 0xFFFF; }

// Writes the words [first, first + count) (a multiple of 4) through single-panel writes.
void WriteWords(Pic18Protocol& p, int first, int count) {
  for (int w = first; w < first + count; w += 4) {
    std::array<uint8_t, 8> bytes{};
    for (int i = 0; i < 4; ++i) {
      bytes[static_cast<size_t>(2 * i)] = static_cast<uint8_t>(Pattern(w + i) & 0xFF);
      bytes[static_cast<size_t>(2 * i + 1)] = static_cast<uint8_t>(Pattern(w + i) >> 8);
    }
    p.BeginBlock(static_cast<uint32_t>(w * 2));
    p.LoadPanelBuffer(static_cast<uint32_t>(w * 2), bytes, true);
  }
}

class Every18F : public ::testing::TestWithParam<sim::ChipInfo> {};

TEST_P(Every18F, ProgramMemoryRoundTripsAcrossPanels) {
  const sim::ChipInfo& info = GetParam();
  sim::ChipState state = Blank(std::string(info.name));
  state.program[3] = 0x0000;  // something for the bulk erase to clear
  SimLink s(state);
  SerialProtocol serial(s.link, TargetOf(info));
  Pic18Protocol p(serial);
  serial.EnterProgrammingMode();
  p.BulkErase();
  s.board->Sync();  // the chip sees the erase wait pass
  EXPECT_EQ(s.state().program[3], 0xFFFF);
  p.PrepareWrite();
  // The first words, both sides of each 8 KB panel edge, and the last words.
  for (const int first : {0, 0x0FFC, 0x1000, 0x1FFC, 0x2000, 0x3FF8}) WriteWords(p, first, 8);
  const std::vector<int> words = p.ReadProgramMemory(info.programWords - 1, nullptr);
  ASSERT_EQ(words.size(), static_cast<size_t>(info.programWords));
  for (const int first : {0, 0x0FFC, 0x1000, 0x1FFC, 0x2000, 0x3FF8}) {
    for (int w = first; w < std::min(first + 8, info.programWords); ++w) {
      EXPECT_EQ(words[static_cast<size_t>(w)], Pattern(w)) << std::hex << w;
      EXPECT_EQ(s.state().program[static_cast<size_t>(w)], Pattern(w)) << std::hex << w;
    }
  }
  EXPECT_EQ(words[8], 0xFFFF);
  EXPECT_EQ(words[0x3000], 0xFFFF);
  EXPECT_FALSE(s.chip().inProgrammingMode()) << "the read ends with supplies off";
}

TEST_P(Every18F, ConfigurationBytesRoundTrip) {
  const sim::ChipInfo& info = GetParam();
  SimLink s(Blank(std::string(info.name)));
  SerialProtocol serial(s.link, TargetOf(info));
  Pic18Protocol p(serial);
  serial.EnterProgrammingMode();
  for (int i = 0; i < sim::kConfig18Bytes; ++i) p.WriteConfigByte(i, 0x5A ^ i);
  const std::vector<int> back = p.ReadBytes(addr18::kConfigBytes, sim::kConfig18Bytes);
  for (int i = 0; i < sim::kConfig18Bytes; ++i) {
    EXPECT_EQ(back[static_cast<size_t>(i)], (0x5A ^ i) & sim::Config18Mask(info, i)) << i;
  }
  // The device ID reads back from 3FFFFEh, low byte first.
  const std::vector<int> id = p.ReadBytes(addr18::kDeviceId, 2);
  EXPECT_EQ(id[1] * 256 + id[0], info.deviceId);
  // A bulk erase brings every implemented bit back to 1.
  p.BulkErase();
  EXPECT_EQ(p.ReadBytes(addr18::kConfigBytes + 1, 1)[0], sim::Config18Mask(info, 1));
}

INSTANTIATE_TEST_SUITE_P(Chips, Every18F, ::testing::ValuesIn(sim::Pic18Table()),
                         [](const ::testing::TestParamInfo<sim::ChipInfo>& p) { return std::string(p.param.name); });

struct Rig {
  SimLink s{Blank("18F452")};
  SerialProtocol serial{s.link, {.name = "18F452", .family = 7, .pairFlag = false, .pinCount = 40}};
  Pic18Protocol p{serial};
  sim::Pic18Chip& chip() { return dynamic_cast<sim::Pic18Chip&>(s.chip()); }
};

TEST(Pic18Chip, CoreInstructionsLoadTheTablePointer) {
  Rig r;
  r.serial.EnterProgrammingMode();
  r.p.SetTablePointer(0x3C, 0x00, 0x06);
  EXPECT_EQ(r.chip().tablePointer(), 0x3C0006U);
  r.p.SetTablePointer(0xFF, 0x12, 0x34);
  EXPECT_EQ(r.chip().tablePointer(), 0x3F1234U) << "TBLPTRU has six bits";
}

TEST(Pic18Chip, TableReadPostIncrements) {
  sim::ChipState state = Blank("18F452");
  state.program[0x100] = 0xBEEF;
  state.program[0x101] = 0x1234;
  SimLink s(state);
  SerialProtocol serial(s.link, {.name = "18F452", .family = 7, .pairFlag = false, .pinCount = 40});
  Pic18Protocol p(serial);
  serial.EnterProgrammingMode();
  EXPECT_EQ(p.ReadBytes(0x200, 4), (std::vector<int>{0xEF, 0xBE, 0x34, 0x12}));
  EXPECT_EQ(dynamic_cast<sim::Pic18Chip&>(s.chip()).tablePointer(), 0x204U);
}

TEST(Pic18Chip, AProgrammingHoldCutShortProgramsNothing) {
  Rig r;
  r.serial.EnterProgrammingMode();
  r.p.BeginBlock(0x40);
  r.p.SetTablePointerTo(0x40);
  r.p.Transfer(cmd18::kTableWriteStartProgram, 0x0000);
  // A plain NOP: the fourth clock is as short as any other.
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kNop);
  EXPECT_EQ(r.s.state().program[0x20], 0xFFFF);
  r.p.SetTablePointerTo(0x40);
  r.p.Transfer(cmd18::kTableWriteStartProgram, 0x0000);
  r.p.StartProgrammingHold();
  EXPECT_EQ(r.s.state().program[0x20], 0x0000);
}

TEST(Pic18Chip, MultiPanelWritesProgramEveryLoadedPanelAtOnce) {
  Rig r;
  r.serial.EnterProgrammingMode();
  r.p.SetPanelMode(true);
  EXPECT_TRUE(r.chip().multiPanel());
  r.p.BeginBlock(0);
  const std::array<uint8_t, 8> bytes{1, 2, 3, 4, 5, 6, 7, 8};
  for (uint32_t panel = 0; panel < 4; ++panel) r.p.LoadPanelBuffer(panel * kPanelSpan + 0x10, bytes, panel == 3);
  for (size_t panel = 0; panel < 4; ++panel) {
    EXPECT_EQ(r.s.state().program[panel * 0x1000 + 8], 0x0201) << panel;
    EXPECT_EQ(r.s.state().program[panel * 0x1000 + 11], 0x0807) << panel;
  }
  // In single-panel mode only the panel being written programs.
  r.p.SetPanelMode(false);
  r.p.BeginBlock(0);
  const std::array<uint8_t, 8> zeros{};
  r.p.LoadPanelBuffer(0x20, zeros, false);
  r.p.LoadPanelBuffer(kPanelSpan + 0x20, zeros, true);
  EXPECT_EQ(r.s.state().program[0x10], 0xFFFF);
  EXPECT_EQ(r.s.state().program[0x1010], 0x0000);
}

TEST(Pic18Chip, BulkEraseNeedsItsTimeWithoutClocks) {
  sim::ChipState state = Blank("18F252");
  state.program[0] = 0x1234;
  SimLink s(state);
  SerialProtocol serial(s.link, {.name = "18F252", .family = 7, .pairFlag = false, .pinCount = 28});
  Pic18Protocol p(serial);
  serial.EnterProgrammingMode();
  p.SetTablePointerTo(addr18::kBulkEraseRegister);
  p.Transfer(cmd18::kTableWrite, kBulkEraseChip);
  p.Transfer(cmd18::kCoreInstruction, insn18::kNop);
  p.Transfer(cmd18::kCoreInstruction, insn18::kNop);
  p.Transfer(cmd18::kCoreInstruction, insn18::kNop);  // at once: the erase is cut short
  EXPECT_EQ(s.state().program[0], 0x1234);
  p.BulkErase();
  p.Transfer(cmd18::kCoreInstruction, insn18::kNop);
  EXPECT_EQ(s.state().program[0], 0xFFFF);
}

TEST(Pic18Chip, ChipStateFilesCarryTheConfigurationBytes) {
  sim::ChipState state = Blank("18F458");
  state.configBytes[1] = 0x22;
  state.program[5] = 0xABCD;
  Result<sim::ChipState> back = sim::ChipStateFromJson(sim::ChipStateToJson(state));
  ASSERT_TRUE(back.ok()) << back.message();
  EXPECT_EQ(back.value(), state);
  EXPECT_EQ(state.configBytes[5], 0) << "no CCP2MX on the 458";
}

}  // namespace
}  // namespace quorvi

namespace quorvi {
namespace {

TEST(Pic18Chip, DataEepromAndIdBytesRoundTrip) {
  Rig r;
  r.serial.EnterProgrammingMode();
  for (const int a : {0, 1, 0x7F, 0xFF}) {
    ASSERT_TRUE(r.p.WriteDataEeprom(a, a ^ 0xA5)) << a;
    EXPECT_EQ(r.s.state().data[static_cast<size_t>(a)], a ^ 0xA5);
    EXPECT_EQ(r.p.ReadDataEeprom(a), a ^ 0xA5) << a;
  }
  EXPECT_EQ(r.p.ReadDataEeprom(2), 0xFF);
  const std::array<uint8_t, 8> ids{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
  r.p.WriteIdBytes(ids);
  EXPECT_EQ(r.p.ReadBytes(addr18::kIdLocations, 8), (std::vector<int>{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}));
  EXPECT_EQ(r.s.state().ids[0], 0x2301);
}

TEST(Pic18Chip, DataEepromWriteNeedsTheUnlockSequence) {
  Rig r;
  r.serial.EnterProgrammingMode();
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kBcfEepgd);
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kBcfCfgs);
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kMovlw + 5);
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kMovwfEeadr);
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kMovlw + 0x12);
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kMovwfEedata);
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kBsfWren);
  r.p.Transfer(cmd18::kCoreInstruction, insn18::kBsfWr);  // no 55h/AAh first
  r.s.Wait(10);
  r.s.board->Sync();
  EXPECT_EQ(r.s.state().data[5], 0xFF);
}

}  // namespace
}  // namespace quorvi
