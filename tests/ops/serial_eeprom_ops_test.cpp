// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/serial_eeprom_ops.h"

#include <gtest/gtest.h>

#include "ops/blank_erase.h"
#include "ops/read.h"
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

TEST(SerialEeprom, BlankTestGoesOnAfterAddressZeroAndStopsElsewhere) {
  SimApp sim("24C02");
  sim.chip().program[0] = 0x12;
  sim.chip().program[0x1A] = 0x00;
  sim.chip().program[0x30] = 0x00;
  RecordingUi ui;
  EXPECT_EQ(RunOp(sim, ui, SerialEepromBlank).outcome, OpOutcome::kFailed);
  ASSERT_EQ(ui.messages.size(), 2U);
  EXPECT_EQ(ui.messages[0], (UserMessage{"EEPROM not blank at 0h", "Quorvi 2", MessageIcon::kCritical}));
  EXPECT_EQ(ui.messages[1], (UserMessage{"EEPROM not blank at 1Ah", "Quorvi 2", MessageIcon::kCritical}));
  EXPECT_TRUE(sim.PoweredDown());
}

TEST(SerialEeprom, CompareReportsTheFirstDifferenceAfterAddressZero) {
  SimApp sim("24C16");
  FillImage(sim.state());
  RecordingUi ui;
  ASSERT_TRUE(RunOp(sim, ui, SerialEepromWrite).ok());
  sim.chip().program[0] ^= 1;
  sim.chip().program[0x1A3] ^= 0x80;
  sim.chip().program[0x2FF] ^= 0x80;
  EXPECT_EQ(RunOp(sim, ui, SerialEepromCompare).outcome, OpOutcome::kFailed);
  ASSERT_EQ(ui.messages.size(), 2U);
  EXPECT_EQ(ui.messages[0], (UserMessage{"EEPROM not equal at 0h", "Quorvi 2", MessageIcon::kNone}));
  EXPECT_EQ(ui.messages[1], (UserMessage{"EEPROM not equal at 1A3h", "Quorvi 2", MessageIcon::kNone}));
  EXPECT_EQ(sim.state().operationFailed, kTrue);
}

TEST(SerialEeprom, AnUnacknowledgedByteAndAPollTimeOutSayItDifferently) {
  struct Case {
    OpResult (*operation)(OperationFrame&);
    bool endless;
    UserMessage expected;
  };
  for (const Case& c : {
           Case{SerialEepromWrite, false, {"Writing error at 13h", "Quorvi 2 error", MessageIcon::kNone}},
           Case{SerialEepromErase, false, {"erasing error at 13h", "Quorvi 2", MessageIcon::kCritical}},
           Case{SerialEepromWrite, true, {"Writing error at  7", "Quorvi 2 error", MessageIcon::kNone}},
           Case{SerialEepromErase, true, {"Erasing error at  7", "Quorvi 2", MessageIcon::kCritical}},
       }) {
    SimApp sim("24C02");  // eight-byte pages
    if (c.endless) {
      sim.chip().faults.endlessWrite = true;
    } else {
      sim.chip().faults.nackBytes = {0x13};
    }
    RecordingUi ui;
    const int64_t start = sim.clock().Nanoseconds();
    EXPECT_EQ(RunOp(sim, ui, c.operation).outcome, OpOutcome::kFailed);
    ASSERT_EQ(ui.messages.size(), 1U) << c.expected.text;
    EXPECT_EQ(ui.messages[0], c.expected);
    EXPECT_TRUE(sim.PoweredDown());
    if (c.endless) {
      EXPECT_GE(sim.clock().Nanoseconds() - start, 501'000'000) << "the poll waits 501 ms";
    }
  }
}

TEST(SerialEeprom, TheDeviceCommandsHandOverForFamily5) {
  SimApp sim("24C01");
  sim.chip().program[5] = 0x42;
  RecordingUi ui;
  ASSERT_TRUE(cmdRead(sim.state(), ui, read_mode::kFull).ok());
  EXPECT_EQ(sim.state().image.programBuffer[5], 0x42);
  EXPECT_FALSE(cmdBlank(sim.state(), ui).ok());
  EXPECT_TRUE(cmdFill(sim.state(), ui, false).ok());
  EXPECT_EQ(sim.chip().program[5], 0xFF);
}

}  // namespace
}  // namespace quorvi
