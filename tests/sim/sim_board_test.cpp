// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/sim_board.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "chip_routines.h"
#include "hw/delay.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

TEST(VddCounter, StartsAtMidScaleAndCountsRisingEdges) {
  SimLink s("16F84A");
  EXPECT_EQ(s.board->vddStep(), 128);
  EXPECT_NEAR(s.board->VddVolts(), 5.0176, 1e-9);
  s.link.SetVddLevel(5.0F);  // brings the program's copy to 128 as well
  ASSERT_TRUE(s.link.SetVddLevel(5.5F).ok());
  EXPECT_EQ(s.board->vddStep(), 140);
  EXPECT_EQ(s.board->vddStep(), s.link.vddStep());
}

TEST(VddCounter, WrapsFrom255ToZeroOnTheWayDown) {
  SimLink s("16F84A");
  s.link.SetVddLevel(5.0F);
  ASSERT_TRUE(s.link.SetVddLevel(9.9F).ok());
  EXPECT_EQ(s.board->vddStep(), 253);
  ASSERT_TRUE(s.link.SetVddLevel(4.5F).ok());
  EXPECT_EQ(s.board->vddStep(), 115);
  EXPECT_NEAR(s.board->VddVolts(), 4.508, 1e-9);
}

TEST(VddCounter, LongLowLevelResetsToMidScale) {
  SimLink s("16F84A");
  s.link.SetVddLevel(5.0F);
  s.link.SetVddLevel(3.3F);
  ASSERT_NE(s.board->vddStep(), 128);
  s.link.SetVddLevel(5.0F);
  EXPECT_EQ(s.board->vddStep(), 128);
}

TEST(VddCounter, ShortLowPulsesDoNotReset) {
  SimLink s("16F84A");
  s.link.SetVddLevel(5.0F);
  s.link.SetVddLevel(5.1F);  // 130
  // A low level held 100 ms is not the reset pulse: the rising edge counts.
  uint8_t low = static_cast<uint8_t>(s.link.outputShadow() & ~line::kVddStep);
  s.board->WriteData(low);
  s.clock.Advance(100'000'000);
  s.board->WriteData(static_cast<uint8_t>(low | line::kVddStep));
  EXPECT_EQ(s.board->vddStep(), 131);
}

TEST(EmptySocket, ReadsTheBoardsPullUp) {
  sim::ChipState state = sim::BlankState(*sim::FindChip("16F84A").value());
  state.program[0] = 0x0000;
  state.faults.noChip = true;
  SimLink s(state);
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x3FFF);
  EXPECT_EQ(s.board->Describe(), "simulated board (empty socket)");
  s.state().faults.noChip = false;
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x0000);
}

TEST(EmptySocket, ABoardWithNoChipAtAll) {
  VirtualClock clock;
  auto board = std::make_unique<sim::SimBoard>(clock);
  sim::SimBoard* raw = board.get();
  PortLink link(std::move(board), clock);
  SerialProtocol p(link, {.name = "16F84", .family = 1, .pairFlag = false, .pinCount = 18});
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x3FFF);
  EXPECT_EQ(raw->chip(), nullptr);
}

TEST(DataInFaults, StuckLowAndStuckHigh) {
  for (const auto fault : {sim::DataInFault::kStuckLow, sim::DataInFault::kStuckHigh}) {
    sim::ChipState state = sim::BlankState(*sim::FindChip("16F877A").value());
    state.program[0] = 0x1555;
    state.faults.dataIn = fault;
    SimLink s(state);
    SerialProtocol p = s.Protocol(8);
    p.EnterProgrammingMode();
    EXPECT_EQ(p.ReadProgramWord(), fault == sim::DataInFault::kStuckLow ? 0x0000 : 0x3FFF);
  }
}

TEST(DataLine, BoardReadsTheWiredAndOfDataOutAndTheChip) {
  SimLink s("16F84A");
  s.link.SetDataLine(kFalse);
  EXPECT_FALSE(s.link.ReadStatus()) << "DataOut low pulls the line low";
  s.link.SetDataLine(kTrue);
  EXPECT_TRUE(s.link.ReadStatus());
}

TEST(DataLine, TheChipPullsTheReleasedLineLowForAZeroBit) {
  sim::ChipState state = sim::BlankState(*sim::FindChip("16F84A").value());
  state.program[0] = 0x3FFE;  // bit 0 low
  SimLink s(state);
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  p.SendCommandForRead(cmd::kReadDataProgram);
  s.link.PulseClock();  // start bit: the chip does not drive yet
  EXPECT_TRUE(s.board->DataLineLevel());
  s.link.PulseClock();  // bit 0 goes out on this clock's rising edge
  EXPECT_FALSE(s.board->DataLineLevel());
  s.link.PulseClock();
  EXPECT_TRUE(s.board->DataLineLevel());
}

TEST(Faults, AWordThatNeverPrograms) {
  for (const std::string name : {"16F84A", "16C62"}) {
    sim::ChipState state = sim::BlankState(*sim::FindChip(name).value());
    state.faults.neverProgram = {1};
    SimLink s(state);
    SerialProtocol p = s.Protocol(test::FamilyOf(s.info()));
    p.EnterProgrammingMode();
    EXPECT_LE(test::ProgramWord(p, s.info(), 0x0000), 25);
    p.IncrementAddress();
    const int cycles = test::ProgramWord(p, s.info(), 0x0000);
    p.IncrementAddress();
    p.EnterProgrammingMode();
    EXPECT_EQ(p.ReadProgramWord(), 0x0000) << name;
    p.IncrementAddress();
    EXPECT_EQ(p.ReadProgramWord(), 0x3FFF) << name;
    if (s.info().kind != sim::ChipClass::kFlash14) {
      EXPECT_EQ(cycles, 26) << name;
    }
  }
}

TEST(Faults, CellReadsWrongOnlyBelowItsVdd) {
  sim::ChipState state = sim::BlankState(*sim::FindChip("16F628").value());
  state.program[2] = 0x0100;
  state.faults.marginCells = {{.address = 2, .belowVolts = 4.6, .aboveVolts = std::nullopt, .xorMask = 0x0004}};
  SimLink s(state);
  SerialProtocol p = s.Protocol(1);
  const auto readWord2 = [&] {
    s.EnterVppFirst();
    p.IncrementAddress();
    p.IncrementAddress();
    return p.ReadProgramWord();
  };
  s.link.SetVddLevel(5.0F);
  EXPECT_EQ(readWord2(), 0x0100);
  s.link.SetVddLevel(4.5F);
  EXPECT_EQ(readWord2(), 0x0104);
  s.link.SetVddLevel(5.5F);
  EXPECT_EQ(readWord2(), 0x0100);
}

TEST(Faults, CellReadsWrongOnlyAboveItsVdd) {
  sim::ChipState state = sim::BlankState(*sim::FindChip("12C509A").value());
  state.config = 0xFEA;
  state.faults.marginCells = {{.address = 0xFFF, .belowVolts = std::nullopt, .aboveVolts = 5.3, .xorMask = 0x0010}};
  SimLink s(state);
  SerialProtocol p = s.Protocol(4);
  s.link.SetVddLevel(5.0F);
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0xFEA);
  s.link.SetVddLevel(5.5F);
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0xFFA);
}

TEST(Faults, DataEepromMarginCell) {
  sim::ChipState state = sim::BlankState(*sim::FindChip("16F84A").value());
  state.data[0] = 0x80;
  state.faults.marginCells = {{.address = sim::kDataSpace, .belowVolts = 4.8, .aboveVolts = std::nullopt,
                               .xorMask = 0x80}};
  SimLink s(state);
  SerialProtocol p = s.Protocol(1);
  s.link.SetVddLevel(5.0F);
  s.link.SetVddLevel(4.5F);
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadDataMemory() & 0xFF, 0x00);
}

TEST(ChipFactory, RefusesAStateThatDoesNotFitTheChip) {
  sim::ChipState state = sim::BlankState(*sim::FindChip("16F84A").value());
  state.program.resize(512);
  const auto chip = sim::MakeChip(state);
  ASSERT_FALSE(chip.ok());
  EXPECT_NE(chip.message().find("16F84A"), std::string::npos);
  state.chip = "16C57";
  EXPECT_FALSE(sim::MakeChip(state).ok());
}

TEST(ChipTable, NamesAreUniqueAndSocketsMatchThePackages) {
  std::set<std::string_view> names;
  for (const sim::ChipInfo& info : sim::ChipTable()) {
    EXPECT_TRUE(names.insert(info.name).second) << info.name;
    const int expected = info.name == "14000" ? 3 : (info.pins <= 18 ? 1 : 2);
    EXPECT_EQ(info.vppSwitch, expected) << info.name;
    EXPECT_FALSE(info.document.empty()) << info.name;
    EXPECT_GT(info.programUs, 0) << info.name;
    if (info.kind == sim::ChipClass::kOtp12) {
      EXPECT_EQ(info.idAddress, info.programWords) << info.name;
    }
  }
}

TEST(ChipTable, TheParallelProgrammed16C5xAreNotPretended) {
  for (const char* name : {"16C54", "16C55", "16C56", "16C57", "16C58", "16C57A"}) {
    const auto found = sim::FindChip(name);
    ASSERT_FALSE(found.ok()) << name;
    EXPECT_NE(found.message().find("parallel"), std::string::npos) << name;
  }
  EXPECT_TRUE(sim::FindChip("16C558").ok());
  EXPECT_FALSE(sim::FindChip("16F999").ok());
}

}  // namespace
}  // namespace quorvi
