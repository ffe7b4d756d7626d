// SPDX-License-Identifier: GPL-3.0-or-later
// The write and the verify beyond what every_part_test runs every part
// through: questions, quiet mode, margins, failures and the odd parts.
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
#include "sim/eprom_chip.h"
#include "support/line_trace.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

constexpr int kBlank14 = 0x3FFF;

// Distinct words over the whole program memory, IDs 1 to 4 and the given
// configuration (the 18F: its registers as the parts come).
void PatternImage(AppState& state, int configWord) {
  MemoryImage& image = state.image;
  const int blank = state.device.family == family::kCore12 ? 0xFFF : kBlank14;
  for (int32_t i = 0; i <= state.device.programSize; ++i) {
    image.programBuffer[static_cast<size_t>(i)] = static_cast<int32_t>((i * 37 + 5) % blank);
  }
  image.idWords = {1, 2, 3, 4, 0};
  image.configWord = configWord;
  image.config18Bytes = {0x22, 0x00, 0x0F, 0x0F, 0x01, 0x00, 0x00, 0x85, 0xC0, 0x0F, 0xE0, 0x0F, 0xFF, 0xFF};
}

UserMessage NotEqualAt(int32_t address) {
  return {op_text::kPicNotEqualAt + AddressText(address), title::kQuorvi2Error, MessageIcon::kNone};
}

bool Shown(const test::RecordingUi& ui, const char* text) {
  return std::find(ui.statusTexts.begin(), ui.statusTexts.end(), text) != ui.statusTexts.end();
}

TEST(Write, AFailureIsReportedAtItsAddressOrLogged) {
  struct Case {
    const char* chip;
    int neverProgram;
    UserMessage message;
    const char* logLine;
  };
  const Case cases[] = {
      {"16C61", 0x1A3, {"Writing error at 1A3h", title::kQuorvi2Error, MessageIcon::kCritical},
       op_text::quiet::kWriteFailed},
      {"16F84A", 0x2007, {op_text::kErrorWritingFuses, title::kQuorvi2Error, MessageIcon::kCritical},
       op_text::quiet::kFuseWriteFailed},
  };
  for (const Case& c : cases) {
    for (const bool quiet : {false, true}) {
      SCOPED_TRACE(std::string(c.chip) + (quiet ? " quiet" : ""));
      sim::ChipState chip = test::BlankChip(c.chip);
      chip.faults.neverProgram = {c.neverProgram};
      test::SimApp sim(chip, c.chip);
      PatternImage(sim.state(), 0x3FF1);
      sim.state().commandLine.quiet = quiet;
      test::RecordingUi ui;
      const OpResult result = cmdWrite(sim.state(), ui);
      EXPECT_TRUE(sim.PoweredDown());
      EXPECT_NE(ui.statusBar, op_text::kOperationOk);
      EXPECT_EQ(result.outcome, quiet ? OpOutcome::kTerminated : OpOutcome::kFailed);
      EXPECT_EQ(sim.home.Read("quorvi2.err"), quiet ? std::string(c.logLine) + "\n" : "");
      EXPECT_EQ(ui.messages, quiet ? std::vector<UserMessage>{} : std::vector<UserMessage>{c.message});
      EXPECT_EQ(ui.terminated.size(), quiet ? 1U : 0U);
      if (c.neverProgram < 0x2000) {
        EXPECT_EQ(sim.state().cycleTable[static_cast<size_t>(c.neverProgram)], 26);
      }
    }
  }
}

struct OtpRun {
  std::ptrdiff_t beginProgramming;
  int cycles;        // word 0 took
  int cyclesNeeded;  // as the chip has it
};

OtpRun WriteOtp(int word0, bool turbo) {
  test::SimApp sim("16C61");
  AppState& state = sim.state();
  std::fill(state.image.programBuffer.begin(), state.image.programBuffer.end(), kBlank14);
  state.image.programBuffer[0] = word0;
  state.image.idWords = {kBlank14, kBlank14, kBlank14, kBlank14, 0};
  state.image.configWord = 0x3FF1;
  state.options.chkTurbo = turbo;
  (void)sim.TakeWrites();
  test::RecordingUi ui;
  EXPECT_TRUE(cmdWrite(state, ui).ok());
  EXPECT_EQ(sim.chip().program[0], word0);
  const auto frames = test::DecodeFrames(test::FallingEdgeBits(sim.TakeWrites()), false);
  const auto* chip = dynamic_cast<const sim::EpromChip*>(sim.board().chip());
  return {std::count_if(frames.begin(), frames.end(),
                        [](const test::Frame& f) { return f.code == cmd::kBeginProgramming; }),
          state.cycleTable[0], chip == nullptr ? -1 : chip->PulsesNeeded(0)};
}

TEST(Write, OtpWordsAreOverProgrammedThreeTimesTheirCyclesUnlessTurbo) {
  const OtpRun normal = WriteOtp(0x2A55, false);
  const OtpRun turbo = WriteOtp(0x2A55, true);
  EXPECT_GE(normal.cycles, 1);
  EXPECT_EQ(normal.cycles, normal.cyclesNeeded);
  EXPECT_EQ(turbo.cycles, normal.cycles);
  EXPECT_EQ(normal.beginProgramming - turbo.beginProgramming, 3 * normal.cycles);
  // A blank image: only the configuration word's hundred rounds program anything.
  EXPECT_LE(WriteOtp(kBlank14, true).beginProgramming, 100 + 8);
}

// 12-bit parts: the last word only into an unprogrammed cell, and only a MOVLW.
TEST(Write, TwelveBitCalibrationWord) {
  struct Case {
    bool factoryCalibrated;
    int imageWord;
    bool programmed;
  };
  for (const Case& c : {Case{true, 0xC42, false}, {false, 0xC42, true}, {false, 0x123, false}}) {
    const sim::ChipInfo& info = *sim::FindChip("12C508A").value();
    const sim::ChipState chip = c.factoryCalibrated ? sim::FactoryState(info, 3) : sim::BlankState(info);
    test::SimApp sim(chip, "12C508A");
    PatternImage(sim.state(), 0xFEA);
    const auto last = static_cast<size_t>(sim.state().device.programSize);
    sim.state().image.programBuffer[last] = c.imageWord;
    test::RecordingUi ui;
    ASSERT_TRUE(cmdWrite(sim.state(), ui).ok());
    EXPECT_EQ(sim.chip().program[last], c.programmed ? c.imageWord : chip.program[last]) << c.imageWord;
    EXPECT_EQ(sim.chip().program[0], sim.state().image.programBuffer[0]);
  }
}

// The 16F62x leave their last word out for the calibration (oscList 5 and
// 10) and run one address further by name: the two cancel, so the loop
// writes the last word in one cycle and stops there, as on other parts.
TEST(Write, A16F62NameRunsOneAddressFurtherThanItsOscillatorListSays) {
  for (const char* name : {"16F628", "16F627A", "16F84A"}) {
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

TEST(Write, ThreeChipsGetThreeSerialNumbersAndTheCompanionFileAdvances) {
  test::SimApp sim("16F84A");
  AppState& state = sim.state();
  PatternImage(state, 0x3FF1);
  state.imagePath = (sim.home.path() / "board.HEX").string();
  state.serial = {.serialNumber = 0x010203, .startAddress = 0x10, .size = 3, .increment = 5, .switchedOn = true};
  ASSERT_TRUE(ApplySerial(state.serial, state.device, state.image, [] { return 0.0; }).ok());
  for (int n = 0; n < 3; ++n) {
    if (n > 0) {
      (void)sim.board().Remove();
      sim.board().Insert(std::move(sim::MakeChip(test::BlankChip("16F84A")).value()));
    }
    test::RecordingUi ui;
    ASSERT_TRUE(cmdWrite(state, ui).ok()) << n;
    const int number = 0x010203 + 5 * n;
    for (int byte = 0; byte < 3; ++byte) {
      EXPECT_EQ(sim.chip().program[static_cast<size_t>(0x10 + byte)], 0x3400 + ((number >> (8 * byte)) & 0xFF)) << n;
    }
  }
  EXPECT_EQ(state.serial.serialNumber, 0x010203 + 15);
  SerialState stored;
  ASSERT_TRUE(ReadCompanionFile(CompanionPath(state.imagePath), stored));
  // The file holds the number the next chip gets.
  EXPECT_EQ(stored.serialNumber, 0x010203 + 15);
  EXPECT_EQ(stored.increment, 5);
}

TEST(Verify, ReportsWhatDiffersOrLogsItsLine) {
  struct Case {
    const char* name;
    const char* chip;
    int config;
    void (*change)(sim::ChipState&);
    std::vector<UserMessage> messages;  // none: the verify passes
    const char* logLine;
    Flag failed;  // operationFailed after the messages
  };
  const UserMessage fuses{op_text::kFusesNotEqual, title::kQuorvi2Error, MessageIcon::kNone};
  const Case cases[] = {
      {"the last differing ID word", "16F84A", 0x3FF1, [](sim::ChipState& c) { c.ids[1] = 7; c.ids[2] = 8; },
       {NotEqualAt(0x2002)}, "Erro comparando IDs", kTrue},
      {"a program word", "16F84A", 0x3FF1, [](sim::ChipState& c) { c.program[0x123] ^= 0x10; }, {NotEqualAt(0x123)},
       "Erro de comparação de dados", kTrue},
      // A configuration difference is reported without failing the operation.
      {"the configuration word", "16F84A", 0x3FF1, [](sim::ChipState& c) { c.config ^= 0x0002; }, {fuses},
       "Erro comparando fuses", kFalse},
      {"the calibration word of oscillator list 2", "12C508A", 0xFEA,
       [](sim::ChipState& c) { c.program.back() ^= 0x0001; }, {}, nullptr, kFalse},
      {"the last word of oscillator list 10", "16F628", 0x3F72,
       [](sim::ChipState& c) { c.program.back() ^= 0x0001; }, {NotEqualAt(0x7FF)}, nullptr, kTrue},
      {"an 18F ID word", "18F452", 0, [](sim::ChipState& c) { c.ids[1] ^= 0x0100; c.ids[2] ^= 0x0001; },
       {NotEqualAt(0x2002)}, nullptr, kTrue},
      {"an 18F register: CPD programmed", "18F452", 0, [](sim::ChipState& c) { c.configBytes[9] = 0x40; }, {fuses},
       nullptr, kFalse},
  };
  for (const Case& c : cases) {
    for (const bool quiet : {false, true}) {
      if (quiet && c.logLine == nullptr) continue;
      SCOPED_TRACE(std::string(c.name) + (quiet ? " quiet" : ""));
      test::SimApp sim(c.chip);
      PatternImage(sim.state(), c.config);
      test::RecordingUi ui;
      ASSERT_TRUE(cmdWrite(sim.state(), ui).ok()) << (ui.messages.empty() ? "" : ui.messages[0].text);
      c.change(sim.chip());
      sim.state().commandLine.quiet = quiet;
      test::RecordingUi verify;
      const OpOutcome outcome = cmdCompare(sim.state(), verify).outcome;
      if (quiet) {
        EXPECT_EQ(outcome, OpOutcome::kTerminated);
        EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string(c.logLine) + "\n");
        continue;
      }
      EXPECT_EQ(outcome, c.messages.empty() ? OpOutcome::kOk : OpOutcome::kFailed);
      EXPECT_EQ(verify.messages, c.messages);
      EXPECT_EQ(sim.state().operationFailed, c.failed);
      EXPECT_TRUE(sim.PoweredDown());
    }
  }
}

TEST(Verify, ProductionFindsACellThatFailsOnlyAtVddMinAndTakesLonger) {
  test::SimApp sim("16F84A");
  PatternImage(sim.state(), 0x3FF1);
  test::RecordingUi ui;
  const OpResult written = cmdWrite(sim.state(), ui);
  ASSERT_TRUE(written.ok());
  const std::string prototypeMode = sim.state().settings.mode;
  const OpResult prototype = cmdCompare(sim.state(), ui);
  sim.state().settings.mode = "PROD";
  const OpResult production = cmdCompare(sim.state(), ui);
  ASSERT_TRUE(prototype.ok());
  ASSERT_TRUE(production.ok());
  EXPECT_GT(production.durationNs, prototype.durationNs + 500'000'000);
  EXPECT_GT(written.durationNs, prototype.durationNs);

  sim::MarginCell weak;
  weak.address = 0x123;
  weak.belowVolts = 4.7;
  weak.xorMask = 0x10;
  sim.chip().faults.marginCells = {weak};
  sim.state().settings.mode = prototypeMode;
  test::RecordingUi normal;
  EXPECT_TRUE(cmdCompare(sim.state(), normal).ok());
  EXPECT_TRUE(normal.messages.empty());
  sim.state().settings.mode = "PROD";
  test::RecordingUi margins;
  EXPECT_EQ(cmdCompare(sim.state(), margins).outcome, OpOutcome::kFailed);
  EXPECT_EQ(margins.messages, std::vector<UserMessage>{NotEqualAt(0x123)});
  EXPECT_TRUE(Shown(margins, op_text::kPassAtVddMin));
  EXPECT_TRUE(Shown(margins, op_text::kFusePassAtVddMax));
  EXPECT_EQ(sim.board().vddStep(), sim::SimBoard::kPowerOnStep);
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
  const UserMessage question{op_text::kCodeProtectionWarning, title::kQuorvi2Alert, MessageIcon::kCritical};
  EXPECT_EQ(ui.questions, std::vector<UserMessage>{question});
  EXPECT_TRUE(sim.TakeWrites().empty());
}

TEST(WriteStart, BlankTestOfAProgrammedChipAsksOrLogsInQuietMode) {
  const UserMessage question{op_text::kPicNotErasedContinue, title::kQuorvi2Error, MessageIcon::kExclamation};
  struct Case {
    bool quiet;
    bool answer;
    OpOutcome outcome;
  };
  for (const Case& c : {Case{true, true, OpOutcome::kTerminated}, {false, false, OpOutcome::kCancelled},
                        {false, true, OpOutcome::kOk}}) {
    SCOPED_TRACE(c.quiet ? "quiet" : c.answer ? "yes" : "no");
    sim::ChipState chip = test::BlankChip("16F84A");
    chip.program[3] = 0;
    test::SimApp sim(chip, "16F84A");
    PatternImage(sim.state(), 0x3FF1);
    sim.state().options.chkTestBlank = true;
    sim.state().commandLine.quiet = c.quiet;
    test::RecordingUi ui;
    ui.answers = {c.answer};
    EXPECT_EQ(cmdWrite(sim.state(), ui).outcome, c.outcome);
    EXPECT_EQ(ui.questions, c.quiet ? std::vector<UserMessage>{} : std::vector<UserMessage>{question});
    EXPECT_EQ(sim.home.Read("quorvi2.err"), c.quiet ? std::string(op_text::quiet::kEraseFailed) + "\n" : "");
    if (c.outcome == OpOutcome::kOk) {
      // Written from address 0 after the test moved the counter.
      EXPECT_EQ(sim.chip().program[0], sim.state().image.programBuffer[0]);
      EXPECT_EQ(sim.chip().program[3], sim.state().image.programBuffer[3]);
      EXPECT_EQ(ui.sounds.size(), 1U);
    } else if (!c.quiet) {
      EXPECT_TRUE(sim.PoweredDown());
      EXPECT_EQ(sim.chip().program[0], kBlank14);
    }
  }
}

TEST(WriteStart, AnImageFileChangedSinceItWasOpenedIsReloaded) {
  test::SimApp sim("16F84A");
  AppState& state = sim.state();
  const std::string path = sim.home.Write("board.HEX", ":020000003412B8\n:00000001FF\n");
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

  // Gone since: quiet mode ends with an empty log and the port untouched.
  std::filesystem::remove(path);
  state.commandLine.quiet = true;
  (void)sim.TakeWrites();
  EXPECT_EQ(cmdWrite(state, ui).outcome, OpOutcome::kTerminated);
  EXPECT_EQ(ui.terminated.size(), 1U);
  EXPECT_TRUE(std::filesystem::exists(sim.home.path() / "quorvi2.err"));
  EXPECT_EQ(sim.home.Read("quorvi2.err"), "");
  EXPECT_TRUE(sim.TakeWrites().empty());
}

TEST(WriteStart, QuietProductionSuccessLeavesNoLogPlaysTheSoundAndVerifiesAtBothMargins) {
  test::SimApp sim("16F628A");
  PatternImage(sim.state(), 0x2171);
  sim.state().commandLine.quiet = true;
  sim.state().settings.mode = "PROD";
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWrite(sim.state(), ui).ok());
  EXPECT_FALSE(std::filesystem::exists(sim.home.path() / "quorvi2.err"));
  EXPECT_TRUE(ui.terminated.empty());
  EXPECT_EQ(ui.sounds.size(), 1U);
  EXPECT_EQ(ui.statusBar, op_text::kOperationOk);
  EXPECT_TRUE(Shown(ui, op_text::kPassAtVddMin));
  EXPECT_TRUE(Shown(ui, op_text::kPassAtVddMax));
}

}  // namespace
}  // namespace quorvi
