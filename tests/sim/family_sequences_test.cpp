// SPDX-License-Identifier: GPL-3.0-or-later
// The erase, word-write and configuration sequences of each catalogue family,
// as the device operations will send them, run against the chip class each
// family stands for. If a family were mapped to the wrong class, its own
// sequences would leave the chip unerased or unprogrammed here.
#include <gtest/gtest.h>

#include <string>

#include "chip_routines.h"
#include "hw/delay.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

void Wait(SerialProtocol& p, float ms) { DelayMs(p.link().clock(), ms); }

// Power-up of the operation frame: Vpp first for "16F62" names, the 18-pin
// settle wait, Vpp, 100 ms, data low.
void PowerUp(SimLink& s, SerialProtocol& p) {
  const std::string& name = p.target().name;
  s.link.SetProgrammingVoltage(kFalse, name, p.target().pinCount);
  s.link.SetVdd("off");
  s.Wait(250.0F);
  s.link.SetDataLine(kFalse);
  if (name.substr(0, 5) == "16F62") s.link.SetProgrammingVoltage(kTrue, name, p.target().pinCount);
  s.link.SetVdd("on");
  if (p.target().pinCount == 18 && name.substr(0, 5) != "16F81" && name.substr(0, 5) != "16C55") s.Wait(100.0F);
  s.link.SetProgrammingVoltage(kTrue, name, p.target().pinCount);
  s.Wait(100.0F);
  s.link.SetDataLine(kFalse);
}

void PowerDown(SerialProtocol& p) { p.LeaveProgrammingMode(); }

// Erase by family, "any other" row included.
void EraseByFamily(SerialProtocol& p, int family) {
  switch (family) {
    case 8:
    case 9:
      p.LoadConfiguration(0);
      p.SendCommand(cmd::kChipErase);
      Wait(p, 5.0F);
      break;
    case 6:
      p.SendCommand(cmd::kBulkEraseProgram);
      Wait(p, 40.0F);
      break;
    default:
      p.LoadConfiguration(0);
      p.SendCommand(cmd::kBulkEraseProgram);
      Wait(p, 40.0F);
      p.SendCommand(cmd::kBulkEraseData);
      Wait(p, 40.0F);
      // Code-protect erase A, then B.
      p.LoadConfiguration(0x3FFF);
      for (int i = 0; i < 7; ++i) p.IncrementAddress();
      p.SendCommand(cmd::kEraseSetup1);
      p.SendCommand(cmd::kEraseSetup2);
      p.SendCommand(cmd::kBeginProgramming);
      Wait(p, 15.0F);
      p.SendCommand(cmd::kEraseSetup1);
      p.SendCommand(cmd::kEraseSetup2);
      p.LoadDataMemory(0x3FFF);
      p.SendCommand(cmd::kEraseSetup1);
      p.SendCommand(cmd::kEraseSetup2);
      p.SendCommand(cmd::kBeginProgramming);
      Wait(p, 20.0F);
      p.SendCommand(cmd::kEraseSetup1);
      p.SendCommand(cmd::kEraseSetup2);
      Wait(p, 20.0F);
      break;
  }
}

// The word programming routine: pulse mode 10 or 1, or the family-8 form.
// Family 9 has its own loop, not fixed yet; it takes the family-8 form here
// because a Begin Erase/Programming per word would erase the other words of
// the 16F81x's four-word write block.
int ProgramWordRoutine(SerialProtocol& p, int family, int mode, int word) {
  int count = 0;
  int last = 0x4000;
  while (count < 26 && last != word) {
    p.LoadProgramData(word);
    if (family == 8 || (family == 9 && mode != 100)) {
      p.SendCommand(cmd::kBeginProgrammingOnly);
      Wait(p, 1.0F);
      p.SendCommand(cmd::kEndProgramming2);
    } else {
      p.BeginProgramming();
      if (mode == 100) {
        DelayUnit(p.link().clock());
        p.EndProgramming();
      } else if (mode == 10) {
        Wait(p, 10.0F);
      } else {
        Wait(p, 1.0F);
        p.EndProgramming();
      }
    }
    last = p.ReadProgramWord();
    ++count;
  }
  return count;
}

bool ConfigWrite(SerialProtocol& p, int family, int config) {
  p.LoadConfiguration(0x3FFF);
  for (int i = 0; i < 7; ++i) p.IncrementAddress();
  p.LoadProgramData(config);
  if (family == 9) {
    p.SendCommand(cmd::kBeginProgrammingOnly);
    Wait(p, 1.0F);
    p.SendCommand(cmd::kEndProgramming2);
    // Then the one-time-programmable sequence as well.
    p.LoadConfiguration(0x3FFF);
    for (int i = 0; i < 7; ++i) p.IncrementAddress();
    p.LoadProgramData(config);
    p.LoadProgramData(config);
    for (int round = 0; round < 100; ++round) {
      if (ProgramWordRoutine(p, family, 100, config) > 25) return false;
    }
    return true;
  }
  p.BeginProgramming();
  if (family == 1 || family == 8) {
    Wait(p, 10.0F);
  } else {
    Wait(p, 1.0F);
    p.EndProgramming();
  }
  return p.ReadProgramWord() == config;
}

struct FamilyCase {
  const char* chip;
  int family;
};

class FamilySequences : public ::testing::TestWithParam<FamilyCase> {};

TEST_P(FamilySequences, EraseWriteAndConfigureAProgrammedPart) {
  const FamilyCase c = GetParam();
  const sim::ChipInfo& info = *sim::FindChip(c.chip).value();
  sim::ChipState state = sim::BlankState(info);
  std::fill(state.program.begin(), state.program.end(), 0x0000);
  // Protected, with MCLR left enabled so that every host entry order works.
  state.config = info.mclreMask & info.configBits;
  SimLink s(state);
  SerialProtocol p = s.Protocol(c.family);

  PowerUp(s, p);
  EraseByFamily(p, c.family);
  PowerDown(p);
  PowerUp(s, p);
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(p.ReadProgramWord(), 0x3FFF) << "after erase, address " << i;
    p.IncrementAddress();
  }
  PowerDown(p);

  PowerUp(s, p);
  if (c.family == 6) {
    // Two words per cycle.
    for (int i = 0; i < 8; i += 2) {
      p.LoadProgramData(0x1000 + i);
      p.IncrementAddress();
      EXPECT_EQ(ProgramWordRoutine(p, 6, 1, 0x1000 + i + 1), 1);
      p.IncrementAddress();
    }
  } else {
    for (int i = 0; i < 8; ++i) {
      EXPECT_EQ(ProgramWordRoutine(p, c.family, 10, 0x1000 + i), 1) << "address " << i;
      p.IncrementAddress();
    }
  }
  PowerDown(p);

  PowerUp(s, p);
  const int config = 0x3FFF & info.configBits & ~0x0004;  // watchdog off
  EXPECT_TRUE(ConfigWrite(p, c.family, config));
  PowerDown(p);

  PowerUp(s, p);
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(p.ReadProgramWord(), 0x1000 + i) << "address " << i;
    p.IncrementAddress();
  }
  EXPECT_EQ(test::ReadConfig(p, info), config);
  PowerDown(p);
}

INSTANTIATE_TEST_SUITE_P(Sim, FamilySequences,
                         ::testing::Values(FamilyCase{"16F84A", 1}, FamilyCase{"16F84", 1}, FamilyCase{"16C84", 1},
                                           FamilyCase{"16F628", 1}, FamilyCase{"16F628A", 1},
                                           FamilyCase{"16F648A", 1}, FamilyCase{"16F877", 1},
                                           FamilyCase{"16F873", 1}, FamilyCase{"16F77", 6}, FamilyCase{"16F72", 6},
                                           FamilyCase{"16F877A", 8}, FamilyCase{"16F873A", 8},
                                           FamilyCase{"16F818", 9}, FamilyCase{"16F819", 9}),
                         [](const ::testing::TestParamInfo<FamilyCase>& param) {
                           return "PIC" + std::string(param.param.chip) + "_family" +
                                  std::to_string(param.param.family);
                         });

TEST(FamilySequences, BandGapPartEraseKeepsCalibrationWhenWrittenBack) {
  const sim::ChipInfo& info = *sim::FindChip("12F675").value();
  const sim::ChipState factory = sim::FactoryState(info, 21);
  sim::ChipState state = factory;
  state.program[0] = 0x0000;
  SimLink s(state);
  SerialProtocol p = s.Protocol(1);
  PowerUp(s, p);
  for (int i = 0; i < 0x3FF; ++i) p.IncrementAddress();
  const int savedCalibration = p.ReadProgramWord();
  p.LoadConfiguration(0);
  for (int i = 0; i < 7; ++i) p.IncrementAddress();
  const int savedBandgap = p.ReadProgramWord() & 0x3000;
  p.LoadConfiguration(0x3FFF);
  p.SendCommand(cmd::kBulkEraseProgram);
  Wait(p, 10.0F);
  p.SendCommand(cmd::kBulkEraseData);
  Wait(p, 10.0F);
  s.link.SetVdd("off");
  s.link.SetProgrammingVoltage(kFalse, "12F675", 8);
  s.Wait(250.0F);
  s.link.SetVdd("on");
  s.link.SetProgrammingVoltage(kTrue, "12F675", 8);
  for (int i = 0; i < 0x3FF; ++i) p.IncrementAddress();
  EXPECT_EQ(ProgramWordRoutine(p, 1, 10, savedCalibration), 1);
  EXPECT_TRUE(ConfigWrite(p, 1, 0x01FF | savedBandgap));
  PowerDown(p);
  EXPECT_EQ(s.state().program[0], 0x3FFF);
  EXPECT_EQ(s.state().program[0x3FF], factory.program[0x3FF]);
  EXPECT_EQ(s.state().config, factory.config);
}

TEST(FamilySequences, EraseProgramPerWordLosesTheRestOfA16F818Block) {
  SimLink s("16F818");
  SerialProtocol p = s.Protocol(9);
  PowerUp(s, p);
  for (int i = 0; i < 4; ++i) {
    ProgramWordRoutine(p, 1, 10, 0x1000 + i);  // 001000 per word
    p.IncrementAddress();
  }
  s.board->Sync();
  EXPECT_EQ(s.state().program[0], 0x3FFF);
  EXPECT_EQ(s.state().program[3], 0x1003);
}

TEST(FamilySequences, Family9DataEepromWriteReadsBack) {
  SimLink s("16F819");
  SerialProtocol p = s.Protocol(9);
  PowerUp(s, p);
  for (int a = 0; a < 4; ++a) {
    p.LoadDataMemory(0x40 + a);
    p.SendCommand(cmd::kBeginProgrammingOnly);
    Wait(p, 1.0F);
    p.SendCommand(cmd::kEndProgramming2);
    EXPECT_EQ(p.ReadDataMemory() & 0xFF, 0x40 + a);
    p.IncrementAddress();
  }
}

TEST(FamilySequences, EpromPartsTakeTheHundredMicrosecondRoutine) {
  for (const char* name : {"16C74", "16C556", "14000"}) {
    SimLink s(name);
    SerialProtocol p = s.Protocol(2);
    PowerUp(s, p);
    const int n = ProgramWordRoutine(p, 2, 100, 0x2A55);
    EXPECT_GE(n, 1) << name;
    EXPECT_LE(n, 8) << name;
    for (int extra = 0; extra < 3 * n; ++extra) ProgramWordRoutine(p, 2, 100, 0x2A55);
    EXPECT_EQ(p.ReadProgramWord(), 0x2A55) << name;
  }
}

}  // namespace
}  // namespace quorvi
