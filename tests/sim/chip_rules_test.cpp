// SPDX-License-Identifier: GPL-3.0-or-later
// Each ordering and timing rule of the chip models, shown to hold and to fail.
#include <gtest/gtest.h>

#include <string>

#include "chip_routines.h"
#include "hw/delay.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

// --- mode entry -------------------------------------------------------------

TEST(ModeEntry, VddFirstPartEntersWithVddBeforeVpp) {
  SimLink s("16F84A");
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  EXPECT_TRUE(s.chip().inProgrammingMode());
}

TEST(ModeEntry, VddFirstPartRefusesVppBeforeVdd) {
  SimLink s("16F84A");
  s.EnterVppFirst();
  EXPECT_FALSE(s.chip().inProgrammingMode());
  SerialProtocol p = s.Protocol(1);
  test::ProgramWord(p, s.info(), 0x0000);
  s.board->Sync();
  EXPECT_EQ(s.state().program[0], 0x3FFF) << "nothing is programmed outside programming mode";
}

// A part whose program runs with MCLR off (MCLRE, bit 5, clear).
sim::ChipState RunningWithoutMclr(const char* name) {
  sim::ChipState state = sim::BlankState(*sim::FindChip(name).value());
  state.config &= ~0x0020;
  return state;
}

TEST(ModeEntry, SixteenF628NeedsVppFirstOnceMclrIsOff) {
  SimLink blank("16F628");  // MCLR enabled: the part waits in reset for Vpp
  SerialProtocol b = blank.Protocol(1);
  b.EnterProgrammingMode();
  EXPECT_TRUE(blank.chip().inProgrammingMode());

  SimLink late(RunningWithoutMclr("16F628"));
  SerialProtocol p = late.Protocol(1);
  p.EnterProgrammingMode();  // 18 pins: Vpp 100 ms after Vdd
  EXPECT_FALSE(late.chip().inProgrammingMode());
  test::ProgramWord(p, late.info(), 0x0000);
  late.board->Sync();
  EXPECT_EQ(late.state().program[0], 0x3FFF);

  SimLink first(RunningWithoutMclr("16F628"));
  first.EnterVppFirst();
  EXPECT_TRUE(first.chip().inProgrammingMode());
}

TEST(ModeEntry, QuickPartsTakeVppRightAfterVddButNotLater) {
  SimLink quick("16F818");
  SerialProtocol p = quick.Protocol(9);
  p.EnterProgrammingMode();  // "16F81": no settle wait
  EXPECT_TRUE(quick.chip().inProgrammingMode());

  SimLink slow(RunningWithoutMclr("16F818"));
  SerialProtocol q = slow.Protocol(9);
  slow.link.SetProgrammingVoltage(kFalse, "16F818", 18);
  slow.link.SetVdd("off");
  slow.Wait(100.0F);
  slow.link.SetVdd("on");
  slow.Wait(1.0F);  // longer than the part waits before running its own code
  slow.link.SetProgrammingVoltage(kTrue, "16F818", 18);
  EXPECT_FALSE(slow.chip().inProgrammingMode());
}

TEST(ModeEntry, ClockOrDataHighWhileVppRisesIsNoEntry) {
  SimLink s("16F84A");
  s.link.SetProgrammingVoltage(kFalse, "16F84A", 18);
  s.link.SetVdd("off");
  s.Wait(100.0F);
  s.link.SetVdd("on");
  s.link.SetDataLine(kTrue);
  s.link.SetProgrammingVoltage(kTrue, "16F84A", 18);
  EXPECT_FALSE(s.chip().inProgrammingMode());
}

TEST(ModeEntry, WrongVppSwitchLeavesTheChipAlone) {
  // A 40-pin part's MCLR is reached by Vpp2 only; the 18-pin switch does nothing.
  SimLink s("16F877");
  SerialProtocol wrong(s.link, {.name = "16F877", .family = 1, .pairFlag = false, .pinCount = 18});
  wrong.EnterProgrammingMode();
  EXPECT_FALSE(s.chip().inProgrammingMode());
  test::ProgramWord(wrong, s.info(), 0x0000);
  EXPECT_EQ(wrong.ReadProgramWord(), 0x3FFF) << "the pull-up answers";
  EXPECT_EQ(s.state().program[0], 0x3FFF);

  SerialProtocol right = s.Protocol(1);
  right.EnterProgrammingMode();
  EXPECT_TRUE(s.chip().inProgrammingMode());
}

TEST(ModeEntry, The14000OnlyListensToVpp3) {
  SimLink s("14000");
  SerialProtocol asIf28(s.link, {.name = "16C73", .family = 2, .pairFlag = false, .pinCount = 28});
  asIf28.EnterProgrammingMode();
  EXPECT_FALSE(s.chip().inProgrammingMode());
  SerialProtocol p = s.Protocol(2);
  p.EnterProgrammingMode();
  EXPECT_TRUE(s.chip().inProgrammingMode());
}

TEST(ModeEntry, PowerOffForgetsTheModeAndTheAddress) {
  SimLink s("16F84A");
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  s.state().program[0] = 0x0AAA;
  s.state().program[3] = 0x0BBB;
  for (int i = 0; i < 3; ++i) p.IncrementAddress();
  EXPECT_EQ(p.ReadProgramWord(), 0x0BBB);
  p.LeaveProgrammingMode();
  EXPECT_FALSE(s.chip().inProgrammingMode());
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x0AAA) << "the address counter is back at 0";
}

// --- cycles cut short -------------------------------------------------------

TEST(CycleTiming, InternallyTimedWriteInterruptedByTheNextCommandIsLost) {
  SimLink s("16F84A");
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  p.LoadProgramData(0x1234);
  p.BeginProgramming();
  p.IncrementAddress();  // no wait: this command cuts the cycle short
  DelayMs(s.clock, 20.0F);
  p.IncrementAddress();
  EXPECT_EQ(s.state().program[0], 0x3FFF);
  p.LoadProgramData(0x0567);
  p.BeginProgramming();
  DelayMs(s.clock, 10.0F);
  p.IncrementAddress();
  EXPECT_EQ(s.state().program[2], 0x0567);
}

TEST(CycleTiming, PowerLossDuringTheCycleLosesTheWord) {
  SimLink s("16F877");
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  p.LoadProgramData(0x1234);
  p.BeginProgramming();
  DelayMs(s.clock, 1.0F);
  p.LeaveProgrammingMode();
  s.Wait(20.0F);
  EXPECT_EQ(s.state().program[0], 0x3FFF);
}

TEST(CycleTiming, ACycleThatRanItsTimeSurvivesTheSupplyGoingOffFirst) {
  SimLink s("12F675");
  s.state().program[4] = 0x0000;
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  p.LoadConfiguration(0x3FFF);
  p.SendCommand(cmd::kBulkEraseProgram);
  DelayMs(s.clock, 10.0F);
  s.link.SetVdd("off");  // power before Vpp, as the band-gap erase does
  EXPECT_EQ(s.state().program[4], 0x3FFF);
}

TEST(CycleTiming, ExternallyTimedProgramOnlyNeedsItsMinimumBeforeEnd) {
  SimLink s("16F877A");
  SerialProtocol p = s.Protocol(8);
  p.EnterProgrammingMode();
  p.LoadProgramData(0x1234);
  p.SendCommand(cmd::kBeginProgrammingOnly);
  p.SendCommand(cmd::kEndProgramming2);  // at once
  EXPECT_EQ(s.state().program[0], 0x3FFF);
  p.IncrementAddress();
  EXPECT_EQ(test::ProgramWord(p, s.info(), 0x1234), 1);
  EXPECT_EQ(s.state().program[1], 0x1234);
}

TEST(CycleTiming, ProgramOnlyEndedByTheWrongEndCommandIsLost) {
  SimLink s("16F877A");
  SerialProtocol p = s.Protocol(8);
  p.EnterProgrammingMode();
  p.LoadProgramData(0x1234);
  p.SendCommand(cmd::kBeginProgrammingOnly);
  DelayMs(s.clock, 1.0F);
  p.EndProgramming();  // 001110: not this part's end
  DelayMs(s.clock, 5.0F);
  p.IncrementAddress();
  EXPECT_EQ(s.state().program[0], 0x3FFF);
}

TEST(CycleTiming, ChipEraseCutShortLeavesTheChipProgrammed) {
  SimLink s("16F819");
  s.state().program[5] = 0x0000;
  SerialProtocol p = s.Protocol(9);
  p.EnterProgrammingMode();
  p.LoadConfiguration(0x3FFF);
  p.SendCommand(cmd::kChipErase);
  p.IncrementAddress();
  DelayMs(s.clock, 10.0F);
  p.IncrementAddress();
  EXPECT_EQ(s.state().program[5], 0x0000);
  p.SendCommand(cmd::kChipErase);
  DelayMs(s.clock, 10.0F);
  p.IncrementAddress();
  EXPECT_EQ(s.state().program[5], 0x3FFF);
}

TEST(CycleTiming, EpromPulseWithoutTheWaitNeverCounts) {
  SimLink s("12C508");
  SerialProtocol p = s.Protocol(4);
  p.EnterProgrammingMode();
  p.IncrementAddress();
  for (int i = 0; i < 30; ++i) {
    p.LoadProgramData(0x000);
    p.BeginProgramming();
    DelayMs(s.clock, 0.1F);  // rounds to no wait at all
    p.EndProgramming();
  }
  EXPECT_EQ(p.ReadProgramWord(), 0xFFF);
}

TEST(CycleTiming, StrictMarginHoldsTheHostToTheDocumentedTimes) {
  // A 10 ms request spins 99 units, 8.25 ms: enough at the default margin,
  // not when the chip insists on the full 10 ms of DS30262.
  for (const double margin : {0.5, 1.0}) {
    sim::ChipState state = sim::BlankState(*sim::FindChip("16F84A").value());
    state.timingMargin = margin;
    SimLink s(state);
    SerialProtocol p = s.Protocol(1);
    p.EnterProgrammingMode();
    test::ProgramWord(p, s.info(), 0x0042);
    p.IncrementAddress();
    EXPECT_EQ(s.state().program[0], margin < 1.0 ? 0x0042 : 0x3FFF) << "margin " << margin;
  }
}

// --- supply level ------------------------------------------------------------

TEST(SupplyLevel, EraseNeedsFourAndAHalfVolts) {
  SimLink s("16F84A");
  s.state().program[0] = 0x0000;
  SerialProtocol p = s.Protocol(1);
  ASSERT_TRUE(s.link.SetVddLevel(5.0F).ok());
  ASSERT_TRUE(s.link.SetVddLevel(4.0F).ok());
  EXPECT_NEAR(s.board->VddVolts(), 4.0, 0.02);
  p.EnterProgrammingMode();
  test::EraseChip(p, s.info());
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x0000) << "no erase at 4.0 V";
  ASSERT_TRUE(s.link.SetVddLevel(5.0F).ok());
  p.EnterProgrammingMode();
  test::EraseChip(p, s.info());
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x3FFF);
}

TEST(SupplyLevel, BelowTwoVoltsTheChipIsDead) {
  SimLink s("16F84A");
  s.state().program[0] = 0x0000;
  SerialProtocol p = s.Protocol(1);
  ASSERT_TRUE(s.link.SetVddLevel(5.0F).ok());
  ASSERT_TRUE(s.link.SetVddLevel(1.5F).ok());
  p.EnterProgrammingMode();
  EXPECT_FALSE(s.chip().inProgrammingMode());
  EXPECT_EQ(p.ReadProgramWord(), 0x3FFF);
}

// --- code protection --------------------------------------------------------

TEST(CodeProtection, ProtectedPartReadsZerosUntilTheProtectEraseSequence) {
  sim::ChipState state = sim::BlankState(*sim::FindChip("16F84").value());
  state.program[0] = 0x2805;
  sim::SetCodeProtection(*sim::FindChip("16F84").value(), state, true, true);
  SimLink s(state);
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x0000);
  // A bulk erase is refused on a protected part (DS30262).
  p.LoadProgramData(0x3FFF);
  p.SendCommand(cmd::kBulkEraseProgram);
  p.BeginProgramming();
  DelayMs(s.clock, 10.0F);
  p.IncrementAddress();
  EXPECT_EQ(s.state().program[0], 0x2805);

  p.EnterProgrammingMode();
  p.CodeProtectEraseConfigPath();
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x3FFF);
  EXPECT_EQ(test::ReadConfig(p, s.info()), 0x3FFF);
}

TEST(CodeProtection, ChipEraseClearsA16F877A) {
  const sim::ChipInfo& info = *sim::FindChip("16F877A").value();
  sim::ChipState state = sim::BlankState(info);
  state.program[1] = 0x0001;
  state.data[0] = 0x11;
  sim::SetCodeProtection(info, state, true, true);
  SimLink s(state);
  SerialProtocol p = s.Protocol(8);
  p.EnterProgrammingMode();
  p.IncrementAddress();
  EXPECT_EQ(p.ReadProgramWord(), 0);
  test::ProgramWord(p, info, 0x0000);
  EXPECT_EQ(s.state().program[1], 0x0001) << "a protected part takes no writes";
  p.EnterProgrammingMode();
  test::EraseChip(p, info);
  p.EnterProgrammingMode();
  p.IncrementAddress();
  EXPECT_EQ(p.ReadProgramWord(), 0x3FFF);
  EXPECT_EQ(p.ReadDataMemory() & 0xFF, 0xFF);
}

// --- the fixed sequences of the command layer against the chips -------------

TEST(FixedSequencesOnChips, ConfigPathErasesAProtected16F84) {
  const sim::ChipInfo& info = *sim::FindChip("16F84").value();
  sim::ChipState state = sim::BlankState(info);
  state.program[0] = 0x0000;
  state.data[0] = 0x00;
  state.ids[0] = 0x0001;
  SetCodeProtection(info, state, true, false);
  SimLink s(state);
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  p.CodeProtectEraseConfigPath();
  s.board->Sync();
  EXPECT_EQ(s.state(), sim::BlankState(info));
}

}  // namespace
}  // namespace quorvi
