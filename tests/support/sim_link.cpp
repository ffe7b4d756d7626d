// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/sim_link.h"

#include <gtest/gtest.h>

#include "device/part_facts.h"
#include "hw/delay.h"

namespace quorvi::test {

namespace {

using sim::ChipClass;

std::unique_ptr<sim::SimBoard> MakeBoardOrFail(Clock& clock, sim::ChipState state, sim::SimBoard*& out) {
  auto board = sim::MakeBoard(clock, std::move(state));
  if (!board) ADD_FAILURE() << board.message();
  auto made = board ? std::move(board).value() : std::make_unique<sim::SimBoard>(clock);
  out = made.get();
  return made;
}

sim::ChipState BlankOf(const std::string& name) {
  auto info = sim::FindChip(name);
  if (!info) ADD_FAILURE() << info.message();
  return info ? sim::BlankState(*info.value()) : sim::ChipState{};
}

// The host's own facts for the part: its timing class, entry order and bus speed.
PartFacts HostFacts(const sim::ChipInfo& info) {
  DeviceDescriptor device;
  device.name = std::string(info.name);
  device.family = static_cast<int16_t>(FamilyOf(info));
  return FactsFor(device);
}

// Enters programming mode afresh and steps the counter to a socket address;
// a 12-bit part starts on its configuration word (FFFh).
void Walk(SimLink& s, int address) {
  s.p.EnterProgrammingMode();
  int steps = address;
  if (s.info().kind == ChipClass::kOtp12) {
    steps = address == s.info().configAddress ? 0 : address + 1;  // FFFh, then 0
  } else if (address >= sim::kDataSpace) {
    steps = address - sim::kDataSpace;
  } else if (address >= sim::kConfigSpace) {
    s.p.LoadConfiguration(0x3FFF);
    steps = address - sim::kConfigSpace;
  }
  for (int i = 0; i < steps; ++i) s.p.IncrementAddress();
}

}  // namespace

SimLink::SimLink(sim::ChipState state, int64_t portAccessNs)
    : clock(portAccessNs),
      board(nullptr),
      link(MakeBoardOrFail(clock, state, board), clock),
      p(link, {.name = state.chip,
               .family = FamilyOf(info()),
               .pinCount = info().pins,
               .timing = HostFacts(info()).timing,
               .vppFirst = HostFacts(info()).vppFirst,
               .plan = [this](float requestedMs, const MinimumWait& minimum) {
                 return shortWaits ? minimum.ms / 2 : LengthenedWait(requestedMs, minimum);
               }}) {}

SimLink::SimLink(const std::string& chipName, int64_t portAccessNs) : SimLink(BlankOf(chipName), portAccessNs) {}

void SimLink::Wait(float ms) {
  DelayMs(clock, ms);
  board->Sync();
}

void SimLink::PowerBus() {
  link.SetDataLine(kTrue);
  link.SetClockLine(kTrue);
  link.SetVdd("on");
}

EepromTarget SimLink::BusTarget() {
  return {.name = std::string(info().name), .size = info().programWords - 1, .speed = HostFacts(info()).bus};
}

std::string SimLink::Problems() const {
  std::string all;
  for (const std::string& problem : board->Problems()) all += problem + "\n";
  return all;
}

int FamilyOf(const sim::ChipInfo& info) {
  switch (info.kind) {
    case ChipClass::kOtp12: return 4;
    case ChipClass::kOtp14: return 2;
    case ChipClass::kEeprom24: return 5;
    case ChipClass::kPic18: return 7;
    case ChipClass::kFlash14: break;
  }
  if (info.chipErase && info.latchWords == 8) return 8;
  if (info.chipErase) return 9;
  if (info.begin == sim::BeginMode::kProgramExternal) return 6;
  return 1;
}

void WriteWord(SimLink& s, int address, int word) {
  Walk(s, address);
  const sim::ChipInfo& info = s.info();
  const ProgrammingTiming& t = s.p.timing();
  const bool data = address >= sim::kDataSpace && info.kind == ChipClass::kFlash14;
  const bool eprom = info.kind != ChipClass::kFlash14;
  for (int pulse = 0; pulse < (eprom ? 25 : 1) && !(eprom && s.p.ReadProgramWord() == word); ++pulse) {
    if (data) {
      s.p.LoadDataMemory(word);
    } else {
      s.p.LoadProgramData(word);
    }
    if (info.programOnly == sim::ProgramOnlyMode::kExternal) {
      s.p.SendCommand(cmd::kBeginProgrammingOnly);
      s.p.WaitAtLeast(0.0F, t.programOnly);
      s.p.SendCommand(cmd::kEndProgramming2);
    } else if (eprom || info.begin == sim::BeginMode::kProgramExternal) {
      s.p.BeginProgramming();
      s.p.WaitAtLeast(0.0F, eprom ? t.pulse : t.programOnly);
      s.p.EndProgramming();
    } else {
      s.p.BeginProgramming();
      s.p.WaitAtLeast(0.0F, data ? t.data : t.program);
    }
  }
  s.p.LeaveProgrammingMode();
}

int ReadWord(SimLink& s, int address) {
  Walk(s, address);
  const bool data = address >= sim::kDataSpace && s.info().kind == ChipClass::kFlash14;
  const int value = data ? s.p.ReadDataMemory() & 0xFF : s.p.ReadProgramWord();
  s.p.LeaveProgrammingMode();
  return value;
}

}  // namespace quorvi::test
