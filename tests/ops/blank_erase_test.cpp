// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/blank_erase.h"

#include <gtest/gtest.h>

#include "ops/op_texts.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

const UserMessage kNotErased{op_text::kPicNotErased, title::kQuorviError, MessageIcon::kExclamation};

sim::ChipState Factory(const std::string& chip, uint64_t seed = 5) {
  auto info = sim::FindChip(chip);
  EXPECT_TRUE(info.ok());
  return sim::FactoryState(*info.value(), seed);
}

TEST(BlankBound, CalibrationWordAndThe14000) {
  DeviceDescriptor device;
  device.name = "16F84A";
  device.programSize = 1023;
  for (const int osc : {0, 1, 4, 6, 10}) {
    device.oscList = static_cast<int16_t>(osc);
    EXPECT_EQ(BlankCheckBound(device), 1023) << osc;
  }
  for (const int osc : {2, 3, 5, 7}) {
    device.oscList = static_cast<int16_t>(osc);
    EXPECT_EQ(BlankCheckBound(device), 1022) << osc;
  }
  device.name = "14000";
  device.programSize = 4095;
  device.oscList = 4;
  EXPECT_EQ(BlankCheckBound(device), 4031);
}

class BlankEveryFamily : public ::testing::TestWithParam<std::string> {};

TEST_P(BlankEveryFamily, AFactoryFreshChipIsBlank) {
  test::SimApp sim(Factory(GetParam()), GetParam());
  test::RecordingUi ui;
  const OpResult result = cmdBlank(sim.state(), ui);
  EXPECT_TRUE(result.ok());
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_TRUE(sim.PoweredDown());
  ASSERT_FALSE(ui.statusTexts.empty());
  EXPECT_EQ(ui.statusTexts.front(), op_text::kTestingBlank);
  EXPECT_FALSE(ui.progressVisible);
  EXPECT_FALSE(ui.statusVisible);
}

TEST_P(BlankEveryFamily, OneProgrammedWordIsNotBlank) {
  sim::ChipState chip = Factory(GetParam());
  chip.program[chip.program.size() / 2] = 0x0123;
  test::SimApp sim(chip, GetParam());
  test::RecordingUi ui;
  const OpResult result = cmdBlank(sim.state(), ui);
  EXPECT_EQ(result.outcome, OpOutcome::kFailed);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0], kNotErased);
  EXPECT_TRUE(sim.PoweredDown());
}

INSTANTIATE_TEST_SUITE_P(Families, BlankEveryFamily,
                         ::testing::Values("16F84A", "16F877", "16F648A", "12F675", "16F877A", "16F818", "16C73",
                                           "14000", "12C508A", "16C505"));

TEST(Blank, CalibrationWordIsSkippedOnlyForItsOscillatorLists) {
  // 16F84A (oscList 1): a programmed last word is a programmed word.
  sim::ChipState chip = test::BlankChip("16F84A");
  chip.program.back() = 0x3412;
  test::SimApp f84(chip, "16F84A");
  test::RecordingUi ui;
  EXPECT_EQ(cmdBlank(f84.state(), ui).outcome, OpOutcome::kFailed);
  // 16F627 (oscList 5) leaves it out.
  sim::ChipState f627chip = test::BlankChip("16F648A");
  f627chip.program.back() = 0x3412;
  test::SimApp f648(f627chip, "16F648A");
  f648.state().device.oscList = 5;
  test::RecordingUi ui2;
  EXPECT_TRUE(cmdBlank(f648.state(), ui2).ok());
}

TEST(Blank, The14000ChecksExactly4032Words) {
  sim::ChipState chip = Factory("14000");
  chip.program[4031] = 0x0001;
  test::SimApp last(chip, "14000");
  test::RecordingUi ui;
  EXPECT_EQ(cmdBlank(last.state(), ui).outcome, OpOutcome::kFailed);
  chip.program[4031] = 0x3FFF;
  chip.program[4032] = 0x0001;
  test::SimApp above(chip, "14000");
  test::RecordingUi ui2;
  EXPECT_TRUE(cmdBlank(above.state(), ui2).ok());
}

TEST(Blank, TwelveBitWordsMustReadFFF) {
  sim::ChipState chip = Factory("12C508A");
  chip.program[0] = 0xFFE;
  test::SimApp sim(chip, "12C508A");
  test::RecordingUi ui;
  EXPECT_EQ(cmdBlank(sim.state(), ui).outcome, OpOutcome::kFailed);
}

TEST(Blank, ProductionModeReturnsTheSupplyToNominal) {
  test::SimApp sim(Factory("16F84A"), "16F84A");
  sim.state().settings.mode = "PROD";
  sim.state().workingVdd = 4.5F;
  test::RecordingUi ui;
  EXPECT_TRUE(cmdBlank(sim.state(), ui).ok());
  EXPECT_EQ(sim.board().vddStep(), 128);
}

TEST(Blank, NoDeviceSelected) {
  test::SimApp sim(test::BlankChip("16F84A"), "");
  test::RecordingUi ui;
  EXPECT_EQ(cmdBlank(sim.state(), ui).outcome, OpOutcome::kNoDevice);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0], (UserMessage{op_text::kSelectProcessor, title::kQuorviError, MessageIcon::kExclamation}));
}

TEST(Blank, ADeadChipIsNotBlank) {
  sim::ChipState chip = test::BlankChip("16F84A");
  chip.faults.dataIn = sim::DataInFault::kStuckLow;
  test::SimApp sim(chip, "16F84A");
  test::RecordingUi ui;
  EXPECT_EQ(cmdBlank(sim.state(), ui).outcome, OpOutcome::kFailed);
  EXPECT_TRUE(sim.PoweredDown());
}

struct EraseCase {
  std::string chip;
  int16_t family = -1;  // -1: as the catalogue says
  bool codeProtected = false;
};

class EraseFlash : public ::testing::TestWithParam<EraseCase> {};

TEST_P(EraseFlash, ErasedChipPassesTheBlankCheck) {
  const EraseCase& c = GetParam();
  sim::ChipState chip = test::PatternedChip(c.chip);
  if (c.codeProtected) {
    auto info = sim::FindChip(c.chip);
    sim::SetCodeProtection(*info.value(), chip, true, true);
  }
  test::SimApp sim(chip, c.family == 6 ? "" : c.chip);
  if (c.family == 6) {
    // No family 6 device is listed in the catalogue yet.
    DeviceDescriptor& device = sim.state().device;
    device.name = c.chip;
    device.programSize = static_cast<int32_t>(chip.program.size()) - 1;
    device.family = 6;
    device.pinCount = 28;
    device.oscList = 1;
  }
  test::RecordingUi ui;
  const OpResult erased = cmdFill(sim.state(), ui, false);
  EXPECT_TRUE(erased.ok());
  EXPECT_TRUE(erased.refreshConfig);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_TRUE(sim.PoweredDown());
  ASSERT_FALSE(ui.statusTexts.empty());
  EXPECT_EQ(ui.statusTexts.front(), op_text::kErasing);
  for (size_t i = 0; i < sim.chip().program.size(); ++i) ASSERT_EQ(sim.chip().program[i], 0x3FFF) << i;
  for (size_t j = 0; j < sim.chip().data.size(); ++j) ASSERT_EQ(sim.chip().data[j], 0xFF) << j;

  test::RecordingUi blankUi;
  EXPECT_TRUE(cmdBlank(sim.state(), blankUi).ok());
  EXPECT_TRUE(blankUi.messages.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Families, EraseFlash,
    ::testing::Values(EraseCase{"16F84A"}, EraseCase{"16F84A", -1, true}, EraseCase{"16F877"},
                      EraseCase{"16F877", -1, true}, EraseCase{"16F648A"}, EraseCase{"16F877A"},
                      EraseCase{"16F877A", -1, true}, EraseCase{"16F818"}, EraseCase{"16F819", -1, true},
                      EraseCase{"16F72", 6}),
    [](const auto& param) {
      return "PIC" + param.param.chip + (param.param.codeProtected ? "_protected" : "");
    });

TEST(Erase, BandGapPartKeepsCalibrationAndBandGapBits) {
  sim::ChipState chip = Factory("12F675", 11);
  const int calibration = chip.program.back();
  const int bandgap = chip.config & 0x3000;
  ASSERT_NE(bandgap, 0);
  chip.program[0] = 0x0123;
  chip.config = bandgap | 0x01F4;  // unprotected: /CP and /CPD set
  test::SimApp sim(chip, "12F675");
  sim.state().image.configWord = 0x0155;
  test::RecordingUi ui;
  ASSERT_TRUE(cmdFill(sim.state(), ui, false).ok());
  EXPECT_EQ(sim.chip().program.back(), calibration);
  EXPECT_EQ(sim.chip().config & 0x3000, bandgap);
  EXPECT_EQ(sim.chip().config & 0x01FF, 0x01FF);
  EXPECT_EQ(sim.chip().program[0], 0x3FFF);
  EXPECT_EQ(sim.state().savedCalibration, calibration);
  EXPECT_EQ(sim.state().savedBandgap, bandgap);
  EXPECT_EQ(sim.state().image.configWord, 0x0155);  // the image's value comes back
  EXPECT_TRUE(sim.PoweredDown());
  test::RecordingUi blankUi;
  EXPECT_TRUE(cmdBlank(sim.state(), blankUi).ok());
}

TEST(Erase, BandGapPartWithBlankCalibrationClearsTheWord) {
  sim::ChipState chip = Factory("16F676", 12);
  const int bandgap = chip.config & 0x3000;
  test::SimApp sim(chip, "16F676");
  test::RecordingUi ui;
  ASSERT_TRUE(cmdFill(sim.state(), ui, true).ok());
  EXPECT_EQ(sim.chip().program.back(), 0x3FFF);
  EXPECT_EQ(sim.chip().config & 0x3000, bandgap);
  EXPECT_TRUE(sim.PoweredDown());
}

TEST(Erase, NoDeviceSelectedTouchesNothing) {
  test::SimApp sim(test::PatternedChip("16F84A"), "");
  test::RecordingUi ui;
  const uint8_t lines = sim.board().lastWrite();
  EXPECT_EQ(cmdFill(sim.state(), ui, false).outcome, OpOutcome::kNoDevice);
  EXPECT_EQ(sim.board().lastWrite(), lines);
  EXPECT_EQ(sim.chip().program[0], test::PatternedChip("16F84A").program[0]);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0].text, op_text::kSelectProcessor);
}

TEST(Erase, ProductionModeErasesAtTheNominalSupply) {
  test::SimApp sim(test::PatternedChip("16F877A"), "16F877A");
  sim.state().settings.mode = "PROD";
  ASSERT_TRUE(sim.state().link.SetVddLevel(3.0F).ok());
  test::RecordingUi ui;
  ASSERT_TRUE(cmdFill(sim.state(), ui, false).ok());
  EXPECT_EQ(sim.board().vddStep(), 128);
  EXPECT_EQ(sim.chip().program[1], 0x3FFF);
}

TEST(Erase, Pic18BulkEraseThenBlank) {
  test::SimApp sim(test::PatternedChip("18F452"), "18F452");
  test::RecordingUi ui;
  ASSERT_TRUE(cmdFill(sim.state(), ui, false).ok());
  EXPECT_TRUE(sim.PoweredDown());
  for (size_t i = 0; i < sim.chip().program.size(); ++i) ASSERT_EQ(sim.chip().program[i], 0xFFFF) << i;
  test::RecordingUi blankUi;
  EXPECT_TRUE(cmdBlank(sim.state(), blankUi).ok());
  EXPECT_TRUE(blankUi.messages.empty());
  EXPECT_TRUE(sim.PoweredDown());
}

TEST(Blank, Pic18WithOneProgrammedWordIsNotBlank) {
  auto info = sim::FindChip("18F452");
  ASSERT_TRUE(info.ok());
  sim::ChipState chip = sim::BlankState(*info.value());
  chip.program[0x2345] = 0x1234;
  test::SimApp sim(chip, "18F452");
  test::RecordingUi ui;
  EXPECT_EQ(cmdBlank(sim.state(), ui).outcome, OpOutcome::kFailed);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0], kNotErased);
  EXPECT_TRUE(sim.PoweredDown());
}

}  // namespace
}  // namespace quorvi
