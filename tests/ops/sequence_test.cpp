// SPDX-License-Identifier: GPL-3.0-or-later
// The commands the erase and the configuration write put on the lines,
// decoded as a chip takes them: code, and (data word) for loads.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "ops/blank_erase.h"
#include "ops/config_write.h"
#include "support/line_trace.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

std::vector<test::Frame> Frames(test::SimApp& sim) {
  return test::DecodeFrames(test::FallingEdgeBits(sim.TakeWrites()), false);
}

TEST(EraseSequence, EachFamilysCommands) {
  struct Case {
    const char* chip;
    const char* commands;
  };
  const Case cases[] = {
      // Bulk erase of program and data memory, then code-protect sequences A and B.
      {"16F84A", "0(0000) 9 11 0(3FFF) 6 6 6 6 6 6 6 1 7 8 1 7 3(3FFF) 1 7 8 1 7 "},
      // Chip erase, after the device ID at 2006h in a power cycle of its own.
      {"16F877A", "0(0000) 6 6 6 6 6 6 4 0(0000) 31 "},
      {"16F818", "0(0000) 6 6 6 6 6 6 4 0(0000) 31 "},
      // Bulk erase of program memory alone.
      {"16F72", "9 "},
  };
  for (const Case& c : cases) {
    const bool listed = std::string(c.chip) != "16F72";
    test::SimApp sim(test::PatternedChip(c.chip), listed ? c.chip : "");
    if (!listed) test::Select16F72(sim.state());
    (void)sim.TakeWrites();
    test::RecordingUi ui;
    ASSERT_TRUE(cmdFill(sim.state(), ui, false).ok()) << c.chip;
    EXPECT_EQ(test::ToString(Frames(sim)), c.commands) << c.chip;
  }
}

TEST(FuseSequence, EachFamilysCommands) {
  struct Case {
    const char* name;
    const char* chip;
    int config;
    const char* first;  // the first command
    std::map<int, std::ptrdiff_t> counts;  // command code: how many
    int written;  // as the part keeps it
  };
  const Case cases[] = {
      {"one-time-programmable word: Load Configuration with the first ID word, a hundred rounds", "16C73", 0x3FB1,
       "0(0005) ", {{8, 100}, {14, 100}}, 0x31},
      {"12-bit parts program where the counter starts", "12C508A", 0xFEA, "2(0FEA) ", {{0, 0}, {6, 0}}, 0x00A},
      // DS39603 knows no End Programming 001110: the EPROM pulses that would
      // follow the flash cycle would clock into self-timed cycles.
      {"family 9 runs the flash sequence only", "16F818", 0x3F30, nullptr, {{24, 1}, {23, 1}, {8, 0}}, 0x3F30},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    sim::ChipState chip = test::BlankChip(c.chip);
    chip.pulses = {.seed = 1, .minPulses = 1, .maxPulses = 1};
    test::SimApp sim(chip, c.chip);
    sim.state().image.configWord = c.config;
    sim.state().image.idWords[0] = 0x0005;
    (void)sim.TakeWrites();
    test::RecordingUi ui;
    ASSERT_TRUE(cmdWriteFuse(sim.state(), ui).ok());
    const std::vector<test::Frame> frames = Frames(sim);
    ASSERT_FALSE(frames.empty());
    if (c.first != nullptr) {
      EXPECT_EQ(test::ToString({frames[0]}), c.first);
    }
    for (const auto& [code, count] : c.counts) {
      EXPECT_EQ(std::count_if(frames.begin(), frames.end(), [code](const test::Frame& f) { return f.code == code; }),
                count)
          << "command " << code;
    }
    EXPECT_EQ(sim.chip().config, c.written);
  }
}

}  // namespace
}  // namespace quorvi
