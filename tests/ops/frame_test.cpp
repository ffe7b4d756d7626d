// SPDX-License-Identifier: GPL-3.0-or-later
// What every operation shares: the device check, the power-up, the report
// of a failure, the supply in production mode.
#include "ops/frame.h"

#include <gtest/gtest.h>

#include <functional>

#include "hw/delay.h"
#include "ops/blank_erase.h"
#include "ops/compare.h"
#include "ops/config_write.h"
#include "ops/op_texts.h"
#include "ops/read.h"
#include "ops/write.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

TEST(OpFrame, AddressesStridesAndThe14000Bound) {
  EXPECT_EQ(AddressText(0x1A3), "1A3h");
  EXPECT_EQ(AddressText(0), "0h");
  // A twentieth, rounded half to even, never 0.
  const std::pair<int32_t, int32_t> strides[] = {{1023, 51}, {50, 2}, {70, 4}, {5, 1}};
  for (const auto& [n, stride] : strides) EXPECT_EQ(ProgressStride(n), stride) << n;
  DeviceDescriptor device;
  device.name = "14000";
  device.programSize = 0x0FFF;
  EXPECT_EQ(WordBound(device), 4031);
  device.name = "16C73";
  EXPECT_EQ(WordBound(device), 0x0FFF);
}

TEST(OpFrame, NoDeviceShowsEachOperationsMessage) {
  using Run = std::function<OpResult(AppState&, UiHost&)>;
  struct Case {
    const char* name;
    Run run;
    UserMessage message;
    bool portAlone;  // the compare powers the board down all the same
  };
  const Case cases[] = {
      {"read", [](AppState& s, UiHost& ui) { return cmdRead(s, ui, read_mode::kFull); },
       {op_text::kSelectProcessorFirst, title::kQuorviError, MessageIcon::kExclamation}, true},
      {"blank", cmdBlank, {op_text::kSelectProcessor, title::kQuorviError, MessageIcon::kExclamation}, true},
      {"erase", [](AppState& s, UiHost& ui) { return cmdFill(s, ui, false); },
       {op_text::kSelectProcessor, title::kQuorviError, MessageIcon::kExclamation}, true},
      {"fuses", cmdWriteFuse, {op_text::kSelectProcessor, title::kQuorviError, MessageIcon::kExclamation}, true},
      {"write", cmdWrite, {op_text::kSelectProcessor, title::kQuorvi2Error, MessageIcon::kExclamation}, true},
      {"compare", cmdCompare, {op_text::kSelectProcessor, title::kQuorvi2Error, MessageIcon::kExclamation}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::SimApp sim(test::PatternedChip("16F84A"), "");
    (void)sim.TakeWrites();
    const int64_t before = sim.clock().Nanoseconds();
    test::RecordingUi ui;
    EXPECT_EQ(c.run(sim.state(), ui).outcome, OpOutcome::kNoDevice);
    EXPECT_EQ(ui.messages, std::vector<UserMessage>{c.message});
    EXPECT_FALSE(ui.statusVisible);
    EXPECT_EQ(sim.chip().program, test::PatternedChip("16F84A").program);
    if (c.portAlone) {
      EXPECT_TRUE(sim.TakeWrites().empty());
      EXPECT_EQ(sim.clock().Nanoseconds(), before);  // every port access costs time
    }
  }
}

TEST(OpFrame, AFailureIsShownOrInQuietModeReplacesTheLogWithItsOneLine) {
  for (const bool quiet : {false, true}) {
    test::SimApp sim("16F84A");
    sim.state().commandLine.quiet = quiet;
    sim.home.Write("quorvi2.err", "old line\nanother\n");
    test::RecordingUi ui;
    OperationFrame frame(sim.state(), ui);
    const UserMessage message{"PIC not equal at 1A3h", title::kQuorvi2Error, MessageIcon::kNone};
    EXPECT_EQ(frame.ReportFailure(message, op_text::quiet::kCompareFailed),
              quiet ? OpOutcome::kTerminated : OpOutcome::kFailed);
    EXPECT_EQ(sim.home.Read("quorvi2.err"), quiet ? "Erro de comparação de dados\n" : "old line\nanother\n");
    EXPECT_EQ(ui.messages, quiet ? std::vector<UserMessage>{} : std::vector<UserMessage>{message});
    EXPECT_EQ(ui.terminated.size(), quiet ? 1U : 0U);
    EXPECT_EQ(sim.state().operationFailed, kTrue);
  }
}

TEST(OpFrame, PowerUpWaitsAfterVddForEighteenPinChipsAndForIcspWhenTicked) {
  struct Case {
    const char* chip;
    bool blankPlan;
    bool icsp;
    int64_t minMs, maxMs;
  };
  const Case cases[] = {
      {"16F84A", false, false, 250, 260},   // 100 ms after Vdd, 150 ms under Vpp
      {"16F818", false, false, 150, 160},   // the 16F81x need no wait after Vdd
      {"16F877A", false, false, 150, 160},  // nor 40-pin parts
      {"16F877A", false, true, 450, 460},   // the ICSP wait of 300 ms
      {"16F877A", true, true, 100, 110},    // the blank check has none
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.chip) + (c.blankPlan ? " blank" : " read") + (c.icsp ? " icsp" : ""));
    test::SimApp sim(c.chip);
    sim.state().options.chkICSP = c.icsp;
    sim.state().options.cmbICSP = "300";
    test::RecordingUi ui;
    OperationFrame frame(sim.state(), ui);
    const int64_t start = sim.clock().Nanoseconds();
    frame.PowerUp(c.blankPlan ? BlankPlan(sim.state()) : ReadPlan());
    const int64_t ms = (sim.clock().Nanoseconds() - start + 500'000) / 1'000'000;  // DelayMs ends within a unit
    EXPECT_GE(ms, c.minMs);
    EXPECT_LT(ms, c.maxMs);
    frame.PowerDown();
  }
}

// The blank check runs at the working supply, the erase at the nominal one;
// both leave it nominal.
TEST(OpFrame, ProductionModeSupplies) {
  test::SimApp sim(test::PatternedChip("16F877A"), "16F877A");
  AppState& state = sim.state();
  state.settings.mode = "PROD";
  state.workingVdd = 4.5F;
  test::RecordingUi ui;
  {
    OperationFrame frame(state, ui);
    frame.PowerUp(BlankPlan(state));
    EXPECT_EQ(sim.board().vddStep(), VddStepFor(4.5F));
    frame.PowerDown();
  }
  ASSERT_TRUE(state.link.SetVddLevel(3.0F).ok());
  ASSERT_TRUE(cmdFill(state, ui, false).ok());  // the chip erases from 4.5 V only
  EXPECT_EQ(sim.chip().program[1], 0x3FFF);
  EXPECT_EQ(sim.board().vddStep(), sim::SimBoard::kPowerOnStep);
  EXPECT_TRUE(cmdBlank(state, ui).ok());
  EXPECT_EQ(sim.board().vddStep(), sim::SimBoard::kPowerOnStep);
  EXPECT_TRUE(sim.PoweredDown());
}

TEST(OpFrame, WaitsPumpTheFrontEndAndCountOnlyWhileTheFrameLives) {
  test::SimApp sim("16F84A");
  test::RecordingUi ui;
  {
    OperationFrame frame(sim.state(), ui);
    frame.Wait(100.0F);
    EXPECT_NEAR(frame.Finish(OpOutcome::kOk).durationMs(), 100.0, 1.0);
    EXPECT_GT(ui.pumps, 0);
    sim.state().options.chkSound = false;
    frame.PlayCompletionSound();
    EXPECT_TRUE(ui.sounds.empty());
    sim.state().options.chkSound = true;
    frame.PlayCompletionSound();
    EXPECT_EQ(ui.sounds, std::vector<std::string>{sim.state().paths.Sound()});
  }
  const int pumped = ui.pumps;
  DelayMs(*sim.state().clock, 100.0F);
  EXPECT_EQ(ui.pumps, pumped);
}

TEST(OpFrame, EveryOperationEntersAVppFirstPartTheSameWay) {
  // A 16F628A running with MCLR off and its internal oscillator enters
  // programming mode only with Vpp before Vdd: read and blank check too.
  sim::ChipState chip = test::BlankChip("16F628A");
  chip.config &= ~0x0020;
  test::SimApp sim(chip, "16F628A");
  const AppState& state = sim.state();
  const std::pair<const char*, PowerUpPlan> plans[] = {
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

TEST(OpFrame, OperationsRunOnTheRealClockToo) {
  test::SimApp sim(test::BlankChip("12C508A"), "12C508A", true);
  sim.state().image.configWord = 0xFEA;
  test::RecordingUi ui;
  const OpResult result = cmdWriteFuse(sim.state(), ui);
  ASSERT_TRUE(result.ok());
  EXPECT_EQ(sim.chip().config, 0x00A);    // bits 11:5 are not implemented
  EXPECT_GE(result.durationMs(), 300.0);  // 250 ms off, then 50 ms under Vpp at least
  EXPECT_TRUE(sim.PoweredDown());
}

}  // namespace
}  // namespace quorvi
