// SPDX-License-Identifier: GPL-3.0-or-later
// A difference is reported with its own fixed text and, beside it, where it
// is and both values; the full transcripts are in write_transcripts.txt.
// What is compared, and how long the passes keep the chip unpowered.
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "hw/port_link.h"
#include "ops/blank_erase.h"
#include "image/memory_image.h"
#include "ops/compare.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

struct DifferenceCase {
  const char* name;
  const char* chip;  // blank, against the buffer as Clear Buffer leaves it
  void (*change)(sim::ChipState&);
  OpResult (*operation)(AppState&, UiHost&);
  const char* text;
  const char* detail;
};

OpResult Blank(AppState& state, UiHost& ui) { return cmdBlank(state, ui); }

const DifferenceCase kCases[] = {
    {"program word", "16F84A", [](sim::ChipState& c) { c.program[0x1A3] = 0x0000; }, cmdCompare,
     "PIC not equal at 1A3h", "expected 3FFFh, found 0000h"},
    {"ID word", "16F84A", [](sim::ChipState& c) { c.ids[2] = 0x0005; }, cmdCompare, "PIC not equal at 2002h",
     "expected 3FFFh, found 0005h"},
    {"configuration word", "16F84A", [](sim::ChipState& c) { c.config = 0x3FF1; }, cmdCompare, "fuses not equal",
     "expected 3FFFh, found 3FF1h"},
    {"18F program word", "18F452", [](sim::ChipState& c) { c.program[0x100] = 0x1234; }, cmdCompare,
     "PIC not equal at 100h", "expected FFFFh, found 1234h"},
    {"18F configuration byte", "18F452", [](sim::ChipState& c) { c.configBytes[9] = 0x40; }, cmdCompare,
     "fuses not equal", "at 300009h: expected C0h, found 40h"},
    {"24Cxx byte", "24C02", [](sim::ChipState& c) { c.program[0x12] = 0x34; }, cmdCompare, "EEPROM not equal at 12h",
     "expected FFh, found 34h"},
    {"first word not blank", "16F84A", [](sim::ChipState& c) { c.program[0x1A3] = 0x0000; }, Blank,
     "PIC not erased", "at 1A3h: expected 3FFFh, found 0000h"},
};

TEST(Difference, SaysWhereAndBothValuesBesideTheFixedText) {
  for (const DifferenceCase& c : kCases) {
    SCOPED_TRACE(c.name);
    sim::ChipState chip = test::BlankChip(c.chip);
    c.change(chip);
    test::SimApp sim(chip, c.chip);
    ClearImage(sim.state().device, sim.state().image);
    EXPECT_EQ(c.operation(sim.state(), sim.ui).outcome, OpOutcome::kFailed);
    ASSERT_EQ(sim.ui.messages.size(), 1U) << sim.Transcript(OpOutcome::kFailed);
    EXPECT_EQ(sim.ui.messages[0].text, c.text);
    EXPECT_EQ(sim.ui.messages[0].detail, c.detail);
  }
}

// DS41191: the 12F629's band-gap bits 13:12 are the factory's and never
// compared; bits 8:0 are the user's and always are.
TEST(Difference, TheBandGapBitsAreNeverComparedTheUsersBitsAre) {
  const struct {
    int chipConfig;
    OpOutcome outcome;
  } cases[] = {{0x11FF, OpOutcome::kOk}, {0x20FF, OpOutcome::kFailed}, {0x31FE, OpOutcome::kFailed}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.chipConfig);
    sim::ChipState chip = test::BlankChip("12F629");
    chip.config = c.chipConfig;
    test::SimApp sim(chip, "12F629");
    ClearImage(sim.state().device, sim.state().image);
    sim.state().image.configWord = 0x3FFF;
    EXPECT_EQ(cmdCompare(sim.state(), sim.ui).outcome, c.outcome) << sim.Transcript(OpOutcome::kFailed);
  }
}

// Each compare pass ends with 500 ms powered down, and the next sets its
// supply and waits 250 ms before Vdd comes on: the margins settle and the
// chip resets between passes.
TEST(Passes, ThePowerStaysOffBetweenThemForTheirWholePause) {
  test::SimApp sim(test::PatternedChip("16F84A"), "16F84A");
  test::PatternImage(sim.state());
  sim.state().modeForRun = "PROD";
  (void)sim.TakeWrites();
  ASSERT_TRUE(cmdCompare(sim.state(), sim.ui).ok()) << sim.Transcript(OpOutcome::kFailed);
  // The time from each power-down to the next power-up, the start's first.
  std::vector<int64_t> offNs;
  std::optional<int64_t> offSince;
  for (const test::TimedPort::Write& write : sim.TakeTimedWrites()) {
    const bool vddOn = (write.value & line::kVdd) == 0;
    if (!vddOn && !offSince) offSince = write.ns;
    if (vddOn && offSince) {
      offNs.push_back(write.ns - *offSince);
      offSince.reset();
    }
  }
  ASSERT_GE(offNs.size(), 3U) << "two passes at least, each powered up once";
  // The millisecond waits may each end up to a millisecond early.
  constexpr int64_t kBetweenPassesNs = (500 + 250 - 5) * 1'000'000LL;
  for (size_t i = 1; i < offNs.size(); ++i) EXPECT_GE(offNs[i], kBetweenPassesNs) << "pause " << i;
}

}  // namespace
}  // namespace quorvi
