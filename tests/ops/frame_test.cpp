// SPDX-License-Identifier: GPL-3.0-or-later
// What every operation shares: the device check, the power-up, the supply
// in production mode, the waits. How a failure is reported is in write_test.
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
#include "support/golden.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

TEST(OpFrame, TheProgressStrideIsATwentiethRoundedHalfToEvenNeverZero) {
  for (const auto& [n, stride] : {std::pair{1023, 51}, {50, 2}, {70, 4}, {5, 1}}) EXPECT_EQ(ProgressStride(n), stride);
}

// Each operation's message is in no_device_transcripts.txt.
TEST(OpFrame, NoDeviceShowsEachOperationsMessage) {
  const std::pair<const char*, std::function<OpResult(AppState&, UiHost&)>> cases[] = {
      {"read", [](AppState& s, UiHost& ui) { return cmdRead(s, ui, read_mode::kFull); }},
      {"blank", cmdBlank},
      {"erase", [](AppState& s, UiHost& ui) { return cmdFill(s, ui, false); }},
      {"fuses", cmdWriteFuse},
      {"write", cmdWrite},
      {"compare", cmdCompare},  // it powers the board down all the same
  };
  const auto golden = test::DataSections("no_device_transcripts.txt");
  for (const auto& [name, run] : cases) {
    SCOPED_TRACE(name);
    test::SimApp sim(test::PatternedChip("16F84A"), "");
    (void)sim.TakeWrites();
    const int64_t before = sim.clock().Nanoseconds();
    test::ExpectSection(golden, name, sim.Transcript(run(sim.state(), sim.ui).outcome));
    EXPECT_EQ(sim.chip().program, test::PatternedChip("16F84A").program);
    if (std::string(name) != "compare") {
      EXPECT_TRUE(sim.TakeWrites().empty());
      EXPECT_EQ(sim.clock().Nanoseconds(), before);  // every port access costs time
    }
  }
}

TEST(OpFrame, PowerUpWaitsAfterVddForEighteenPinChipsAndForIcspWhenTicked) {
  const std::tuple<const char*, bool, bool, int64_t> cases[] = {
      {"16F84A", false, false, 250},   // 100 ms after Vdd, 150 ms under Vpp
      {"16F818", false, false, 150},   // the 16F81x need no wait after Vdd
      {"16F877A", false, false, 150},  // nor 40-pin parts
      {"16F877A", false, true, 450},   // the ICSP wait of 300 ms
      {"16F877A", true, true, 100},    // the blank check has none
  };
  for (const auto& [chip, blankPlan, icsp, ms] : cases) {
    SCOPED_TRACE(std::string(chip) + (blankPlan ? " blank" : " read") + (icsp ? " icsp" : ""));
    test::SimApp sim(chip);
    sim.state().options.chkICSP = icsp;
    sim.state().options.cmbICSP = "300";
    OperationFrame frame(sim.state(), sim.ui);
    const int64_t start = sim.clock().Nanoseconds();
    frame.PowerUp(blankPlan ? BlankPlan(sim.state()) : ReadPlan());
    const int64_t took = (sim.clock().Nanoseconds() - start + 500'000) / 1'000'000;  // DelayMs ends within a unit
    EXPECT_GE(took, ms);
    EXPECT_LT(took, ms + 10);
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
  {
    OperationFrame frame(state, sim.ui);
    frame.PowerUp(BlankPlan(state));
    EXPECT_EQ(sim.board().vddStep(), VddStepFor(4.5F));
    frame.PowerDown();
  }
  ASSERT_TRUE(state.link.SetVddLevel(3.0F).ok());
  ASSERT_TRUE(cmdFill(state, sim.ui, false).ok());  // the chip erases from 4.5 V only
  EXPECT_EQ(sim.chip().program[1], 0x3FFF);
  EXPECT_EQ(sim.board().vddStep(), sim::SimBoard::kPowerOnStep);
  EXPECT_TRUE(cmdBlank(state, sim.ui).ok());
  EXPECT_EQ(sim.board().vddStep(), sim::SimBoard::kPowerOnStep);
}

TEST(OpFrame, WaitsPumpTheFrontEndAndCountOnlyWhileTheFrameLives) {
  test::SimApp sim("16F84A");
  {
    OperationFrame frame(sim.state(), sim.ui);
    frame.Wait(100.0F);
    EXPECT_NEAR(frame.Finish(OpOutcome::kOk).durationMs(), 100.0, 1.0);
    EXPECT_GT(sim.ui.pumps, 0);
    for (const bool sound : {false, true}) {
      sim.state().options.chkSound = sound;
      frame.PlayCompletionSound();
    }
    EXPECT_EQ(sim.ui.sounds, std::vector<std::string>{sim.state().paths.Sound()});
  }
  const int pumped = sim.ui.pumps;
  DelayMs(*sim.state().clock, 100.0F);
  EXPECT_EQ(sim.ui.pumps, pumped);
}

TEST(OpFrame, OperationsRunOnTheRealClockToo) {
  test::SimApp sim(test::BlankChip("12C508A"), "12C508A", true);
  sim.state().image.configWord = 0xFEA;
  const OpResult result = cmdWriteFuse(sim.state(), sim.ui);
  ASSERT_TRUE(result.ok());
  EXPECT_EQ(sim.chip().config, 0x00A);    // bits 11:5 are not implemented
  EXPECT_GE(result.durationMs(), 300.0);  // 250 ms off, then 50 ms under Vpp at least
}

}  // namespace
}  // namespace quorvi
