// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/config_write.h"

#include <gtest/gtest.h>

#include <string>

#include "ops/op_texts.h"
#include "support/line_trace.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

const UserMessage kFuseWriteError{op_text::kErrorWritingFuses, title::kQuorvi2Error, MessageIcon::kCritical};

std::string Times(int n, const std::string& commands) {
  std::string all;
  for (int i = 0; i < n; ++i) all += commands;
  return all;
}

// One part of each configuration write routine: its commands as a chip
// takes them (code, and data word for loads), the word written, then a word
// that never takes, shown and in quiet mode.
TEST(FuseWrite, EachRoutinesCommandsAndFailure) {
  const std::string deviceId = "0(0000) 6 6 6 6 6 6 4 ";  // read at 2006h first
  const std::string to2007 = "0(3FFF) 6 6 6 6 6 6 6 ";
  // One-time-programmable words: Load Configuration with the first ID word, then a hundred rounds.
  const auto otp = [](const std::string& word) {
    return "0(0005) 6 6 6 6 6 6 6 " + word + word + Times(100, word + "8 14 4 ");
  };
  struct Case {
    const char* chip;
    int config;
    std::string commands;
  };
  const Case rows[] = {
      {"16F84A", 0x3FF1, to2007 + "2(3FF1) 8 4 "},
      {"16F877", 0x3F72, deviceId + to2007 + "2(3F72) 8 4 "},
      {"16F628A", 0x2171, deviceId + to2007 + "2(2171) 8 4 "},
      {"16F877A", 0x3F71, deviceId + to2007 + "2(3F71) 8 4 "},
      // DS39603 knows no End Programming 001110: the EPROM pulses that would
      // follow the flash cycle would clock into self-timed cycles.
      {"16F818", 0x3F30, deviceId + to2007 + "2(3F30) 24 23 4 "},
      {"16F72", 0x3FB2, to2007 + "2(3FB2) 8 14 4 "},
      {"16C73", 0x3FB1, otp("2(3FB1) ")},
      {"14000", 0x3FF9, otp("2(3FF9) ")},
      // 12-bit parts program where the counter starts.
      {"12C508A", 0xFEA, "2(0FEA) 2(0FEA) " + Times(100, "2(0FEA) 8 14 4 ")},
  };
  for (const Case& c : rows) {
    const bool core12 = sim::FindChip(c.chip).value()->kind == sim::ChipClass::kOtp12;
    for (const int neverProgram : {-1, core12 ? 0xFFF : 0x2007}) {
      for (const bool quiet : {false, true}) {
        SCOPED_TRACE(std::string(c.chip) + (neverProgram < 0 ? "" : " never programs") + (quiet ? " quiet" : ""));
        sim::ChipState chip = test::BlankChip(c.chip);
        chip.pulses = {.seed = 1, .minPulses = 1, .maxPulses = 1};
        if (neverProgram >= 0) chip.faults.neverProgram = {neverProgram};
        test::SimApp sim(chip, c.chip);
        sim.state().image.configWord = c.config;
        sim.state().image.idWords[0] = 0x0005;
        sim.state().commandLine.quiet = quiet;
        (void)sim.TakeWrites();
        test::RecordingUi ui;
        const OpOutcome outcome = cmdWriteFuse(sim.state(), ui).outcome;
        EXPECT_TRUE(sim.PoweredDown());  // before the log is written, too
        ASSERT_FALSE(ui.statusTexts.empty());
        EXPECT_EQ(ui.statusTexts.front(), op_text::kWritingFuses);
        if (neverProgram < 0) {
          EXPECT_EQ(test::ToString(test::DecodeFrames(test::FallingEdgeBits(sim.TakeWrites()), false)), c.commands);
        }
        // The 12-bit routine stops after nine cycles, below the failure count:
        // its configuration word is never reported.
        if (neverProgram < 0 || core12) {
          EXPECT_EQ(outcome, OpOutcome::kOk);
          EXPECT_EQ(ui.statusBar, op_text::kFuseOk);
          EXPECT_TRUE(ui.messages.empty());
          EXPECT_FALSE(ui.progressVisible);
          EXPECT_FALSE(ui.statusVisible);
          // Only the bits the part implements are kept.
          const int mask = sim.info().configBits;
          EXPECT_EQ((sim.chip().config & mask) == (c.config & mask), neverProgram < 0);
        } else if (quiet) {
          EXPECT_EQ(outcome, OpOutcome::kTerminated);
          EXPECT_EQ(sim.home.Read("quorvi2.err"), std::string(op_text::quiet::kFuseWriteFailed) + "\n");
          EXPECT_EQ(ui.terminated.size(), 1U);
          EXPECT_TRUE(ui.messages.empty());
        } else {
          EXPECT_EQ(outcome, OpOutcome::kFailed);
          EXPECT_EQ(ui.messages, std::vector<UserMessage>{kFuseWriteError});
          EXPECT_EQ(ui.statusBar, op_text::kFuseError);
          EXPECT_EQ(sim.home.Read("quorvi2.err"), "");
        }
      }
    }
  }
}

TEST(FuseWrite, BandGapPartGetsTheSavedBitsAndComparesBitsEightToZero) {
  test::SimApp sim("12F675");
  sim.state().savedBandgap = 0x2000;
  sim.state().image.configWord = 0x01D4;  // bits 13:12 clear in the image
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWriteFuse(sim.state(), ui).ok());
  EXPECT_EQ(sim.chip().config, 0x21D4);
  EXPECT_EQ(ui.statusBar, op_text::kFuseOk);
}

// Register by register: CONFIG1H HS with OSCSEN set, CONFIG2L/H BOR off and
// the watchdog on with 1:16, CONFIG3H CCP2 on RB3, CONFIG4L LVP off, nothing
// protected. The image keeps pairs, odd address first.
TEST(FuseWrite18, EachRegisterTakesItsImageByteOrTheFailureIsReported) {
  const std::array<uint8_t, MemoryImage::kConfig18Bytes> image{0xE2, 0x00, 0x09, 0x02, 0x00, 0x00, 0x00,
                                                               0x81, 0xC0, 0x0F, 0xE0, 0x0F, 0xFF, 0xFF};
  test::SimApp sim("18F452");
  sim.state().image.config18Bytes = image;
  test::RecordingUi ui;
  ASSERT_TRUE(cmdWriteFuse(sim.state(), ui).ok()) << (ui.messages.empty() ? "" : ui.messages[0].text);
  EXPECT_EQ(ui.statusBar, op_text::kFuseOk);
  EXPECT_TRUE(sim.PoweredDown());
  // CONFIG7, which the image does not carry, stays erased.
  const std::vector<int> expected{0x00, 0x22, 0x02, 0x09, 0x00, 0x00, 0x81, 0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};
  EXPECT_EQ(sim.chip().configBytes, expected);

  sim::ChipState stuck = test::BlankChip("18F252");
  stuck.faults.neverProgram = {0x300006};
  test::SimApp failing(stuck, "18F252");
  failing.state().image.config18Bytes = image;
  test::RecordingUi failingUi;
  EXPECT_EQ(cmdWriteFuse(failing.state(), failingUi).outcome, OpOutcome::kFailed);
  EXPECT_EQ(failingUi.messages, std::vector<UserMessage>{kFuseWriteError});
  EXPECT_EQ(failingUi.statusBar, op_text::kFuseError);
  EXPECT_TRUE(failing.PoweredDown());
}

}  // namespace
}  // namespace quorvi
