// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/read.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ops/op_texts.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"
#include "util/arith.h"

namespace quorvi {
namespace {

struct ReadCase {
  std::string chip;
  int32_t stride;  // of the progress bar: a twentieth of the words
};

class ReadEveryFamily : public ::testing::TestWithParam<ReadCase> {};

TEST_P(ReadEveryFamily, ImageHoldsWhatTheChipHolds) {
  const ReadCase& c = GetParam();
  const sim::ChipState loaded = test::PatternedChip(c.chip);
  test::SimApp sim(loaded, c.chip);
  test::RecordingUi ui;
  const AppState& state = sim.state();
  sim.state().image.dataBuffer[0] = 0x55;
  const OpResult result = cmdRead(sim.state(), ui, read_mode::kFullUnmasked);

  ASSERT_TRUE(result.ok());
  EXPECT_GT(result.durationNs, 0);
  const int32_t n = state.device.programSize;
  ASSERT_EQ(static_cast<size_t>(n) + 1, loaded.program.size());
  for (size_t i = 0; i < loaded.program.size(); ++i) ASSERT_EQ(state.image.programBuffer[i], loaded.program[i]) << i;
  EXPECT_TRUE(sim.PoweredDown());
  EXPECT_FALSE(ui.progressVisible);
  EXPECT_FALSE(ui.statusVisible);
  ASSERT_FALSE(ui.statusTexts.empty());
  EXPECT_EQ(ui.statusTexts.front(), op_text::kReading);
  EXPECT_TRUE(ui.messages.empty());
  const auto shown = [&ui](double percent) {
    return std::find(ui.progress.begin(), ui.progress.end(), percent) != ui.progress.end();
  };
  EXPECT_TRUE(shown(static_cast<double>(c.stride) / static_cast<double>(n) * 100.0));
  EXPECT_TRUE(shown(100.0));
  if (sim.info().kind == sim::ChipClass::kPic18) return;  // the 18F read takes program memory only

  for (size_t j = 0; j < loaded.data.size(); ++j) ASSERT_EQ(state.image.dataBuffer[j], loaded.data[j]) << "data " << j;
  // A part without data EEPROM skips the data loop.
  EXPECT_EQ(result.refreshDataListing, !loaded.data.empty());
  if (loaded.data.empty()) {
    EXPECT_EQ(state.image.dataBuffer[0], 0x55);
  }
  for (size_t k = 0; k < 4; ++k) EXPECT_EQ(state.image.idWords[k], loaded.ids[k]) << "ID " << k;
  // As the silicon returns it: unimplemented bits read as the data sheet says.
  EXPECT_EQ(state.image.configWord, (loaded.config & sim.info().configBits) | sim.info().configReadOnes);
}

INSTANTIATE_TEST_SUITE_P(Families, ReadEveryFamily,
                         ::testing::Values(ReadCase{"16F84A", 51}, ReadCase{"16F648A", 205},
                                           ReadCase{"16F877", 410}, ReadCase{"12F675", 51},
                                           ReadCase{"16F877A", 410}, ReadCase{"16F818", 51},
                                           ReadCase{"16C73", 205}, ReadCase{"14000", 205},
                                           ReadCase{"12C508A", 26}, ReadCase{"16C505", 51},
                                           ReadCase{"18F452", 819}),
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

TEST(Read, BandGapBitsAreMaskedOnlyInModeZero) {
  const sim::ChipState loaded = sim::FactoryState(*sim::FindChip("12F675").value(), 7);
  ASSERT_NE(loaded.config & 0x3000, 0);
  for (const int16_t mode : {read_mode::kFull, read_mode::kFullUnmasked, read_mode::kConfigurationOnly}) {
    test::SimApp sim(loaded, "12F675");
    test::RecordingUi ui;
    ASSERT_TRUE(cmdRead(sim.state(), ui, mode).ok());
    EXPECT_EQ(sim.state().image.configWord, mode == read_mode::kFull ? (loaded.config & 0x01FF) : loaded.config)
        << "mode " << mode;
  }
}

// txtCal: the calibration word of the parts that have one, the silicon
// revision of the 16F62x and 16F87x, nothing for the others.
TEST(Read, CalibrationWordOrRevisionGoesToTxtCal) {
  EXPECT_EQ(CalibrationText(0x5), " C=05");
  EXPECT_EQ(CalibrationText(0x3480), " C=3480");
  for (const std::string chip : {"12F675", "12C508A", "16C505", "16F877A", "16F877", "16F628", "16F84A"}) {
    SCOPED_TRACE(chip);
    const sim::ChipState loaded = sim::FactoryState(*sim::FindChip(chip).value(), 3);
    test::SimApp sim(loaded, chip);
    test::RecordingUi ui;
    const OpResult result = cmdRead(sim.state(), ui, read_mode::kFull);
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
