// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/read.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "ops/blank_erase.h"
#include "ops/op_texts.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"
#include "util/arith.h"

namespace quorvi {
namespace {

struct ReadCase {
  std::string chip;
};

class ReadEveryFamily : public ::testing::TestWithParam<ReadCase> {};

TEST_P(ReadEveryFamily, ImageHoldsWhatTheChipHolds) {
  const sim::ChipState loaded = test::PatternedChip(GetParam().chip);
  test::SimApp sim(loaded, GetParam().chip);
  test::RecordingUi ui;
  const AppState& state = sim.state();
  const OpResult result = cmdRead(sim.state(), ui, read_mode::kFullUnmasked);

  ASSERT_TRUE(result.ok());
  EXPECT_GT(result.durationNs, 0);
  const int32_t n = state.device.programSize;
  ASSERT_EQ(static_cast<size_t>(n) + 1, loaded.program.size());
  for (int32_t i = 0; i <= n; ++i) {
    ASSERT_EQ(state.image.programBuffer[static_cast<size_t>(i)], loaded.program[static_cast<size_t>(i)])
        << "word " << i;
  }
  for (size_t j = 0; j < loaded.data.size(); ++j) {
    ASSERT_EQ(state.image.dataBuffer[j], loaded.data[j]) << "data byte " << j;
  }
  for (size_t k = 0; k < 4; ++k) EXPECT_EQ(state.image.idWords[k], loaded.ids[k]) << "ID " << k;
  // As the silicon returns it: unimplemented bits read as the data sheet says.
  EXPECT_EQ(state.image.configWord, (loaded.config & sim.info().configBits) | sim.info().configReadOnes);
  EXPECT_TRUE(sim.PoweredDown());
  EXPECT_FALSE(ui.progressVisible);
  EXPECT_FALSE(ui.statusVisible);
  ASSERT_FALSE(ui.statusTexts.empty());
  EXPECT_EQ(ui.statusTexts.front(), op_text::kReading);
  EXPECT_TRUE(ui.messages.empty());
  ASSERT_FALSE(ui.progress.empty());
  EXPECT_DOUBLE_EQ(*std::max_element(ui.progress.begin(), ui.progress.end()), 100.0);
}

INSTANTIATE_TEST_SUITE_P(Families, ReadEveryFamily,
                         ::testing::Values(ReadCase{"16F84A"}, ReadCase{"16F648A"}, ReadCase{"16F877"},
                                           ReadCase{"12F675"}, ReadCase{"16F877A"}, ReadCase{"16F818"},
                                           ReadCase{"16C73"}, ReadCase{"14000"}, ReadCase{"12C508A"},
                                           ReadCase{"16C505"}),
                         [](const auto& param) { return "PIC" + param.param.chip; });

TEST(Read, ConfigurationOnlyLeavesProgramAndDataAlone) {
  const sim::ChipState loaded = test::PatternedChip("16F84A");
  test::SimApp sim(loaded, "16F84A");
  test::RecordingUi ui;
  AppState& state = sim.state();
  state.image.programBuffer[3] = 0x0123;
  state.image.dataBuffer[2] = 0x44;
  ASSERT_TRUE(cmdRead(state, ui, read_mode::kConfigurationOnly).ok());
  EXPECT_EQ(state.image.programBuffer[3], 0x0123);
  EXPECT_EQ(state.image.dataBuffer[2], 0x44);
  EXPECT_EQ(state.image.configWord, loaded.config);
  EXPECT_EQ(state.image.idWords[1], loaded.ids[1]);
  EXPECT_TRUE(sim.PoweredDown());
}

sim::ChipState Factory(const std::string& chip, uint64_t seed) {
  auto info = sim::FindChip(chip);
  EXPECT_TRUE(info.ok());
  sim::ChipState state = sim::FactoryState(*info.value(), seed);
  return state;
}

TEST(Read, BandGapBitsAreMaskedOnlyInModeZero) {
  const sim::ChipState loaded = Factory("12F675", 7);
  ASSERT_NE(loaded.config & 0x3000, 0);
  for (const int16_t mode : {read_mode::kFull, read_mode::kFullUnmasked, read_mode::kConfigurationOnly}) {
    test::SimApp sim(loaded, "12F675");
    test::RecordingUi ui;
    ASSERT_TRUE(cmdRead(sim.state(), ui, mode).ok());
    const int expected = mode == read_mode::kFull ? (loaded.config & 0x01FF) : loaded.config;
    EXPECT_EQ(sim.state().image.configWord, expected) << "mode " << mode;
  }
}

TEST(Read, CalibrationWordGoesToTxtCal) {
  for (const std::string chip : {"12F675", "12C508A", "16C505"}) {
    const sim::ChipState loaded = Factory(chip, 3);
    test::SimApp sim(loaded, chip);
    test::RecordingUi ui;
    const OpResult result = cmdRead(sim.state(), ui, read_mode::kFull);
    ASSERT_TRUE(result.ok());
    EXPECT_TRUE(result.refreshCalibrationText);
    EXPECT_EQ(sim.state().txtCal, " C=" + HexText(loaded.program.back())) << chip;
  }
}

TEST(Read, CalibrationTextHasTwoDigitsAtLeast) {
  EXPECT_EQ(CalibrationText(0x5), " C=05");
  EXPECT_EQ(CalibrationText(0x3480), " C=3480");
}

TEST(Read, RevisionOfThe16F62And16F87Parts) {
  for (const std::string chip : {"16F877A", "16F877", "16F628"}) {
    test::SimApp sim(test::PatternedChip(chip), chip);
    test::RecordingUi ui;
    ASSERT_TRUE(cmdRead(sim.state(), ui, read_mode::kFull).ok());
    EXPECT_EQ(sim.state().txtCal, " R=" + HexText(sim.info().deviceId & 0x1F)) << chip;
  }
  test::RecordingUi ui;
  test::SimApp other(test::PatternedChip("16F84A"), "16F84A");
  ASSERT_TRUE(cmdRead(other.state(), ui, read_mode::kFull).ok());
  EXPECT_EQ(other.state().txtCal, "");
}

TEST(Read, DeviceWithoutDataEepromSkipsTheDataLoop) {
  test::SimApp sim(test::PatternedChip("16C73"), "16C73");
  test::RecordingUi ui;
  sim.state().image.dataBuffer[0] = 0x55;
  const OpResult result = cmdRead(sim.state(), ui, read_mode::kFull);
  ASSERT_TRUE(result.ok());
  EXPECT_FALSE(result.refreshDataListing);
  EXPECT_EQ(sim.state().image.dataBuffer[0], 0x55);
}

TEST(Read, ProgressReachesOneHundredAtTheLastWord) {
  test::SimApp sim(test::PatternedChip("12C508A"), "12C508A");  // n = 511, stride 26
  test::RecordingUi ui;
  ASSERT_TRUE(cmdRead(sim.state(), ui, read_mode::kFull).ok());
  ASSERT_GE(ui.progress.size(), 3U);
  EXPECT_NE(std::find(ui.progress.begin(), ui.progress.end(), 100.0), ui.progress.end());
  EXPECT_NE(std::find(ui.progress.begin(), ui.progress.end(), 26.0 / 511.0 * 100.0), ui.progress.end());
}

TEST(Read, Pic18ProgramMemoryThroughThe18FLayer) {
  const sim::ChipState loaded = test::PatternedChip("18F452");
  test::SimApp sim(loaded, "18F452");
  test::RecordingUi ui;
  const OpResult result = cmdRead(sim.state(), ui, read_mode::kFull);
  ASSERT_TRUE(result.ok());
  const int32_t n = sim.state().device.programSize;
  ASSERT_EQ(static_cast<size_t>(n) + 1, loaded.program.size());
  for (int32_t i = 0; i <= n; ++i) {
    ASSERT_EQ(sim.state().image.programBuffer[static_cast<size_t>(i)], loaded.program[static_cast<size_t>(i)]) << i;
  }
  EXPECT_TRUE(sim.PoweredDown());
  EXPECT_FALSE(ui.progressVisible);
  EXPECT_NE(std::find(ui.progress.begin(), ui.progress.end(), 100.0), ui.progress.end());
}

}  // namespace
}  // namespace quorvi
