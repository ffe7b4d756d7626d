// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/chip_state.h"

#include <gtest/gtest.h>

#include <string>

#include "support/golden.h"
#include "support/sim_link.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

const sim::ChipInfo& Info(const char* name) { return *sim::FindChip(name).value(); }

TEST(ChipState, SurvivesItsJsonFileAndCarriesAWriteIntoTheNextRun) {
  sim::ChipState state = sim::FactoryState(Info("16F877A"), 42);
  state.program[17] = 0x2817;
  state.data[3] = 0x5A;
  state.ids = {1, 2, 3, 4};
  state.pulses = {.seed = 77, .minPulses = 2, .maxPulses = 5};
  state.timingMargin = 0.5;
  state.faults = {.noChip = true, .dataIn = sim::DataInFault::kStuckHigh, .neverProgram = {5, 0x2007},
                  .marginCells = {{.address = 9, .belowVolts = 4.5, .aboveVolts = 5.5, .xorMask = 3}},
                  .nackBytes = {3, 40000}, .endlessWrite = true};
  auto back = sim::ChipStateFromJson(sim::ChipStateToJson(state));
  ASSERT_TRUE(back.ok()) << back.message();
  EXPECT_EQ(back.value(), state);
  sim::ChipState pic18 = sim::BlankState(Info("18F458"));
  pic18.configBytes[1] = 0x22;
  EXPECT_EQ(sim::ChipStateFromJson(sim::ChipStateToJson(pic18)).value(), pic18);

  test::TempDir dir;
  const std::string path = (dir.path() / "chip.json").string();
  {
    test::SimLink first("16F84A");
    test::WriteWord(first, 0, 0x3055);
    ASSERT_TRUE(sim::SaveChipState(first.state(), path).ok());
  }
  auto loaded = sim::LoadChipState(path);
  ASSERT_TRUE(loaded.ok()) << loaded.message();
  test::SimLink second(loaded.value());
  EXPECT_EQ(test::ReadWord(second, 0), 0x3055);
}

TEST(ChipState, ShortFilesFillTheRestBlankAndEachBadFieldIsNamed) {
  const auto state = sim::ChipStateFromJson(
      R"({"format": "quorvi-chip-state", "version": 1, "chip": "16F628", "program": [10, 11], "codeProtect": true})");
  ASSERT_TRUE(state.ok()) << state.message();
  EXPECT_EQ(state.value().program[1], 11);
  EXPECT_EQ(state.value().program[2], 0x3FFF);
  EXPECT_EQ(state.value().config, 0x3DFF & ~0x3C00 & ~0x0100);  // DS30034: CP1:CP0 twice, /CPD
  EXPECT_EQ(state.value().timingMargin, 1.0) << "the documents' times unless a file says otherwise";
  for (const auto& row : test::Rows(test::DataSections("chip_state_errors.txt").at("errors"))) {
    const auto bad = sim::ChipStateFromJson(row[1]);
    ASSERT_FALSE(bad.ok()) << row[1];
    EXPECT_NE(bad.message().find(row[0]), std::string::npos) << bad.message();
  }
  EXPECT_NE(sim::LoadChipState("/nonexistent/chip.json").message().find("/nonexistent/chip.json"), std::string::npos);
  sim::ChipState wrong = sim::BlankState(Info("16F84A"));
  wrong.program.resize(512);
  EXPECT_NE(sim::MakeChip(wrong).message().find("16F84A"), std::string::npos);
}

}  // namespace
}  // namespace quorvi
