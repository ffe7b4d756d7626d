// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/sim_link.h"

#include <stdexcept>

#include "device/part_facts.h"
#include "hw/delay.h"
#include "ops/frame.h"

namespace quorvi::test {

namespace {

using sim::ChipClass;

// A chip the simulator does not have is the test's own mistake; gtest reports the throw.
std::unique_ptr<sim::SimBoard> MakeBoardFor(Clock& clock, sim::ChipState state, sim::SimBoard*& out) {
  auto board = sim::MakeBoard(clock, std::move(state));
  if (!board) throw std::invalid_argument(board.message());
  out = board.value().get();
  return std::move(board).value();
}

sim::ChipState BlankOf(const std::string& name) {
  auto info = sim::FindChip(name);
  if (!info) throw std::invalid_argument(info.message());
  return sim::BlankState(*info.value());
}

// The host's own view of the part: its family, rules and facts.
DeviceDescriptor HostDevice(const sim::ChipInfo& info) {
  DeviceDescriptor device;
  device.name = std::string(info.name);
  device.family = static_cast<Family>(FamilyOf(info));
  device.pinCount = static_cast<int16_t>(info.pins);
  ApplyPartRules(device);
  return device;
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
      link(MakeBoardFor(clock, state, board), clock),
      p(link, TargetOf(HostDevice(info()), [this](float requestedMs, const MinimumWait& minimum) {
          return shortWaits ? minimum.ms / 2 : LengthenedWait(requestedMs, minimum);
        })) {}

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
  const DeviceDescriptor host = HostDevice(info());
  return {.control = host.rules.eepromControl, .size = info().programWords - 1, .speed = FactsFor(host).bus};
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
  const bool only = info.programOnly == sim::ProgramOnlyMode::kExternal;  // Begin Programming Only .. 010111
  const bool external = eprom || only || info.begin == sim::BeginMode::kProgramExternal;
  for (int pulse = 0; pulse < (eprom ? 25 : 1) && !(eprom && s.p.ReadProgramWord() == word); ++pulse) {
    data ? s.p.LoadDataMemory(word) : s.p.LoadProgramData(word);
    s.p.SendCommand(only ? cmd::kBeginProgrammingOnly : cmd::kBeginProgramming);
    s.p.WaitAtLeast(0.0F, eprom ? t.pulse : external ? t.programOnly : data ? t.data : t.program);
    if (external) s.p.SendCommand(only ? cmd::kEndProgramming2 : cmd::kEndProgramming);
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
