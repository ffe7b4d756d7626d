// SPDX-License-Identifier: GPL-3.0-or-later
// every_part_test reads every part back; here what the window sees and what
// each read mode leaves alone.
#include "ops/read.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ops/op_texts.h"
#include "support/sim_app.h"
#include "util/arith.h"

namespace quorvi {
namespace {

TEST(Read, ShowsItsTextAndProgressAndSkipsTheDataOfAPartWithout) {
  test::SimApp sim(test::PatternedChip("12C508A"), "12C508A");
  sim.state().image.dataBuffer[0] = 0x55;
  const OpResult result = cmdRead(sim.state(), sim.ui, read_mode::kFull);
  ASSERT_TRUE(result.ok());
  EXPECT_GT(result.durationNs, 0);
  EXPECT_FALSE(result.refreshDataListing);
  EXPECT_EQ(sim.state().image.dataBuffer[0], 0x55);
  EXPECT_TRUE(sim.ui.messages.empty());
  EXPECT_EQ(sim.ui.statusTexts, std::vector<std::string>{op_text::kReading});
  // 511 words: a step of 26 (a twentieth, rounded), and the last word.
  for (const double percent : {0.0, 26.0 / 511.0 * 100.0, 494.0 / 511.0 * 100.0, 100.0}) {
    EXPECT_NE(std::find(sim.ui.progress.begin(), sim.ui.progress.end(), percent), sim.ui.progress.end()) << percent;
  }
}

// Mode 0 masks the band-gap bits; reading the configuration alone leaves
// program and data as they were.
TEST(Read, ModesTakeTheConfigurationWordMaskedOrNotAndOnlyIt) {
  const sim::ChipState loaded = test::FactoryChip("12F675", 7);
  ASSERT_NE(loaded.config & 0x3000, 0);
  for (const int16_t mode : {read_mode::kFull, read_mode::kFullUnmasked, read_mode::kConfigurationOnly}) {
    SCOPED_TRACE(mode);
    test::SimApp sim(loaded, "12F675");
    AppState& state = sim.state();
    state.image.programBuffer[3] = 0x0123;
    state.image.dataBuffer[2] = 0x44;
    ASSERT_TRUE(cmdRead(state, sim.ui, mode).ok());
    EXPECT_EQ(state.image.configWord, mode == read_mode::kFull ? (loaded.config & 0x01FF) : loaded.config);
    EXPECT_EQ(state.image.idWords[1], loaded.ids[1]);
    const bool only = mode == read_mode::kConfigurationOnly;
    EXPECT_EQ(state.image.programBuffer[3], only ? 0x0123 : loaded.program[3]);
    EXPECT_EQ(state.image.dataBuffer[2], only ? 0x44 : loaded.data[2]);
  }
}

// txtCal: the calibration word of the parts that have one, the silicon
// revision of the 16F62x and 16F87x, nothing for the others.
TEST(Read, CalibrationWordOrRevisionGoesToTxtCal) {
  EXPECT_EQ(CalibrationText(0x5), " C=05");
  EXPECT_EQ(CalibrationText(0x3480), " C=3480");
  for (const std::string chip : {"12F675", "12C508A", "16C505", "16F877A", "16F877", "16F628", "16F84A"}) {
    SCOPED_TRACE(chip);
    const sim::ChipState loaded = test::FactoryChip(chip, 3);
    test::SimApp sim(loaded, chip);
    const OpResult result = cmdRead(sim.state(), sim.ui, read_mode::kFull);
    ASSERT_TRUE(result.ok());
    std::string expected;
    if (sim.info().calibration != sim::Calibration::kNone) {
      expected = " C=" + HexText(loaded.program.back());
    } else if (chip.starts_with("16F62") || chip.starts_with("16F87")) {
      expected = " R=" + HexText(sim.info().deviceId & 0x1F);
    }
    EXPECT_EQ(sim.state().txtCal, expected);
    EXPECT_EQ(result.refreshCalibrationText, !expected.empty());
  }
}

}  // namespace
}  // namespace quorvi
