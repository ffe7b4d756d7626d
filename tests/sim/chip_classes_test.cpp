// SPDX-License-Identifier: GPL-3.0-or-later
// Every chip class programmed and read back through the command layer on the
// simulated board.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "chip_routines.h"
#include "hw/delay.h"
#include "sim/eprom_chip.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

const std::vector<std::string> kOnePerClass = {
    "16C84", "16F84A", "16F628", "12F675", "16F676", "16F877", "16F877A", "16F819", "16F74",
    "16C73", "16C558", "14000",  "12C509", "16C505"};

class EveryClass : public ::testing::TestWithParam<std::string> {};

const std::vector<int> kWords14 = {0x2834, 0x0000, 0x3FFE, 0x1555};
const std::vector<int> kWords12 = {0xA05, 0x000, 0xFFE, 0x555};

std::vector<int> WordsFor(const sim::ChipInfo& info) {
  return info.kind == sim::ChipClass::kOtp12 ? kWords12 : kWords14;
}

TEST_P(EveryClass, ProgramsWordsAndReadsThemBack) {
  SimLink s(GetParam());
  const sim::ChipInfo& info = s.info();
  SerialProtocol p = s.Protocol(test::FamilyOf(info));
  test::Enter(s, p);
  ASSERT_TRUE(s.chip().inProgrammingMode());
  if (info.kind == sim::ChipClass::kOtp12) p.IncrementAddress();  // from the configuration word to 0
  const std::vector<int> words = WordsFor(info);
  for (const int w : words) {
    EXPECT_LE(test::ProgramWord(p, info, w), 25);
    p.IncrementAddress();
  }
  test::Enter(s, p);
  if (info.kind == sim::ChipClass::kOtp12) p.IncrementAddress();
  for (size_t i = 0; i < words.size(); ++i) {
    EXPECT_EQ(p.ReadProgramWord(), words[i]) << "address " << i;
    p.IncrementAddress();
  }
  EXPECT_EQ(p.ReadProgramWord(), sim::BlankWord(info)) << "the next word stays blank";
}

TEST_P(EveryClass, ConfigurationWordWriteAndRead) {
  SimLink s(GetParam());
  const sim::ChipInfo& info = s.info();
  SerialProtocol p = s.Protocol(test::FamilyOf(info));
  test::Enter(s, p);
  // Oscillator bits changed, protection left off.
  const int config = (sim::BlankWord(info) & info.configBits) & ~0x0003;
  EXPECT_LE(test::ProgramConfig(p, info, config), 25);
  test::Enter(s, p);
  EXPECT_EQ(test::ReadConfig(p, info), config);
  EXPECT_EQ(s.state().config, config);
}

TEST_P(EveryClass, IdWordsSitWhereTheDocumentPutsThem) {
  SimLink s(GetParam());
  const sim::ChipInfo& info = s.info();
  SerialProtocol p = s.Protocol(test::FamilyOf(info));
  test::Enter(s, p);
  if (info.kind == sim::ChipClass::kOtp12) {
    for (int i = 0; i <= info.idAddress; ++i) p.IncrementAddress();  // FFFh -> 0 -> ids
  } else {
    p.LoadConfiguration(0x3FFF);
  }
  EXPECT_LE(test::ProgramWord(p, info, 0x0005), 25);
  p.IncrementAddress();
  EXPECT_LE(test::ProgramWord(p, info, 0x000A), 25);
  s.board->Sync();
  EXPECT_EQ(s.state().ids[0], 0x0005);
  EXPECT_EQ(s.state().ids[1], 0x000A);
}

TEST_P(EveryClass, EraseLeavesTheChipBlank) {
  SimLink s(GetParam());
  const sim::ChipInfo& info = s.info();
  SerialProtocol p = s.Protocol(test::FamilyOf(info));
  test::Enter(s, p);
  if (info.kind == sim::ChipClass::kOtp12) p.IncrementAddress();
  test::ProgramWord(p, info, 0x0123);
  s.board->Sync();
  ASSERT_EQ(s.state().program[0], 0x0123);
  if (info.kind == sim::ChipClass::kFlash14) {
    test::Enter(s, p);
    test::EraseChip(p, info);
    test::Enter(s, p);
    EXPECT_EQ(p.ReadProgramWord(), 0x3FFF);
  } else {
    EXPECT_TRUE(s.chip().UvErase().ok());
    EXPECT_EQ(s.state().program[0], sim::BlankWord(info));
  }
  EXPECT_EQ(s.state().program[0], sim::BlankWord(info));
}

INSTANTIATE_TEST_SUITE_P(Sim, EveryClass, ::testing::ValuesIn(kOnePerClass),
                         [](const ::testing::TestParamInfo<std::string>& param) { return "PIC" + param.param; });

class DataEeprom : public ::testing::TestWithParam<std::string> {};

TEST_P(DataEeprom, ByteWriteAndRead) {
  SimLink s(GetParam());
  const sim::ChipInfo& info = s.info();
  ASSERT_GT(info.dataBytes, 0);
  SerialProtocol p = s.Protocol(test::FamilyOf(info));
  test::Enter(s, p);
  for (const int byte : {0x5A, 0x00, 0xC3}) {
    test::ProgramDataByte(p, info, byte);
    p.IncrementAddress();
  }
  test::Enter(s, p);
  EXPECT_EQ(p.ReadDataMemory() & 0xFF, 0x5A);
  p.IncrementAddress();
  EXPECT_EQ(p.ReadDataMemory() & 0xFF, 0x00);
  p.IncrementAddress();
  EXPECT_EQ(p.ReadDataMemory() & 0xFF, 0xC3);
  p.IncrementAddress();
  EXPECT_EQ(p.ReadDataMemory() & 0xFF, 0xFF);
}

INSTANTIATE_TEST_SUITE_P(Sim, DataEeprom, ::testing::Values("16F84A", "16F628", "12F629", "16F873", "16F876A", "16F818"),
                         [](const ::testing::TestParamInfo<std::string>& param) { return "PIC" + param.param; });

TEST(TwelveBitCore, AddressCounterStartsOnTheConfigurationWord) {
  sim::ChipState state = sim::FactoryState(*sim::FindChip("12C508A").value(), 7);
  state.config = 0xFEA;
  state.ids = {1, 2, 3, 4};
  SimLink s(state);
  SerialProtocol p = s.Protocol(4);
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0xFEA);
  p.IncrementAddress();  // wraps to 0
  EXPECT_EQ(p.ReadProgramWord(), 0xFFF);
  for (int i = 0; i < 0x1FF; ++i) p.IncrementAddress();
  const int calibration = p.ReadProgramWord();
  EXPECT_EQ(calibration & 0xF00, 0xC00) << "MOVLW in the last program word";
  EXPECT_EQ(calibration, state.program[0x1FF]);
  p.IncrementAddress();
  EXPECT_EQ(p.ReadProgramWord(), 1) << "ID words follow program memory";
}

TEST(OneTimeProgrammable, EachWordTakesItsDrawnNumberOfPulses) {
  SimLink s("16C73");
  auto& chip = dynamic_cast<sim::EpromChip&>(s.chip());
  SerialProtocol p = s.Protocol(2);
  p.EnterProgrammingMode();
  std::vector<int> pulses;
  for (int a = 0; a < 8; ++a) {
    pulses.push_back(test::ProgramWord(p, s.info(), 0x0000));
    EXPECT_EQ(pulses.back(), chip.PulsesNeeded(a)) << "address " << a;
    EXPECT_GE(pulses.back(), 1);
    EXPECT_LE(pulses.back(), 8);
    p.IncrementAddress();
  }
  EXPECT_NE(std::count(pulses.begin(), pulses.end(), pulses.front()), 8) << "the generator varies by address";
}

TEST(OneTimeProgrammable, CellsOnlyGoFromOneToZero) {
  SimLink s("16C61");
  SerialProtocol p = s.Protocol(2);
  p.EnterProgrammingMode();
  test::ProgramWord(p, s.info(), 0x00FF);
  EXPECT_EQ(test::ProgramWord(p, s.info(), 0x0F0F), 26) << "never reads back as asked";
  EXPECT_EQ(p.ReadProgramWord(), 0x000F);
}

TEST(OneTimeProgrammable, PulseCountRangeComesFromTheState) {
  sim::ChipState state = sim::BlankState(*sim::FindChip("16C74").value());
  state.pulses = {.seed = 99, .minPulses = 3, .maxPulses = 3};
  SimLink s(state);
  SerialProtocol p = s.Protocol(2);
  p.EnterProgrammingMode();
  EXPECT_EQ(test::ProgramWord(p, s.info(), 0x1234), 3);
}

TEST(OneTimeProgrammable, The14000SitsOnVpp3AndKeepsItsCalibrationBlock) {
  sim::ChipState state = sim::FactoryState(*sim::FindChip("14000").value(), 5);
  SimLink s(state);
  SerialProtocol p = s.Protocol(2);
  p.EnterProgrammingMode();
  ASSERT_TRUE(s.chip().inProgrammingMode());
  for (int i = 0; i < 0xFC0; ++i) p.IncrementAddress();
  EXPECT_EQ(p.ReadProgramWord(), state.program[0xFC0]);
  EXPECT_NE(state.program[0xFC0], 0x3FFF);
}

TEST(OneTimeProgrammable, UvEraseIsOnlyForEpromParts) {
  SimLink otp("16C558");
  otp.state().program[3] = 0;
  EXPECT_TRUE(otp.chip().UvErase().ok());
  EXPECT_EQ(otp.state().program[3], 0x3FFF);
  SimLink flash("16F84A");
  EXPECT_FALSE(flash.chip().UvErase().ok());
}

TEST(BandGapParts, BulkEraseLosesCalibrationUnlessWrittenBack) {
  const sim::ChipInfo& info = *sim::FindChip("12F675").value();
  const sim::ChipState factory = sim::FactoryState(info, 11);
  SimLink s(factory);
  SerialProtocol p = s.Protocol(1);
  p.EnterProgrammingMode();
  for (int i = 0; i < 0x3FF; ++i) p.IncrementAddress();
  const int calibration = p.ReadProgramWord();
  EXPECT_EQ(calibration & 0x3F00, 0x3400) << "RETLW";
  const int bandgap = test::ReadConfig(p, info) & 0x3000;
  EXPECT_EQ(bandgap, factory.config & 0x3000);

  p.EnterProgrammingMode();
  test::EraseChip(p, info);
  p.EnterProgrammingMode();
  for (int i = 0; i < 0x3FF; ++i) p.IncrementAddress();
  EXPECT_EQ(p.ReadProgramWord(), 0x3FFF) << "the erase took the calibration word";
  EXPECT_EQ(test::ReadConfig(p, info), 0x31FF) << "and set the band-gap bits; 11..9 read 0";

  p.EnterProgrammingMode();
  for (int i = 0; i < 0x3FF; ++i) p.IncrementAddress();
  test::ProgramWord(p, info, calibration);
  p.EnterProgrammingMode();
  test::ProgramConfig(p, info, 0x01FF | bandgap);
  s.board->Sync();
  EXPECT_EQ(s.state().program[0x3FF], calibration);
  EXPECT_EQ(s.state().config & 0x3000, bandgap);
}

TEST(LatchParts, SixteenF7xWritesTwoWordsPerCycle) {
  SimLink s("16F76");
  SerialProtocol p = s.Protocol(6);
  p.EnterProgrammingMode();
  p.LoadProgramData(0x1111);
  p.IncrementAddress();
  p.LoadProgramData(0x2222);
  p.BeginProgramming();
  DelayMs(s.clock, 1.0F);
  p.EndProgramming();
  s.board->Sync();
  EXPECT_EQ(s.state().program[0], 0x1111);
  EXPECT_EQ(s.state().program[1], 0x2222);
}

TEST(LatchParts, SixteenF877AWritesItsEightLatchesInOneCycle) {
  SimLink s("16F877A");
  SerialProtocol p = s.Protocol(8);
  p.EnterProgrammingMode();
  for (int i = 0; i < 8; ++i) {
    p.LoadProgramData(0x0100 + i);
    if (i < 7) p.IncrementAddress();
  }
  p.SendCommand(cmd::kBeginProgrammingOnly);
  DelayMs(s.clock, 1.0F);
  p.SendCommand(cmd::kEndProgramming2);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(s.state().program[static_cast<size_t>(i)], 0x0100 + i);
  EXPECT_EQ(s.state().program[8], 0x3FFF);
}

TEST(LatchParts, DeviceIdAt2006h) {
  SimLink s("16F628");
  SerialProtocol p = s.Protocol(1);
  s.EnterVppFirst();
  p.LoadConfiguration(0);
  for (int i = 0; i < 6; ++i) p.IncrementAddress();
  EXPECT_EQ(p.ReadProgramWord(), 0x07C0);
}

}  // namespace
}  // namespace quorvi
