// SPDX-License-Identifier: GPL-3.0-or-later
// Where the blank check stops, what the erase keeps and the commands it
// sends; every catalogue part's plain erase and blank check run in
// every_part_test.
#include "ops/blank_erase.h"

#include <gtest/gtest.h>

#include "ops/op_texts.h"
#include "support/golden.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

struct BlankCase {
  const char* name;
  const char* chip;
  void (*change)(sim::ChipState&);
  int16_t oscList = -1;  // -1: as the catalogue says
};

const BlankCase kBlankCases[] = {
    {"a factory-fresh chip", "16F877A", [](sim::ChipState&) {}},
    {"a factory-fresh chip with its calibration word", "12C508A", [](sim::ChipState&) {}},
    {"a programmed word", "16F84A", [](sim::ChipState& c) { c.program[512] = 0x0123; }},
    {"a programmed last word", "16F84A", [](sim::ChipState& c) { c.program.back() = 0x3412; }},
    {"the last word of oscillator list 5", "16F648A", [](sim::ChipState& c) { c.program.back() = 0x3412; }, 5},
    {"a 12-bit word that is not FFF", "12C508A", [](sim::ChipState& c) { c.program[0] = 0xFFE; }},
    // The 12-bit counter starts on the configuration word: the check steps off it first.
    {"the last 12-bit word before the calibration", "12C508A", [](sim::ChipState& c) { c.program[510] = 0; }},
    {"a programmed 18F word", "18F452", [](sim::ChipState& c) { c.program[0x2345] = 0x1234; }},
    {"the 14000's last word", "14000", [](sim::ChipState& c) { c.program[4031] = 0x0001; }},
    {"the 14000's calibration block", "14000", [](sim::ChipState& c) { c.program[4032] = 0x0001; }},
    {"a dead chip", "16F84A", [](sim::ChipState& c) { c.faults.dataIn = sim::DataInFault::kStuckLow; }},
};

// Whether each is blank is in blank_transcripts.txt.
TEST(Blank, OneProgrammedWordWhereTheCheckLooksIsNotBlank) {
  const auto golden = test::DataSections("blank_transcripts.txt");
  for (const BlankCase& c : kBlankCases) {
    SCOPED_TRACE(c.name);
    sim::ChipState chip = test::FactoryChip(c.chip, 5);
    c.change(chip);
    test::SimApp sim(chip, c.chip);
    if (c.oscList >= 0) {
      sim.state().device.oscList = c.oscList;
      ApplyPartRules(sim.state().device);
    }
    test::ExpectSection(golden, c.name, sim.Transcript(cmdBlank(sim.state(), sim.ui).outcome));
  }
}

// Protected chips come out blank, through each family's commands (erase_commands.txt).
TEST(Erase, EachFamilysCommandsClearCodeProtection) {
  for (const auto& [name, commands] : test::DataSections("erase_commands.txt")) {
    SCOPED_TRACE(name);
    sim::ChipState chip = test::PatternedChip(name);
    sim::SetCodeProtection(*sim::FindChip(name).value(), chip, true, true);
    test::SimApp sim(chip, name);
    (void)sim.TakeWrites();
    const OpResult erased = cmdFill(sim.state(), sim.ui, false);
    EXPECT_TRUE(erased.ok());
    EXPECT_EQ(test::Words(sim.Commands()), test::Words(commands));
    EXPECT_TRUE(erased.refreshConfig);
    EXPECT_TRUE(sim.ui.messages.empty());
    EXPECT_EQ(sim.ui.statusTexts.at(0), op_text::kErasing);
    EXPECT_EQ(sim.chip().program, std::vector<int>(sim.chip().program.size(), 0x3FFF));
    EXPECT_EQ(sim.chip().data, std::vector<int>(sim.chip().data.size(), 0xFF));
  }
}

TEST(Erase, BandGapChipsKeepTheirCalibrationWordUnlessAskedAndTheirBandGapBits) {
  for (const bool blankCalibration : {false, true}) {
    const char* name = blankCalibration ? "16F676" : "12F675";
    SCOPED_TRACE(name);
    sim::ChipState chip = test::FactoryChip(name, blankCalibration ? 12 : 11);
    const int calibration = chip.program.back();
    const int bandgap = chip.config & 0x3000;
    ASSERT_NE(bandgap, 0);
    chip.program[0] = 0x0123;
    chip.config = bandgap | 0x01F4;  // unprotected: /CP and /CPD set
    test::SimApp sim(chip, name);
    sim.state().image.configWord = 0x0155;
    ASSERT_TRUE(cmdFill(sim.state(), sim.ui, blankCalibration).ok());
    EXPECT_EQ(sim.chip().program.back(), blankCalibration ? 0x3FFF : calibration);
    EXPECT_EQ(sim.chip().config & 0x31FF, bandgap | 0x01FF);
    EXPECT_EQ(sim.chip().program[0], 0x3FFF);
    EXPECT_EQ(sim.state().savedCalibration, calibration);
    EXPECT_EQ(sim.state().savedBandgap, bandgap);
    EXPECT_EQ(sim.state().image.configWord, 0x0155);  // the image's value comes back
  }
}

}  // namespace
}  // namespace quorvi
