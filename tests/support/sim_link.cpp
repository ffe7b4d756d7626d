// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/sim_link.h"

#include <gtest/gtest.h>

#include "hw/delay.h"

namespace quorvi::test {

namespace {

std::unique_ptr<sim::SimBoard> MakeBoardOrFail(Clock& clock, sim::ChipState state, sim::SimBoard*& out) {
  auto board = sim::MakeBoard(clock, std::move(state));
  if (!board) {
    ADD_FAILURE() << board.message();
    auto empty = std::make_unique<sim::SimBoard>(clock);
    out = empty.get();
    return empty;
  }
  out = board.value().get();
  return std::move(board).value();
}

sim::ChipState BlankOf(const std::string& name) {
  auto info = sim::FindChip(name);
  if (!info) {
    ADD_FAILURE() << info.message();
    return {};
  }
  return sim::BlankState(*info.value());
}

}  // namespace

SimLink::SimLink(sim::ChipState state) : board(nullptr), link(MakeBoardOrFail(clock, std::move(state), board), clock) {}

SimLink::SimLink(const std::string& chipName) : SimLink(BlankOf(chipName)) {}

int FamilyOf(const sim::ChipInfo& info) {
  switch (info.kind) {
    case sim::ChipClass::kOtp12: return 4;
    case sim::ChipClass::kOtp14: return 2;
    case sim::ChipClass::kEeprom24: return 5;
    case sim::ChipClass::kPic18: return 7;
    case sim::ChipClass::kFlash14: break;
  }
  if (info.chipErase && info.latchWords == 8) return 8;
  if (info.chipErase) return 9;
  if (info.begin == sim::BeginMode::kProgramExternal) return 6;
  return 1;
}

SerialProtocol SimLink::Protocol(int family) {
  return SerialProtocol(link, {.name = std::string(info().name), .family = family, .pairFlag = false,
                               .pinCount = info().pins});
}

void SimLink::EnterVppFirst() {
  const std::string name(info().name);
  link.SetProgrammingVoltage(kFalse, name, info().pins);
  link.SetVdd("off");
  Wait(100.0F);
  link.SetProgrammingVoltage(kTrue, name, info().pins);
  link.SetVdd("on");
  Wait(100.0F);
}

void SimLink::Wait(float ms) {
  DelayMs(clock, ms);
  board->Sync();
}

}  // namespace quorvi::test
