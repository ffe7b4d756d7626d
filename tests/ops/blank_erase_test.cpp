// SPDX-License-Identifier: GPL-3.0-or-later
// Where the blank check stops, what the erase keeps and the commands it
// sends; every catalogue part's plain erase and blank check run in
// every_part_test.
#include "ops/blank_erase.h"

#include <gtest/gtest.h>

#include "ops/op_texts.h"
#include "support/line_trace.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

sim::ChipState Factory(const std::string& chip, uint64_t seed = 5) {
  return sim::FactoryState(*sim::FindChip(chip).value(), seed);
}

TEST(Blank, BoundLeavesOutTheCalibrationWordAndThe14000sBlock) {
  DeviceDescriptor device;
  device.name = "16F84A";
  device.programSize = 1023;
  for (const int osc : {0, 1, 4, 6, 8, 9, 10, 2, 3, 5, 7}) {
    device.oscList = static_cast<int16_t>(osc);
    EXPECT_EQ(BlankCheckBound(device), osc == 2 || osc == 3 || osc == 5 || osc == 7 ? 1022 : 1023) << osc;
  }
  device.name = "14000";
  device.programSize = 4095;
  device.oscList = 4;
  EXPECT_EQ(BlankCheckBound(device), 4031);
}

struct BlankCase {
  const char* name;
  const char* chip;
  void (*change)(sim::ChipState&);
  bool blank;
  int16_t oscList = -1;  // -1: as the catalogue says
};

const BlankCase kBlankCases[] = {
    {"a factory-fresh chip", "16F877A", [](sim::ChipState&) {}, true},
    {"a factory-fresh chip with its calibration word", "12C508A", [](sim::ChipState&) {}, true},
    {"a programmed word", "16F84A", [](sim::ChipState& c) { c.program[512] = 0x0123; }, false},
    {"a programmed last word", "16F84A", [](sim::ChipState& c) { c.program.back() = 0x3412; }, false},
    {"the last word of oscillator list 5", "16F648A", [](sim::ChipState& c) { c.program.back() = 0x3412; }, true, 5},
    {"a 12-bit word that is not FFF", "12C508A", [](sim::ChipState& c) { c.program[0] = 0xFFE; }, false},
    // The 12-bit counter starts on the configuration word: the check steps off it first.
    {"the last 12-bit word before the calibration", "12C508A", [](sim::ChipState& c) { c.program[510] = 0; }, false},
    {"a programmed 18F word", "18F452", [](sim::ChipState& c) { c.program[0x2345] = 0x1234; }, false},
    {"the 14000's last word", "14000", [](sim::ChipState& c) { c.program[4031] = 0x0001; }, false},
    {"the 14000's calibration block", "14000", [](sim::ChipState& c) { c.program[4032] = 0x0001; }, true},
    {"a dead chip", "16F84A", [](sim::ChipState& c) { c.faults.dataIn = sim::DataInFault::kStuckLow; }, false},
};

TEST(Blank, OneProgrammedWordWhereTheCheckLooksIsNotBlank) {
  for (const BlankCase& c : kBlankCases) {
    SCOPED_TRACE(c.name);
    sim::ChipState chip = Factory(c.chip);
    c.change(chip);
    test::SimApp sim(chip, c.chip);
    if (c.oscList >= 0) sim.state().device.oscList = c.oscList;
    test::RecordingUi ui;
    EXPECT_EQ(cmdBlank(sim.state(), ui).outcome, c.blank ? OpOutcome::kOk : OpOutcome::kFailed);
    const std::vector<UserMessage> notErased{{op_text::kPicNotErased, title::kQuorviError, MessageIcon::kExclamation}};
    EXPECT_EQ(ui.messages, c.blank ? std::vector<UserMessage>{} : notErased);
    EXPECT_TRUE(sim.PoweredDown());
    ASSERT_FALSE(ui.statusTexts.empty());
    EXPECT_EQ(ui.statusTexts.front(), op_text::kTestingBlank);
    EXPECT_FALSE(ui.progressVisible);
    EXPECT_FALSE(ui.statusVisible);
  }
}

// Protected chips come out blank; the commands as a chip takes them: code,
// and (data word) for loads.
TEST(Erase, EachFamilysCommandsClearCodeProtection) {
  const char* const bulkErase = "0(0000) 9 11 0(3FFF) 6 6 6 6 6 6 6 1 7 8 1 7 3(3FFF) 1 7 8 1 7 ";
  const std::string deviceId = "0(0000) 6 6 6 6 6 6 4 ";  // at 2006h, in a power cycle of its own
  const std::pair<const char*, std::string> cases[] = {
      // Bulk erase of program and data memory, then code-protect sequences A and B.
      {"16F84A", bulkErase},
      {"16F877", deviceId + bulkErase},
      {"16F877A", deviceId + "0(0000) 31 "},  // chip erase
      {"16F819", deviceId + "0(0000) 31 "},
      {"16F72", "9 "},  // bulk erase of program memory alone
  };
  for (const auto& [name, commands] : cases) {
    SCOPED_TRACE(name);
    sim::ChipState chip = test::PatternedChip(name);
    sim::SetCodeProtection(*sim::FindChip(name).value(), chip, true, true);
    test::SimApp sim(chip, name);
    (void)sim.TakeWrites();
    test::RecordingUi ui;
    const OpResult erased = cmdFill(sim.state(), ui, false);
    EXPECT_TRUE(erased.ok());
    EXPECT_EQ(test::ToString(test::DecodeFrames(test::FallingEdgeBits(sim.TakeWrites()), false)), commands);
    EXPECT_TRUE(erased.refreshConfig);
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_TRUE(sim.PoweredDown());
    ASSERT_FALSE(ui.statusTexts.empty());
    EXPECT_EQ(ui.statusTexts.front(), op_text::kErasing);
    for (size_t i = 0; i < sim.chip().program.size(); ++i) ASSERT_EQ(sim.chip().program[i], 0x3FFF) << i;
    for (size_t j = 0; j < sim.chip().data.size(); ++j) ASSERT_EQ(sim.chip().data[j], 0xFF) << j;
  }
}

TEST(Erase, BandGapChipsKeepTheirCalibrationWordUnlessAskedAndTheirBandGapBits) {
  for (const bool blankCalibration : {false, true}) {
    const char* name = blankCalibration ? "16F676" : "12F675";
    SCOPED_TRACE(name);
    sim::ChipState chip = Factory(name, blankCalibration ? 12 : 11);
    const int calibration = chip.program.back();
    const int bandgap = chip.config & 0x3000;
    ASSERT_NE(bandgap, 0);
    chip.program[0] = 0x0123;
    chip.config = bandgap | 0x01F4;  // unprotected: /CP and /CPD set
    test::SimApp sim(chip, name);
    sim.state().image.configWord = 0x0155;
    test::RecordingUi ui;
    ASSERT_TRUE(cmdFill(sim.state(), ui, blankCalibration).ok());
    EXPECT_EQ(sim.chip().program.back(), blankCalibration ? 0x3FFF : calibration);
    EXPECT_EQ(sim.chip().config & 0x3000, bandgap);
    EXPECT_EQ(sim.chip().config & 0x01FF, 0x01FF);
    EXPECT_EQ(sim.chip().program[0], 0x3FFF);
    EXPECT_EQ(sim.state().savedCalibration, calibration);
    EXPECT_EQ(sim.state().savedBandgap, bandgap);
    EXPECT_EQ(sim.state().image.configWord, 0x0155);  // the image's value comes back
    EXPECT_TRUE(sim.PoweredDown());
  }
}

}  // namespace
}  // namespace quorvi
