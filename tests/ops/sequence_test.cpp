// SPDX-License-Identifier: GPL-3.0-or-later
// The commands each operation puts on the lines, decoded as a chip takes them.
#include <gtest/gtest.h>

#include <algorithm>

#include "ops/blank_erase.h"
#include "ops/config_write.h"
#include "ops/read.h"
#include "protocol/serial_protocol.h"
#include "support/line_trace.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

std::vector<test::Frame> Operate(test::SimApp& sim, const std::function<void(AppState&, UiHost&)>& operation) {
  sim.TakeWrites();
  test::RecordingUi ui;
  operation(sim.state(), ui);
  return test::DecodeFrames(test::FallingEdgeBits(sim.TakeWrites()), false);
}

test::Frame C(int code) {
  test::Frame frame;
  frame.code = code;
  return frame;
}

test::Frame L(int code, int word) {
  test::Frame frame = C(code);
  frame.word = word;
  return frame;
}

std::vector<test::Frame> Increments(int count) { return std::vector<test::Frame>(static_cast<size_t>(count), C(6)); }

std::vector<test::Frame> Join(std::initializer_list<std::vector<test::Frame>> parts) {
  std::vector<test::Frame> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST(EraseSequence, DefaultBulkEraseThenCodeProtectSequencesAAndB) {
  test::SimApp sim(test::PatternedChip("16F84A"), "16F84A");
  const auto frames = Operate(sim, [](AppState& s, UiHost& ui) { cmdFill(s, ui, false); });
  const auto expected = Join({{L(0, 0), C(9), C(11)},
                              {L(0, 0x3FFF)},
                              Increments(7),
                              {C(1), C(7), C(8), C(1), C(7)},
                              {L(3, 0x3FFF), C(1), C(7), C(8), C(1), C(7)}});
  EXPECT_EQ(test::ToString(frames), test::ToString(expected));
}

TEST(EraseSequence, ChipEraseForFamiliesEightAndNine) {
  for (const std::string chip : {"16F877A", "16F818"}) {
    test::SimApp sim(test::PatternedChip(chip), chip);
    const auto frames = Operate(sim, [](AppState& s, UiHost& ui) { cmdFill(s, ui, false); });
    // The device ID at 2006h first, in a power cycle of its own.
    EXPECT_EQ(test::ToString(frames), test::ToString(Join({{L(0, 0)}, Increments(6), {C(4), L(0, 0), C(31)}})))
        << chip;
  }
}

TEST(EraseSequence, FamilySixBulkErasesProgramMemoryAlone) {
  test::SimApp sim(test::PatternedChip("16F72"), "");
  DeviceDescriptor& device = sim.state().device;
  device.name = "16F72";
  device.programSize = 2047;
  device.family = 6;
  device.pinCount = 28;
  const auto frames = Operate(sim, [](AppState& s, UiHost& ui) { cmdFill(s, ui, false); });
  EXPECT_EQ(test::ToString(frames), test::ToString({C(9)}));
}

TEST(BlankSequence, TwelveBitPartsStepOffTheConfigurationWordFirst) {
  test::SimApp sim(test::BlankChip("12C508A"), "12C508A");
  const auto frames = Operate(sim, [](AppState& s, UiHost& ui) { cmdBlank(s, ui); });
  ASSERT_GE(frames.size(), 3U);
  EXPECT_EQ(frames[0], C(6));
  EXPECT_EQ(frames[1], C(4));
  // 511 words checked (the calibration word is left out), each read then stepped past.
  EXPECT_EQ(std::count(frames.begin(), frames.end(), C(4)), 511);
}

TEST(ReadSequence, TwelveBitPartsReadTheConfigurationWordBeforeAddressZero) {
  test::SimApp sim(test::PatternedChip("12C508A"), "12C508A");
  const auto frames = Operate(sim, [](AppState& s, UiHost& ui) { cmdRead(s, ui, read_mode::kFull); });
  ASSERT_GE(frames.size(), 3U);
  EXPECT_EQ(frames[0], C(4));
  EXPECT_EQ(frames[1], C(6));
  EXPECT_EQ(frames[2], C(4));
}

TEST(FuseSequence, OneTimeProgrammableWordGetsAHundredRounds) {
  sim::ChipState chip = test::BlankChip("16C73");
  chip.pulses = {.seed = 1, .minPulses = 1, .maxPulses = 1};
  test::SimApp sim(chip, "16C73");
  sim.state().image.configWord = 0x3FB1;
  sim.state().image.idWords[0] = 0x0005;
  const auto frames = Operate(sim, [](AppState& s, UiHost& ui) { cmdWriteFuse(s, ui); });
  ASSERT_GE(frames.size(), 10U);
  EXPECT_EQ(frames[0], L(0, 0x0005));  // Load Configuration with the first ID word
  EXPECT_EQ(std::count(frames.begin(), frames.end(), C(8)), 100);
  EXPECT_EQ(std::count(frames.begin(), frames.end(), C(14)), 100);
  EXPECT_EQ(sim.chip().config, 0x3FB1 & 0x003F);  // the original 16C73 implements bits 5:0
}

TEST(FuseSequence, TwelveBitPartsProgramWhereTheCounterStarts) {
  test::SimApp sim(test::BlankChip("12C508A"), "12C508A");
  sim.state().image.configWord = 0xFEA;
  const auto frames = Operate(sim, [](AppState& s, UiHost& ui) { cmdWriteFuse(s, ui); });
  ASSERT_GE(frames.size(), 2U);
  EXPECT_EQ(frames[0], L(2, 0xFEA));
  EXPECT_EQ(std::count(frames.begin(), frames.end(), C(6)), 0);
  EXPECT_EQ(std::count(frames.begin(), frames.end(), L(0, 0)), 0);
}

// DS39603 knows no End Programming 001110: the EPROM pulses that would follow
// the flash cycle would clock into self-timed cycles, so none are sent.
TEST(FuseSequence, FamilyNineRunsTheFlashSequenceOnly) {
  test::SimApp sim(test::BlankChip("16F818"), "16F818");
  sim.state().image.configWord = 0x3F30;
  const auto frames = Operate(sim, [](AppState& s, UiHost& ui) { cmdWriteFuse(s, ui); });
  EXPECT_EQ(std::count(frames.begin(), frames.end(), C(24)), 1);
  EXPECT_EQ(std::count(frames.begin(), frames.end(), C(23)), 1);
  EXPECT_EQ(std::count(frames.begin(), frames.end(), C(8)), 0);
  EXPECT_EQ(sim.chip().config, 0x3F30);
}

}  // namespace
}  // namespace quorvi
