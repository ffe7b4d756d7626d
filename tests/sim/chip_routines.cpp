// SPDX-License-Identifier: GPL-3.0-or-later
#include "chip_routines.h"

#include "hw/delay.h"

namespace quorvi::test {

using sim::BeginMode;
using sim::ChipClass;
using sim::Entry;
using sim::ProgramOnlyMode;

void Enter(SimLink& s, SerialProtocol& p) {
  if (s.info().entry == Entry::kVppFirstOrQuick && s.info().pins == 18 &&
      std::string_view(s.info().name).substr(0, 5) != "16F81") {
    s.EnterVppFirst();
  } else {
    p.EnterProgrammingMode();
  }
}

int ProgramWord(SerialProtocol& p, const sim::ChipInfo& info, int word) {
  Clock& clock = p.link().clock();
  if (info.kind != ChipClass::kFlash14) {
    for (int pulses = 1; pulses <= 25; ++pulses) {
      p.LoadProgramData(word);
      p.BeginProgramming();
      DelayUnit(clock);  // one 100 us pulse
      p.EndProgramming();
      if (p.ReadProgramWord() == word) return pulses;
    }
    return 26;
  }
  p.LoadProgramData(word);
  if (info.programOnly == ProgramOnlyMode::kExternal) {
    p.SendCommand(cmd::kBeginProgrammingOnly);
    DelayMs(clock, 1.0F);
    p.SendCommand(info.endsWith23 ? cmd::kEndProgramming2 : cmd::kEndProgramming);
  } else if (info.begin == BeginMode::kProgramExternal) {
    p.BeginProgramming();
    DelayMs(clock, 1.0F);
    p.EndProgramming();
  } else {
    p.BeginProgramming();
    DelayMs(clock, 10.0F);
  }
  return 1;
}

void ProgramDataByte(SerialProtocol& p, const sim::ChipInfo& info, int byte) {
  p.LoadDataMemory(byte);
  if (info.programOnly == ProgramOnlyMode::kExternal) {
    p.SendCommand(cmd::kBeginProgrammingOnly);
    DelayMs(p.link().clock(), 1.0F);
    p.SendCommand(cmd::kEndProgramming2);
    return;
  }
  p.BeginProgramming();
  DelayMs(p.link().clock(), 10.0F);
}

int ProgramConfig(SerialProtocol& p, const sim::ChipInfo& info, int word) {
  if (info.kind != ChipClass::kOtp12) {
    p.LoadConfiguration(0x3FFF);
    for (int i = 0; i < 7; ++i) p.IncrementAddress();
  }
  return ProgramWord(p, info, word);
}

int ReadConfig(SerialProtocol& p, const sim::ChipInfo& info) {
  if (info.kind != ChipClass::kOtp12) {
    p.LoadConfiguration(0x3FFF);
    for (int i = 0; i < 7; ++i) p.IncrementAddress();
  }
  return p.ReadProgramWord();
}

void EraseChip(SerialProtocol& p, const sim::ChipInfo& info) {
  Clock& clock = p.link().clock();
  if (info.chipErase) {
    p.LoadConfiguration(0x3FFF);
    p.SendCommand(cmd::kChipErase);
    DelayMs(clock, 10.0F);
  } else if (info.cpDisable) {
    p.CodeProtectEraseConfigPath();
    p.LoadDataMemory(0x3FFF);
    p.SendCommand(cmd::kEraseSetup1);
    p.SendCommand(cmd::kEraseSetup2);
    p.SendCommand(cmd::kBeginProgramming);
    DelayMs(clock, 15.0F);
  } else if (info.begin == BeginMode::kProgramExternal) {
    p.SendCommand(cmd::kBulkEraseProgram);
    DelayMs(clock, 40.0F);
  } else {
    // DS41191: with the address in configuration space the bulk erase takes
    // the configuration word too.
    p.LoadConfiguration(0x3FFF);
    p.SendCommand(cmd::kBulkEraseProgram);
    DelayMs(clock, 10.0F);
    p.SendCommand(cmd::kBulkEraseData);
    DelayMs(clock, 10.0F);
  }
}

}  // namespace quorvi::test
