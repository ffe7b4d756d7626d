// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/frame.h"

#include <gtest/gtest.h>

#include "ops/op_texts.h"
#include "hw/delay.h"
#include "ops/config_write.h"
#include "ops/read.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

TEST(OpFrame, AddressesAreUpperCaseHexWithH) {
  EXPECT_EQ(AddressText(0x1A3), "1A3h");
  EXPECT_EQ(AddressText(0), "0h");
  EXPECT_EQ(AddressText(0x2007), "2007h");
}

TEST(OpFrame, StrideIsATwentiethRoundedHalfToEvenAndNeverZero) {
  EXPECT_EQ(ProgressStride(1023), 51);
  EXPECT_EQ(ProgressStride(50), 2);  // 2.5
  EXPECT_EQ(ProgressStride(70), 4);  // 3.5
  EXPECT_EQ(ProgressStride(5), 1);
}

TEST(OpFrame, The14000StopsBelowItsCalibrationBlock) {
  DeviceDescriptor device;
  device.name = "14000";
  device.programSize = 0x0FFF;
  EXPECT_EQ(WordBound(device), 4031);
  device.name = "16C73";
  EXPECT_EQ(WordBound(device), 0x0FFF);
}

TEST(OpFrame, NoDeviceShowsTheMessageAndLeavesThePortAlone) {
  test::SimApp sim(test::BlankChip("16F84A"), "");
  test::RecordingUi ui;
  const int64_t before = sim.clock().Nanoseconds();
  const uint8_t lines = sim.board().lastWrite();
  const OpResult result = cmdRead(sim.state(), ui, read_mode::kFull);
  EXPECT_EQ(result.outcome, OpOutcome::kNoDevice);
  EXPECT_EQ(sim.board().lastWrite(), lines);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0],
            (UserMessage{op_text::kSelectProcessorFirst, title::kQuorviError, MessageIcon::kExclamation}));
  EXPECT_EQ(sim.clock().Nanoseconds(), before);  // every port access costs time
}

TEST(OpFrame, QuietFailureWritesOneLineAndTerminates) {
  test::SimApp sim("16F84A");
  sim.state().commandLine.quiet = true;
  test::RecordingUi ui;
  OperationFrame frame(sim.state(), ui);
  const OpOutcome outcome =
      frame.ReportFailure({"x", title::kQuorvi2Error, MessageIcon::kNone}, op_text::quiet::kCompareFailed);
  EXPECT_EQ(outcome, OpOutcome::kTerminated);
  EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string("Erro de comparação de dados\n"));
  EXPECT_EQ(ui.terminated.size(), 1U);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(sim.state().operationFailed, kTrue);
}

TEST(OpFrame, QuietLogIsReplacedNotAppended) {
  test::SimApp sim("16F84A");
  sim.state().commandLine.quiet = true;
  sim.home.Write("quorvi2.err", "old line\nanother\n");
  test::RecordingUi ui;
  OperationFrame frame(sim.state(), ui);
  frame.ReportFailure({"x", title::kQuorvi2Error, MessageIcon::kNone}, op_text::quiet::kIdCompareFailed);
  EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string("Erro comparando IDs\n"));
}

TEST(OpFrame, WithoutQuietTheMessageIsShownAndNoLogWritten) {
  test::SimApp sim("16F84A");
  test::RecordingUi ui;
  OperationFrame frame(sim.state(), ui);
  const UserMessage message{"PIC not equal at 1A3h", title::kQuorvi2Error, MessageIcon::kNone};
  EXPECT_EQ(frame.ReportFailure(message, op_text::quiet::kCompareFailed), OpOutcome::kFailed);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0], message);
  EXPECT_TRUE(ui.terminated.empty());
  EXPECT_EQ(sim.home.Read("quorvi2.err"), "");
  EXPECT_EQ(sim.state().operationFailed, kTrue);
}

int64_t PowerUpNs(const std::string& chip, const PowerUpPlan& plan, bool icsp = false) {
  test::SimApp sim(chip);
  sim.state().options.chkICSP = icsp;
  sim.state().options.cmbICSP = "300";
  test::RecordingUi ui;
  OperationFrame frame(sim.state(), ui);
  const int64_t start = sim.clock().Nanoseconds();
  frame.PowerUp(plan);
  return sim.clock().Nanoseconds() - start;
}

TEST(OpFrame, EighteenPinPartsWaitAfterVddExceptThe16F81) {
  const int64_t ms = 1'000'000;
  EXPECT_GE(PowerUpNs("16F84A", ReadPlan()), 250 * ms);
  EXPECT_LT(PowerUpNs("16F84A", ReadPlan()), 260 * ms);
  EXPECT_LT(PowerUpNs("16F818", ReadPlan()), 160 * ms);
  EXPECT_LT(PowerUpNs("16F877A", ReadPlan()), 160 * ms);  // 40 pins
}

TEST(OpFrame, IcspWaitOnlyWhenTickedAndOnlyWherePlanned) {
  const int64_t ms = 1'000'000;
  EXPECT_GE(PowerUpNs("16F877A", ReadPlan(), true) - PowerUpNs("16F877A", ReadPlan(), false), 299 * ms);
  test::SimApp sim("16F877A");
  EXPECT_LT(PowerUpNs("16F877A", BlankPlan(sim.state()), true), 110 * ms);
}

TEST(OpFrame, ProductionBlankCheckSetsTheWorkingSupplyFirst) {
  test::SimApp sim("16F84A");
  sim.state().settings.mode = "PROD";
  sim.state().workingVdd = 4.5F;
  test::RecordingUi ui;
  OperationFrame frame(sim.state(), ui);
  frame.PowerUp(BlankPlan(sim.state()));
  EXPECT_EQ(sim.board().vddStep(), VddStepFor(4.5F));
  frame.PowerDown();
  EXPECT_TRUE(sim.PoweredDown());
}

TEST(OpFrame, DurationIsTheClockTimeOfTheOperation) {
  test::SimApp sim("16F84A");
  test::RecordingUi ui;
  OperationFrame frame(sim.state(), ui);
  frame.Wait(100.0F);
  EXPECT_NEAR(frame.Finish(OpOutcome::kOk).durationMs(), 100.0, 1.0);
}

TEST(OpFrame, LongWaitsPumpTheFrontEndWhileTheFrameLives) {
  test::SimApp sim("16F84A");
  test::RecordingUi ui;
  {
    OperationFrame frame(sim.state(), ui);
    frame.Wait(100.0F);
  }
  const int pumped = ui.pumps;
  EXPECT_GT(pumped, 0);
  DelayMs(*sim.state().clock, 100.0F);
  EXPECT_EQ(ui.pumps, pumped);
}

TEST(OpFrame, CompletionSoundOnlyWhenTicked) {
  test::SimApp sim("16F84A");
  test::RecordingUi ui;
  OperationFrame frame(sim.state(), ui);
  sim.state().options.chkSound = false;
  frame.PlayCompletionSound();
  EXPECT_TRUE(ui.sounds.empty());
  sim.state().options.chkSound = true;
  frame.PlayCompletionSound();
  ASSERT_EQ(ui.sounds.size(), 1U);
  EXPECT_EQ(ui.sounds[0], sim.state().paths.Sound());
}

TEST(OpFrame, EveryOperationEntersAVppFirstPartTheSameWay) {
  // A 16F628A running with MCLR off and its internal oscillator enters
  // programming mode only with Vpp before Vdd: read and blank check too.
  sim::ChipState chip = test::BlankChip("16F628A");
  chip.config &= ~0x0020;
  test::SimApp sim(chip, "16F628A");
  const AppState& state = sim.state();
  const std::vector<std::pair<const char*, PowerUpPlan>> plans = {
      {"read", ReadPlan()},         {"blank", BlankPlan(state)},
      {"erase", ErasePlan(state)},  {"write", WritePlan(state)},
      {"fuses", ConfigWritePlan()}, {"compare", ComparePlan(VddLevel::kNormal, 4.5F, 5.5F)}};
  for (const auto& [name, plan] : plans) {
    test::RecordingUi ui;
    OperationFrame frame(sim.state(), ui);
    frame.PowerUp(plan);
    sim.board().Sync();
    EXPECT_TRUE(sim.board().chip()->inProgrammingMode()) << name;
    frame.PowerDown();
  }
}

TEST(OpFrame, ComparePlanSetsTheMarginSupply) {
  EXPECT_FALSE(ComparePlan(VddLevel::kNormal, 4.5F, 5.5F).supplyBeforeVdd.has_value());
  EXPECT_EQ(ComparePlan(VddLevel::kMin, 4.5F, 5.5F).supplyBeforeVdd, 4.5F);
  EXPECT_EQ(ComparePlan(VddLevel::kMax, 4.5F, 5.5F).supplyBeforeVdd, 5.5F);
  EXPECT_EQ(VddLevelText(VddLevel::kMin), "min");
  EXPECT_EQ(VddLevelText(VddLevel::kMax), "max");
  EXPECT_EQ(VddLevelText(VddLevel::kNormal), "normal");
}

TEST(OpFrame, OperationsRunOnTheRealClockToo) {
  test::SimApp sim(test::BlankChip("12C508A"), "12C508A", true);
  sim.state().image.configWord = 0xFEA;
  test::RecordingUi ui;
  const OpResult result = cmdWriteFuse(sim.state(), ui);
  ASSERT_TRUE(result.ok());
  EXPECT_EQ(sim.chip().config, 0x00A);  // bits 11:5 are not implemented
  EXPECT_GE(result.durationMs(), 300.0);  // 250 ms off, then 50 ms under Vpp at least
  EXPECT_TRUE(sim.PoweredDown());
}

}  // namespace
}  // namespace quorvi
