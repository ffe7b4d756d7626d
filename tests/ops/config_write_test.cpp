// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/config_write.h"

#include <gtest/gtest.h>

#include <string>

#include "support/golden.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

std::string Times(int n, const std::string& commands) {
  std::string all;
  for (int i = 0; i < n; ++i) all += commands;
  return all;
}

// One part of each configuration write routine: its commands as a chip
// takes them (code, and data word for loads), the word written, then a word
// that never takes, shown and in quiet mode (fuse_write_transcripts.txt).
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
  const auto golden = test::DataSections("fuse_write_transcripts.txt");
  for (const Case& c : rows) {
    const bool core12 = sim::FindChip(c.chip).value()->kind == sim::ChipClass::kOtp12;
    for (const int neverProgram : {-1, core12 ? 0xFFF : 0x2007}) {
      for (const bool quiet : {false, true}) {
        const std::string name =
            std::string(c.chip) + (neverProgram < 0 ? "" : ", never programs") + (quiet ? ", quiet" : "");
        SCOPED_TRACE(name);
        sim::ChipState chip = test::BlankChip(c.chip);
        chip.pulses = {.seed = 1, .minPulses = 1, .maxPulses = 1};
        if (neverProgram >= 0) chip.faults.neverProgram = {neverProgram};
        test::SimApp sim(chip, c.chip);
        sim.state().image.configWord = c.config;
        sim.state().image.idWords[0] = 0x0005;
        sim.state().commandLine.quiet = quiet;
        (void)sim.TakeWrites();
        const OpOutcome outcome = cmdWriteFuse(sim.state(), sim.ui).outcome;
        if (neverProgram < 0) {
          EXPECT_EQ(sim.Commands(), c.commands);
        }
        test::ExpectSection(golden, name, sim.Transcript(outcome));
        // Only the bits the part implements are kept; the 12-bit routine stops
        // after nine cycles, below the failure count: its word is never reported.
        const int mask = sim.info().configBits;
        EXPECT_EQ((sim.chip().config & mask) == (c.config & mask), neverProgram < 0);
      }
    }
  }
}

TEST(FuseWrite, BandGapPartGetsTheSavedBitsAndComparesBitsEightToZero) {
  test::SimApp sim("12F675");
  sim.state().savedBandgap = 0x2000;
  sim.state().image.configWord = 0x01D4;  // bits 13:12 clear in the image
  ASSERT_TRUE(cmdWriteFuse(sim.state(), sim.ui).ok());
  EXPECT_EQ(sim.chip().config, 0x21D4);
}

// Register by register: CONFIG1H HS with OSCSEN set, CONFIG2L/H BOR off and
// the watchdog on with 1:16, CONFIG3H CCP2 on RB3, CONFIG4L LVP off, nothing
// protected; CONFIG7 blank.
TEST(FuseWrite18, EachRegisterTakesItsImageByteOrTheFailureIsReported) {
  for (const bool stuck : {false, true}) {
    sim::ChipState chip = test::BlankChip(stuck ? "18F252" : "18F452");
    if (stuck) chip.faults.neverProgram = {0x300006};
    test::SimApp sim(chip, chip.chip);
    sim.state().image.config18Bytes = {0x00, 0xE2, 0x02, 0x09, 0x00, 0x00, 0x81,
                                       0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0xFF, 0xFF};
    test::ExpectSection(test::DataSections("fuse_write_transcripts.txt"), stuck ? "18F252, never programs" : "18F452",
                        sim.Transcript(cmdWriteFuse(sim.state(), sim.ui).outcome));
    if (!stuck) {
      EXPECT_EQ(sim.chip().configBytes, (std::vector<int>{0x00, 0x22, 0x02, 0x09, 0x00, 0x00, 0x81, 0x00, 0x0F, 0xC0,
                                                           0x0F, 0xE0, 0x0F, 0x40}));
    }
  }
}

}  // namespace
}  // namespace quorvi
