// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>

#include "image/open_command.h"
#include "image/serial_numbering.h"
#include "ops/compare.h"
#include "ops/op_texts.h"
#include "ops/write.h"
#include "sim/chip_model.h"
#include "sim/eprom_chip.h"
#include "support/line_trace.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

constexpr int kBlank14 = 0x3FFF;

// An image of distinct words over the whole program memory, blank IDs and
// an unprotected configuration word.
void PatternImage(AppState& state, int configWord) {
  MemoryImage& image = state.image;
  const int blank = state.device.family == family::kCore12 ? 0xFFF : kBlank14;
  for (int32_t i = 0; i <= state.device.programSize; ++i) {
    image.programBuffer[static_cast<size_t>(i)] = static_cast<int32_t>((i * 37 + 5) % blank);
  }
  image.idWords = {blank, blank, blank, blank, 0};
  image.configWord = configWord;
}

UserMessage NotEqualAt(int32_t address) {
  return {op_text::kPicNotEqualAt + AddressText(address), title::kQuorvi2Error, MessageIcon::kNone};
}

int BeginProgrammingCount(test::SimApp& sim) {
  const auto frames = test::DecodeFrames(test::FallingEdgeBits(sim.TakeWrites()), false);
  return static_cast<int>(std::count_if(frames.begin(), frames.end(),
                                        [](const test::Frame& f) { return f.code == cmd::kBeginProgramming; }));
}

TEST(MarginVerify, ProductionFindsACellThatFailsOnlyAtVddMin) {
  test::SimApp sim("16F84A");
  PatternImage(sim.state(), 0x3FF1);
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWrite(sim.state(), ui).ok());
  sim::MarginCell weak;
  weak.address = 0x123;
  weak.belowVolts = 4.7;
  weak.xorMask = 0x10;
  sim.chip().faults.marginCells = {weak};

  test::RecordingUi prototype;
  EXPECT_TRUE(cmdCompare(sim.state(), prototype).ok());
  EXPECT_TRUE(prototype.messages.empty());

  sim.state().settings.mode = "PROD";
  test::RecordingUi production;
  EXPECT_EQ(cmdCompare(sim.state(), production).outcome, OpOutcome::kFailed);
  ASSERT_EQ(production.messages.size(), 1U);
  EXPECT_EQ(production.messages[0], NotEqualAt(0x123));
  const auto& texts = production.statusTexts;
  EXPECT_NE(std::find(texts.begin(), texts.end(), op_text::kPassAtVddMin), texts.end());
  EXPECT_NE(std::find(texts.begin(), texts.end(), op_text::kFusePassAtVddMax), texts.end());
  EXPECT_EQ(sim.board().vddStep(), sim::SimBoard::kPowerOnStep);
}

TEST(OtpWrite, OverProgramsThreeTimesTheCyclesUnlessTurbo) {
  int counts[2] = {0, 0};
  int cycles = 0;
  for (const bool turbo : {false, true}) {
    test::SimApp sim("16C61");
    AppState& state = sim.state();
    std::fill(state.image.programBuffer.begin(), state.image.programBuffer.end(), kBlank14);
    state.image.programBuffer[0] = 0x2A55;
    state.image.idWords = {kBlank14, kBlank14, kBlank14, kBlank14, 0};
    state.image.configWord = 0x3FF1;
    state.options.chkTurbo = turbo;
    (void)sim.TakeWrites();
    test::RecordingUi ui;
    ASSERT_TRUE(cmdWrite(state, ui).ok());
    counts[turbo ? 1 : 0] = BeginProgrammingCount(sim);
    cycles = state.cycleTable[0];
    const auto* chip = dynamic_cast<const sim::EpromChip*>(sim.board().chip());
    ASSERT_NE(chip, nullptr);
    EXPECT_EQ(cycles, chip->PulsesNeeded(0));
    EXPECT_EQ(sim.chip().program[0], 0x2A55);
  }
  EXPECT_GE(cycles, 1);
  EXPECT_EQ(counts[0] - counts[1], 3 * cycles);
}

TEST(OtpWrite, BlankImageIssuesNoProgramPulseBeforeTheConfiguration) {
  test::SimApp sim("16C61");
  AppState& state = sim.state();
  std::fill(state.image.programBuffer.begin(), state.image.programBuffer.end(), kBlank14);
  state.image.idWords = {kBlank14, kBlank14, kBlank14, kBlank14, 0};
  state.image.configWord = 0x3FF1;
  state.options.chkTurbo = true;
  (void)sim.TakeWrites();
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWrite(state, ui).ok());
  // Only the configuration word's hundred rounds program anything.
  EXPECT_LE(BeginProgrammingCount(sim), 100 + 8);
  EXPECT_EQ(sim.chip().config & 0x3FFF, 0x3FF1 & sim.info().configBits);
}


class NeverPrograms : public ::testing::TestWithParam<bool> {};

TEST_P(NeverPrograms, IsAWritingErrorAtItsAddress) {
  const bool quiet = GetParam();
  sim::ChipState chip = test::BlankChip("16C61");
  chip.faults.neverProgram = {0x1A3};
  test::SimApp sim(chip, "16C61");
  PatternImage(sim.state(), 0x3FF1);
  sim.state().commandLine.quiet = quiet;
  test::RecordingUi ui;
  const OpResult result = cmdWrite(sim.state(), ui);
  EXPECT_TRUE(sim.PoweredDown());
  if (quiet) {
    EXPECT_EQ(result.outcome, OpOutcome::kTerminated);
    EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string(op_text::quiet::kWriteFailed) + "\n");
    EXPECT_EQ(ui.terminated.size(), 1U);
    EXPECT_TRUE(ui.messages.empty());
    return;
  }
  EXPECT_EQ(result.outcome, OpOutcome::kFailed);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0], (UserMessage{"Writing error at 1A3h", title::kQuorvi2Error, MessageIcon::kCritical}));
  EXPECT_EQ(sim.state().cycleTable[0x1A3], 26);
  EXPECT_EQ(sim.home.Read("quorvi2.err"), "");
}

INSTANTIATE_TEST_SUITE_P(Modes, NeverPrograms, ::testing::Values(false, true));

struct CalibrationCase {
  bool factoryCalibrated;
  int imageWord;
  bool programmed;
};

class TwelveBitCalibration : public ::testing::TestWithParam<CalibrationCase> {};

TEST_P(TwelveBitCalibration, LastWordOnlyIntoAnUnprogrammedCellAndOnlyAMovlw) {
  const CalibrationCase c = GetParam();
  const sim::ChipInfo& info = *sim::FindChip("12C508A").value();
  const sim::ChipState chip = c.factoryCalibrated ? sim::FactoryState(info, 3) : sim::BlankState(info);
  test::SimApp sim(chip, "12C508A");
  PatternImage(sim.state(), 0xFEA);
  const auto last = static_cast<size_t>(sim.state().device.programSize);
  sim.state().image.programBuffer[last] = c.imageWord;
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWrite(sim.state(), ui).ok());
  EXPECT_EQ(sim.chip().program[last], c.programmed ? c.imageWord : chip.program[last]);
  EXPECT_EQ(sim.chip().program[0], sim.state().image.programBuffer[0]);
}

INSTANTIATE_TEST_SUITE_P(Cases, TwelveBitCalibration,
                         ::testing::Values(CalibrationCase{true, 0xC42, false}, CalibrationCase{false, 0xC42, true},
                                           CalibrationCase{false, 0x123, false}));

TEST(SerialNumbering, ThreeChipsGetThreeNumbersAndTheCompanionFileAdvances) {
  test::SimApp sim("16F84A");
  AppState& state = sim.state();
  PatternImage(state, 0x3FF1);
  state.imagePath = (sim.home.path() / "board.HEX").string();
  state.serial = {.serialNumber = 0x010203, .startAddress = 0x10, .size = 3, .increment = 5, .switchedOn = true};
  ASSERT_TRUE(ApplySerial(state.serial, state.device, state.image, [] { return 0.0; }).ok());
  for (int n = 0; n < 3; ++n) {
    if (n > 0) {
      auto old = sim.board().Remove();
      sim.board().Insert(std::move(sim::MakeChip(test::BlankChip("16F84A")).value()));
    }
    test::RecordingUi ui;
    ASSERT_TRUE(cmdWrite(state, ui).ok()) << n;
    const int number = 0x010203 + 5 * n;
    EXPECT_EQ(sim.chip().program[0x10], 0x3400 + (number & 0xFF)) << n;
    EXPECT_EQ(sim.chip().program[0x11], 0x3400 + ((number >> 8) & 0xFF)) << n;
    EXPECT_EQ(sim.chip().program[0x12], 0x3400 + ((number >> 16) & 0xFF)) << n;
  }
  EXPECT_EQ(state.serial.serialNumber, 0x010203 + 15);
  SerialState stored;
  ASSERT_TRUE(ReadCompanionFile(CompanionPath(state.imagePath), stored));
  // The file holds the number the next chip gets.
  EXPECT_EQ(stored.serialNumber, 0x010203 + 15);
  EXPECT_EQ(stored.increment, 5);
}

TEST(Verify, CalibrationWordOfOscList2IsSkippedButOscList10IsCompared) {
  for (const char* name : {"12C508A", "16F628"}) {
    test::SimApp sim(name);
    PatternImage(sim.state(), sim.state().device.family == family::kCore12 ? 0xFEA : 0x3F72);
    test::RecordingUi ui;
    ASSERT_TRUE(cmdWrite(sim.state(), ui).ok()) << name;
    const auto last = static_cast<size_t>(sim.state().device.programSize);
    sim.chip().program[last] ^= 0x0001;
    test::RecordingUi verify;
    const OpResult result = cmdCompare(sim.state(), verify);
    if (sim.state().device.oscList == 2) {
      EXPECT_TRUE(result.ok()) << name;
    } else {
      ASSERT_EQ(sim.state().device.oscList, 10);  // the 16F628 has no calibration word
      ASSERT_FALSE(verify.messages.empty()) << name;
      EXPECT_EQ(verify.messages[0], NotEqualAt(static_cast<int32_t>(last)));
    }
  }
}

TEST(Verify, ReportsTheLastDifferingIdWordAndInQuietModeItsLine) {
  for (const bool quiet : {false, true}) {
    test::SimApp sim("16F84A");
    PatternImage(sim.state(), 0x3FF1);
    sim.state().image.idWords = {1, 2, 3, 4, 0};
    test::RecordingUi ui;
    ASSERT_TRUE(cmdWrite(sim.state(), ui).ok());
    sim.chip().ids[1] = 7;
    sim.chip().ids[2] = 8;
    sim.state().commandLine.quiet = quiet;
    test::RecordingUi verify;
    const OpResult result = cmdCompare(sim.state(), verify);
    if (quiet) {
      EXPECT_EQ(result.outcome, OpOutcome::kTerminated);
      EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string(op_text::quiet::kIdCompareFailed) + "\n");
    } else {
      ASSERT_FALSE(verify.messages.empty());
      EXPECT_EQ(verify.messages[0], NotEqualAt(0x2002));
    }
  }
}

TEST(Verify, AConfigurationDifferenceIsReportedWithoutFailingTheOperation) {
  test::SimApp sim("16F84A");
  PatternImage(sim.state(), 0x3FF1);
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWrite(sim.state(), ui).ok());
  sim.state().image.configWord = 0x3FF2;
  test::RecordingUi verify;
  EXPECT_EQ(cmdCompare(sim.state(), verify).outcome, OpOutcome::kFailed);
  ASSERT_EQ(verify.messages.size(), 1U);
  EXPECT_EQ(verify.messages[0], (UserMessage{op_text::kFusesNotEqual, title::kQuorvi2Error, MessageIcon::kNone}));
  EXPECT_EQ(sim.state().operationFailed, kFalse);

  sim.state().commandLine.quiet = true;
  test::RecordingUi quiet;
  EXPECT_EQ(cmdCompare(sim.state(), quiet).outcome, OpOutcome::kTerminated);
  EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string(op_text::quiet::kFuseCompareFailed) + "\n");
}

TEST(WriteStart, CodeProtectionQuestionNoLeavesThePortAlone) {
  test::SimApp sim("12C508A");
  PatternImage(sim.state(), 0xFE2);  // CP bit 3 cleared: protected
  ASSERT_EQ(sim.state().device.writeMode, 1);
  ASSERT_TRUE(CodeProtectionSelected(sim.state().device, 0xFE2));
  ASSERT_FALSE(CodeProtectionSelected(sim.state().device, 0xFEA));
  (void)sim.TakeWrites();
  test::RecordingUi ui;
  ui.answers = {false};
  EXPECT_EQ(cmdWrite(sim.state(), ui).outcome, OpOutcome::kCancelled);
  ASSERT_EQ(ui.questions.size(), 1U);
  EXPECT_EQ(ui.questions[0], (UserMessage{op_text::kCodeProtectionWarning, title::kQuorvi2Alert, MessageIcon::kCritical}));
  EXPECT_TRUE(sim.TakeWrites().empty());
}

TEST(WriteStart, BlankTestOfAProgrammedChipAsksOrLogsInQuietMode) {
  for (const bool quiet : {false, true}) {
    sim::ChipState chip = test::BlankChip("16F84A");
    chip.program[3] = 0;
    test::SimApp sim(chip, "16F84A");
    PatternImage(sim.state(), 0x3FF1);
    sim.state().options.chkTestBlank = true;
    sim.state().commandLine.quiet = quiet;
    test::RecordingUi ui;
    ui.answers = {false};
    const OpResult result = cmdWrite(sim.state(), ui);
    if (quiet) {
      EXPECT_EQ(result.outcome, OpOutcome::kTerminated);
      EXPECT_TRUE(ui.questions.empty());
      EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string(op_text::quiet::kEraseFailed) + "\n");
    } else {
      EXPECT_EQ(result.outcome, OpOutcome::kCancelled);
      ASSERT_EQ(ui.questions.size(), 1U);
      EXPECT_EQ(ui.questions[0],
                (UserMessage{op_text::kPicNotErasedContinue, title::kQuorvi2Error, MessageIcon::kExclamation}));
      EXPECT_TRUE(sim.PoweredDown());
      EXPECT_EQ(sim.chip().program[0], kBlank14);
    }
  }
}

TEST(WriteStart, BlankTestYesGoesOnAndWritesFromAddressZero) {
  sim::ChipState chip = test::BlankChip("16F84A");
  chip.program[3] = 0x0000;
  test::SimApp sim(chip, "16F84A");
  PatternImage(sim.state(), 0x3FF1);
  sim.state().options.chkTestBlank = true;
  test::RecordingUi ui;
  ui.answers = {true};
  ASSERT_TRUE(cmdWrite(sim.state(), ui).ok());
  EXPECT_EQ(ui.questions.size(), 1U);
  EXPECT_EQ(sim.chip().program[3], sim.state().image.programBuffer[3]);
  EXPECT_EQ(sim.chip().program[0], sim.state().image.programBuffer[0]);
  EXPECT_EQ(ui.sounds.size(), 1U);
}

TEST(WriteStart, AnImageFileChangedSinceItWasOpenedIsReloaded) {
  test::SimApp sim("16F84A");
  AppState& state = sim.state();
  const std::string path = (sim.home.path() / "board.HEX").string();
  sim.home.Write("board.HEX", ":020000003412B8\n:00000001FF\n");
  const OpenedImage opened = OpenImageCommand(path, state.device, state.image, state.serial);
  ASSERT_TRUE(opened.load.loaded);
  ASSERT_EQ(state.image.programBuffer[0], 0x1234);
  state.imagePath = path;
  state.imageTimeStamp = opened.timeStamp;
  // Word 0 becomes 0456h in the file; the write must take the file's word.
  sim.home.Write("board.HEX", ":020000005604A4\n:00000001FF\n");
  std::filesystem::last_write_time(path, *opened.timeStamp + std::chrono::seconds(2));
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWrite(state, ui).ok());
  EXPECT_EQ(state.image.programBuffer[0], 0x0456);
  EXPECT_EQ(sim.chip().program[0], 0x0456);
  EXPECT_EQ(state.imageTimeStamp, FileTimeStamp(path));
}

TEST(WriteStart, QuietModeEndsWithAnEmptyLogWhenTheChangedFileIsGone) {
  test::SimApp sim("16F84A");
  AppState& state = sim.state();
  const std::string path = (sim.home.path() / "board.HEX").string();
  sim.home.Write("board.HEX", ":020000003412B8\n:00000001FF\n");
  state.imagePath = path;
  state.imageTimeStamp = FileTimeStamp(path);
  std::filesystem::remove(path);
  state.commandLine.quiet = true;
  (void)sim.TakeWrites();
  test::RecordingUi ui;
  EXPECT_EQ(cmdWrite(state, ui).outcome, OpOutcome::kTerminated);
  EXPECT_EQ(ui.terminated.size(), 1U);
  EXPECT_EQ(sim.home.Read("quorvi2.err"), "");
  EXPECT_TRUE(std::filesystem::exists(sim.home.path() / "quorvi2.err"));
  EXPECT_TRUE(sim.TakeWrites().empty());
}

TEST(WriteStart, QuietSuccessLeavesNoLogAndPlaysTheSound) {
  test::SimApp sim("16F628A");
  PatternImage(sim.state(), 0x2171);
  sim.state().commandLine.quiet = true;
  sim.state().settings.mode = "PROD";
  test::RecordingUi ui;
  const OpResult result = cmdWrite(sim.state(), ui);
  ASSERT_TRUE(result.ok());
  EXPECT_FALSE(std::filesystem::exists(sim.home.path() / "quorvi2.err"));
  EXPECT_TRUE(ui.terminated.empty());
  EXPECT_EQ(ui.sounds.size(), 1U);
  EXPECT_EQ(ui.statusBar, op_text::kOperationOk);
  // Production mode verifies at both margins after writing.
  const auto& texts = ui.statusTexts;
  EXPECT_NE(std::find(texts.begin(), texts.end(), op_text::kPassAtVddMin), texts.end());
  EXPECT_NE(std::find(texts.begin(), texts.end(), op_text::kPassAtVddMax), texts.end());
}

TEST(WriteFinish, AConfigurationWordThatDoesNotTakeIsReportedOrLogged) {
  for (const bool quiet : {false, true}) {
    sim::ChipState chip = test::BlankChip("16F84A");
    chip.faults.neverProgram = {0x2007};
    test::SimApp sim(chip, "16F84A");
    PatternImage(sim.state(), 0x3FF1);
    sim.state().commandLine.quiet = quiet;
    test::RecordingUi ui;
    const OpResult result = cmdWrite(sim.state(), ui);
    EXPECT_TRUE(sim.PoweredDown());
    EXPECT_NE(ui.statusBar, op_text::kOperationOk);
    if (quiet) {
      EXPECT_EQ(result.outcome, OpOutcome::kTerminated);
      EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string(op_text::quiet::kFuseWriteFailed) + "\n");
    } else {
      EXPECT_EQ(result.outcome, OpOutcome::kFailed);
      ASSERT_EQ(ui.messages.size(), 1U);
      EXPECT_EQ(ui.messages[0],
                (UserMessage{op_text::kErrorWritingFuses, title::kQuorvi2Error, MessageIcon::kCritical}));
    }
  }
}

// The 16F62x leave their last word out for the calibration (oscList 5 and
// 10) and run one address further by name: the two cancel, so the loop
// writes the last word and stops there.
TEST(FlashLoop, A16F62NameRunsOneAddressFurtherThanItsOscillatorListSays) {
  for (const char* name : {"16F628", "16F627A"}) {
    test::SimApp sim(name);
    PatternImage(sim.state(), 0x3FF1 & sim.info().configBits);
    const auto last = static_cast<size_t>(sim.state().device.programSize);
    sim.state().image.programBuffer[last] = 0x0123;
    sim.state().image.programBuffer[last + 1] = 0x3FFF;
    test::RecordingUi ui;
    ASSERT_TRUE(cmdWrite(sim.state(), ui).ok()) << name;
    EXPECT_EQ(sim.state().cycleTable[last], 1) << name;
    EXPECT_EQ(sim.chip().program[last], 0x0123) << name;
  }
}

TEST(SerialEepromHandOver, WriteAndVerifyRunTheEepromOperations) {
  test::SimApp sim("24C02");
  AppState& state = sim.state();
  for (int32_t a = 0; a <= state.device.programSize; ++a) {
    state.image.programBuffer[static_cast<size_t>(a)] = (a * 13 + 7) & 0xFF;
  }
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWrite(state, ui).ok());
  for (int32_t a = 0; a <= state.device.programSize; ++a) {
    ASSERT_EQ(sim.chip().program[static_cast<size_t>(a)], (a * 13 + 7) & 0xFF) << a;
  }
  EXPECT_TRUE(cmdCompare(state, ui).ok());
  sim.chip().program[9] ^= 0x40;
  EXPECT_FALSE(cmdCompare(state, ui).ok());
}

TEST(NoDevice, WriteAndVerifyShowTheMessageAndLeaveThePortAlone) {
  for (const bool write : {true, false}) {
    test::SimApp sim(test::BlankChip("16F84A"), "");
    (void)sim.TakeWrites();
    test::RecordingUi ui;
    const OpResult result = write ? cmdWrite(sim.state(), ui) : cmdCompare(sim.state(), ui);
    EXPECT_EQ(result.outcome, OpOutcome::kNoDevice);
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_EQ(ui.messages[0].text, op_text::kSelectProcessor);
    EXPECT_EQ(ui.messages[0].title, title::kQuorvi2Error);
    EXPECT_FALSE(ui.statusVisible);
    if (write) {
      EXPECT_TRUE(sim.TakeWrites().empty());
    }
  }
}

TEST(Durations, ProductionVerifyTakesLongerThanPrototype) {
  test::SimApp sim("16F84A");
  PatternImage(sim.state(), 0x3FF1);
  test::RecordingUi ui;
  const OpResult written = cmdWrite(sim.state(), ui);
  ASSERT_TRUE(written.ok());
  const OpResult prototype = cmdCompare(sim.state(), ui);
  sim.state().settings.mode = "PROD";
  const OpResult production = cmdCompare(sim.state(), ui);
  ASSERT_TRUE(prototype.ok());
  ASSERT_TRUE(production.ok());
  EXPECT_GT(prototype.durationNs, 0);
  EXPECT_GT(production.durationNs, prototype.durationNs + 500'000'000);
  EXPECT_GT(written.durationNs, prototype.durationNs);
}

}  // namespace
}  // namespace quorvi
