// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/serial_eeprom_ops.h"

#include <gtest/gtest.h>

#include "ops/blank_erase.h"
#include "ops/compare.h"
#include "ops/read.h"
#include "ops/write.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

using test::RecordingUi;
using test::SimApp;

int Pattern(int32_t a) { return (a * 7 + (a >> 8) * 3 + 1) & 0xFF; }

void FillImage(AppState& state) {
  for (int32_t a = 0; a <= state.device.programSize; ++a) {
    state.image.programBuffer[static_cast<size_t>(a)] = Pattern(a);
  }
}

OpResult RunOp(SimApp& sim, RecordingUi& ui, OpResult (*operation)(OperationFrame&)) {
  OperationFrame frame(sim.state(), ui);
  return operation(frame);
}

class SerialEepromOperations : public ::testing::TestWithParam<const char*> {};

// Every byte written, compared, read back and erased, across the 256-byte and
// 32 KB boundaries where the reads start afresh, on a port that costs nothing:
// the bus's own holds keep each memory's speed class.
TEST_P(SerialEepromOperations, WriteCompareReadEraseAndBlankEveryByte) {
  SimApp sim(test::BlankChip(GetParam()), GetParam(), false, 0);
  FillImage(sim.state());
  RecordingUi ui;
  ASSERT_TRUE(RunOp(sim, ui, SerialEepromWrite).ok()) << (ui.messages.empty() ? "" : ui.messages[0].text);
  EXPECT_TRUE(sim.PoweredDown());
  const int32_t n = sim.state().device.programSize;
  ASSERT_GE(static_cast<int32_t>(sim.chip().program.size()), n + 1);
  for (int32_t a = 0; a <= n; ++a) ASSERT_EQ(sim.chip().program[static_cast<size_t>(a)], Pattern(a)) << a;

  EXPECT_TRUE(RunOp(sim, ui, SerialEepromCompare).ok());
  for (int32_t a = 0; a <= n; ++a) sim.state().image.programBuffer[static_cast<size_t>(a)] = 0;
  ASSERT_TRUE(RunOp(sim, ui, SerialEepromRead).ok());
  for (int32_t a = 0; a <= n; ++a) ASSERT_EQ(sim.state().image.programBuffer[static_cast<size_t>(a)], Pattern(a)) << a;
  ASSERT_TRUE(RunOp(sim, ui, SerialEepromErase).ok());
  EXPECT_TRUE(RunOp(sim, ui, SerialEepromBlank).ok());
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(ui.statusTexts, (std::vector<std::string>{"Writing EE data...", "Comparing EE data...", "reading...",
                                                       "Erasing EE data...", "Testing EE data..."}));
}

INSTANTIATE_TEST_SUITE_P(Sim, SerialEepromOperations,
                         ::testing::Values("24C01", "24C02", "24C04", "24C08", "24C16", "24C32", "24C64",
                                           "24C128", "AT24C256", "ST24256", "24LC512", "24LC515"));

// Blank check and compare go on after address 0 and stop at the next
// difference; a byte not acknowledged and a poll that times out read differently.
TEST(SerialEeprom, EachFailureSaysWhereInItsOwnWords) {
  struct Case {
    const char* name;
    void (*fault)(sim::ChipState&);
    OpResult (*operation)(OperationFrame&);
    std::vector<UserMessage> messages;
    int64_t atLeastNs = 0;
  };
  const Case cases[] = {
      {"blank", [](sim::ChipState& c) { c.program[0] = 0x12; c.program[0x1A] = 0; c.program[0x30] = 0; },
       SerialEepromBlank,
       {{"EEPROM not blank at 0h", "Quorvi 2", MessageIcon::kCritical},
        {"EEPROM not blank at 1Ah", "Quorvi 2", MessageIcon::kCritical}}},
      {"compare",
       [](sim::ChipState& c) {
         for (size_t a = 0; a < c.program.size(); ++a) c.program[a] = Pattern(static_cast<int32_t>(a));
         c.program[0] ^= 1;
         c.program[0x1A] ^= 0x80;
         c.program[0x30] ^= 0x80;
       },
       SerialEepromCompare,
       {{"EEPROM not equal at 0h", "Quorvi 2", MessageIcon::kNone},
        {"EEPROM not equal at 1Ah", "Quorvi 2", MessageIcon::kNone}}},
      {"write, not acknowledged", [](sim::ChipState& c) { c.faults.nackBytes = {0x13}; }, SerialEepromWrite,
       {{"Writing error at 13h", "Quorvi 2 error", MessageIcon::kNone}}},
      {"erase, not acknowledged", [](sim::ChipState& c) { c.faults.nackBytes = {0x13}; }, SerialEepromErase,
       {{"erasing error at 13h", "Quorvi 2", MessageIcon::kCritical}}},
      // The poll gives up after 501 ms.
      {"write, never done", [](sim::ChipState& c) { c.faults.endlessWrite = true; }, SerialEepromWrite,
       {{"Writing error at  7", "Quorvi 2 error", MessageIcon::kNone}}, 501'000'000},
      {"erase, never done", [](sim::ChipState& c) { c.faults.endlessWrite = true; }, SerialEepromErase,
       {{"Erasing error at  7", "Quorvi 2", MessageIcon::kCritical}}, 501'000'000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    sim::ChipState chip = test::BlankChip("24C02");
    c.fault(chip);
    SimApp sim(chip, "24C02");
    FillImage(sim.state());
    RecordingUi ui;
    const int64_t start = sim.clock().Nanoseconds();
    EXPECT_EQ(RunOp(sim, ui, c.operation).outcome, OpOutcome::kFailed);
    EXPECT_EQ(ui.messages, c.messages);
    if (c.operation == SerialEepromCompare) {
      EXPECT_EQ(sim.state().operationFailed, kTrue);
    }
    EXPECT_TRUE(sim.PoweredDown());
    EXPECT_GE(sim.clock().Nanoseconds() - start, c.atLeastNs);
  }
}

TEST(SerialEeprom, TheDeviceCommandsHandOverForFamily5) {
  SimApp sim("24C02");
  AppState& state = sim.state();
  FillImage(state);
  RecordingUi ui;
  ASSERT_TRUE(cmdWrite(state, ui).ok());
  for (int32_t a = 0; a <= state.device.programSize; ++a) {
    ASSERT_EQ(sim.chip().program[static_cast<size_t>(a)], Pattern(a)) << a;
  }
  EXPECT_TRUE(cmdCompare(state, ui).ok());
  sim.chip().program[9] ^= 0x40;
  EXPECT_FALSE(cmdCompare(state, ui).ok());
  ASSERT_TRUE(cmdRead(state, ui, read_mode::kFull).ok());
  EXPECT_EQ(state.image.programBuffer[9], Pattern(9) ^ 0x40);
  EXPECT_FALSE(cmdBlank(state, ui).ok());
  EXPECT_TRUE(cmdFill(state, ui, false).ok());
  EXPECT_EQ(sim.chip().program[9], 0xFF);
  EXPECT_TRUE(cmdBlank(state, ui).ok());
}

}  // namespace
}  // namespace quorvi
