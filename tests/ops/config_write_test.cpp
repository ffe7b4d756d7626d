// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/config_write.h"

#include <gtest/gtest.h>

#include "ops/op_texts.h"
#include "ops/read.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

const UserMessage kFuseWriteError{op_text::kErrorWritingFuses, title::kQuorvi2Error, MessageIcon::kCritical};

struct FuseCase {
  std::string chip;
  int config;
};

class FuseWriteEveryFamily : public ::testing::TestWithParam<FuseCase> {};

TEST_P(FuseWriteEveryFamily, WrittenWordReadsBack) {
  const FuseCase& c = GetParam();
  test::SimApp sim(test::BlankChip(c.chip), c.chip);
  sim.state().image.configWord = c.config;
  test::RecordingUi ui;
  const OpResult result = cmdWriteFuse(sim.state(), ui);
  ASSERT_TRUE(result.ok());
  EXPECT_EQ(ui.statusBar, op_text::kFuseOk);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_TRUE(sim.PoweredDown());
  EXPECT_FALSE(ui.progressVisible);
  EXPECT_FALSE(ui.statusVisible);
  ASSERT_FALSE(ui.statusTexts.empty());
  EXPECT_EQ(ui.statusTexts.front(), op_text::kWritingFuses);
  // Only the bits the part implements are kept; the others read as its sheet says.
  const int mask = ConfigCompareMask(sim.state().device);
  EXPECT_EQ(sim.chip().config & mask, c.config & mask);

  sim.state().image.configWord = 0;
  test::RecordingUi readUi;
  // The configuration-only read reads no 12-bit configuration word: it sits
  // before program memory, which that mode skips.
  const int16_t mode = sim.state().device.family == family::kCore12 ? read_mode::kFull : read_mode::kConfigurationOnly;
  ASSERT_TRUE(cmdRead(sim.state(), readUi, mode).ok());
  EXPECT_EQ(sim.state().image.configWord & mask, c.config & mask);
}

TEST_P(FuseWriteEveryFamily, AWordThatNeverProgramsIsAnError) {
  const FuseCase& c = GetParam();
  sim::ChipState chip = test::BlankChip(c.chip);
  const bool core12 = sim::FindChip(c.chip).value()->kind == sim::ChipClass::kOtp12;
  chip.faults.neverProgram = {core12 ? 0xFFF : 0x2007};
  test::SimApp sim(chip, c.chip);
  sim.state().image.configWord = c.config;
  test::RecordingUi ui;
  const OpResult result = cmdWriteFuse(sim.state(), ui);
  if (sim.state().device.family == family::kCore12) {
    // The 12-bit routine stops after nine cycles, below the failure count:
    // a 12-bit configuration word is never reported.
    EXPECT_TRUE(result.ok());
    EXPECT_NE(sim.chip().config, c.config);
    return;
  }
  EXPECT_EQ(result.outcome, OpOutcome::kFailed);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0], kFuseWriteError);
  EXPECT_EQ(ui.statusBar, op_text::kFuseError);
  EXPECT_TRUE(sim.PoweredDown());
  EXPECT_EQ(sim.home.Read("quorvi2.err"), "");
}

INSTANTIATE_TEST_SUITE_P(Families, FuseWriteEveryFamily,
                         ::testing::Values(FuseCase{"16F84A", 0x3FF1}, FuseCase{"16F877", 0x3F72},
                                           FuseCase{"16F628", 0x3F72}, FuseCase{"16F628A", 0x2171},
                                           FuseCase{"16F648A", 0x2152}, FuseCase{"16F877A", 0x3F71},
                                           FuseCase{"16F818", 0x3F30}, FuseCase{"16C73", 0x3FB1},
                                           FuseCase{"14000", 0x3FF9}, FuseCase{"12C508A", 0xFEA}),
                         [](const auto& param) { return "PIC" + param.param.chip; });

TEST(FuseWrite, QuietFailureLogsOneLineAndTerminates) {
  sim::ChipState chip = test::BlankChip("16F877A");
  chip.faults.neverProgram = {0x2007};
  test::SimApp sim(chip, "16F877A");
  sim.state().commandLine.quiet = true;
  sim.state().image.configWord = 0x3F71;
  test::RecordingUi ui;
  const OpResult result = cmdWriteFuse(sim.state(), ui);
  EXPECT_EQ(result.outcome, OpOutcome::kTerminated);
  EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string(op_text::quiet::kFuseWriteFailed) + "\n");
  EXPECT_EQ(ui.terminated.size(), 1U);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_TRUE(sim.PoweredDown());  // the configuration write powers down before it logs
}

TEST(FuseWrite, BandGapPartGetsTheSavedBitsAndComparesBitsEightToZero) {
  auto info = sim::FindChip("12F675");
  ASSERT_TRUE(info.ok());
  sim::ChipState chip = sim::BlankState(*info.value());
  test::SimApp sim(chip, "12F675");
  sim.state().savedBandgap = 0x2000;
  sim.state().image.configWord = 0x01D4;  // bits 13:12 clear in the image
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWriteFuse(sim.state(), ui).ok());
  EXPECT_EQ(sim.chip().config, 0x21D4);
  EXPECT_EQ(ui.statusBar, op_text::kFuseOk);
}

TEST(FuseWrite, FamilySixEndsItsCycleItself) {
  test::SimApp sim(test::BlankChip("16F72"), "");
  DeviceDescriptor& device = sim.state().device;  // no family 6 device is listed in the catalogue yet
  device.name = "16F72";
  device.programSize = 2047;
  device.family = 6;
  device.pinCount = 28;
  sim.state().image.configWord = 0x3FB2;
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWriteFuse(sim.state(), ui).ok());
  EXPECT_EQ(sim.chip().config, 0x3FB2);
  EXPECT_TRUE(sim.PoweredDown());
}

TEST(FuseWrite, NoDeviceSelected) {
  test::SimApp sim(test::BlankChip("16F84A"), "");
  test::RecordingUi ui;
  EXPECT_EQ(cmdWriteFuse(sim.state(), ui).outcome, OpOutcome::kNoDevice);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0].text, op_text::kSelectProcessor);
}

// Register by register: CONFIG1H HS with OSCSEN set, CONFIG2L/H BOR off and
// the watchdog on with 1:16, CONFIG3H CCP2 on RB3, CONFIG4L LVP off, nothing
// protected. The image keeps pairs, odd address first.
const std::array<uint8_t, MemoryImage::kConfig18Bytes> kConfig18Image{0xE2, 0x00, 0x09, 0x02, 0x00, 0x00, 0x00,
                                                                      0x81, 0xC0, 0x0F, 0xE0, 0x0F, 0xFF, 0xFF};

TEST(FuseWrite18, EachRegisterTakesItsImageByte) {
  test::SimApp sim("18F452");
  sim.state().image.config18Bytes = kConfig18Image;
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWriteFuse(sim.state(), ui).ok()) << (ui.messages.empty() ? "" : ui.messages[0].text);
  EXPECT_EQ(ui.statusBar, op_text::kFuseOk);
  EXPECT_TRUE(sim.PoweredDown());
  // CONFIG7, which the image does not carry, stays erased.
  const std::vector<int> expected{0x00, 0x22, 0x02, 0x09, 0x00, 0x00, 0x81, 0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};
  EXPECT_EQ(sim.chip().configBytes, expected);
}

TEST(FuseWrite18, ARegisterThatNeverProgramsIsAnError) {
  sim::ChipState chip = test::BlankChip("18F252");
  chip.faults.neverProgram = {0x300006};
  test::SimApp sim(chip, "18F252");
  sim.state().image.config18Bytes = kConfig18Image;
  test::RecordingUi ui;
  EXPECT_EQ(cmdWriteFuse(sim.state(), ui).outcome, OpOutcome::kFailed);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0], kFuseWriteError);
  EXPECT_EQ(ui.statusBar, op_text::kFuseError);
  EXPECT_TRUE(sim.PoweredDown());
}

// The word programming routine at address 0 of a freshly entered chip.
class ProgramWordAtZero : public ::testing::Test {
 protected:
  int16_t Run(sim::ChipState chip, const std::string& device, PulseMode mode, int word) {
    sim_ = std::make_unique<test::SimApp>(std::move(chip), device);
    OperationFrame frame(sim_->state(), ui_);
    PowerUpPlan plan = WritePlan(sim_->state());
    frame.PowerUp(plan);
    const int16_t count = ProgramWord(frame.protocol(), mode, word);
    frame.PowerDown();
    return count;
  }
  std::unique_ptr<test::SimApp> sim_;
  test::RecordingUi ui_;
};

TEST_F(ProgramWordAtZero, OtpWordTakesAsManyCyclesAsItNeeds) {
  sim::ChipState chip = test::BlankChip("16C73");
  chip.pulses = {.seed = 3, .minPulses = 4, .maxPulses = 4};
  EXPECT_EQ(Run(chip, "16C73", PulseMode::kShort, 0x1234), 4);
  EXPECT_EQ(sim_->chip().program[0], 0x1234);
}

TEST_F(ProgramWordAtZero, AWordThatNeverProgramsTakes26Cycles) {
  sim::ChipState chip = test::BlankChip("16C73");
  chip.faults.neverProgram = {0};
  EXPECT_EQ(Run(chip, "16C73", PulseMode::kShort, 0x1234), 26);
}

TEST_F(ProgramWordAtZero, TwelveBitPartsStopAfterNineCycles) {
  sim::ChipState chip = test::BlankChip("12C508A");
  chip.faults.neverProgram = {0};
  EXPECT_EQ(Run(chip, "12C508A", PulseMode::kShort, 0x0123), 9);
}

TEST_F(ProgramWordAtZero, FlashModesProgramInOneCycle) {
  EXPECT_EQ(Run(test::BlankChip("16F84A"), "16F84A", PulseMode::kLong, 0x2A55), 1);
  EXPECT_EQ(sim_->chip().program[0], 0x2A55);
  EXPECT_EQ(Run(test::BlankChip("16F877A"), "16F877A", PulseMode::kShort, 0x1555), 1);
  EXPECT_EQ(sim_->chip().program[0], 0x1555);
}

}  // namespace
}  // namespace quorvi
