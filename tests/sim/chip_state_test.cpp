// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/chip_state.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "chip_routines.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

const sim::ChipInfo& Info(const char* name) { return *sim::FindChip(name).value(); }

std::string TempPath(const std::string& leaf) {
  return (std::filesystem::temp_directory_path() / ("quorvi-" + std::to_string(::getpid()) + "-" + leaf)).string();
}

TEST(ChipState, BlankAndFactory) {
  const sim::ChipState blank = sim::BlankState(Info("12F629"));
  EXPECT_EQ(blank.program.size(), 1024U);
  EXPECT_EQ(blank.data.size(), 128U);
  EXPECT_EQ(blank.program[0x3FF], 0x3FFF);
  EXPECT_EQ(blank.config, 0x31FF);

  const sim::ChipState factory = sim::FactoryState(Info("12F629"), 3);
  EXPECT_EQ(factory.program[0x3FF] & 0x3F00, 0x3400);
  EXPECT_EQ(factory.config & 0x01FF, 0x01FF);
  EXPECT_EQ(sim::FactoryState(Info("12F629"), 3), factory) << "the seed decides";

  const sim::ChipState c508 = sim::FactoryState(Info("12C508"), 3);
  EXPECT_EQ(c508.program[0x1FF] & 0xF00, 0xC00);
  EXPECT_EQ(c508.config, 0xFFF);
}

TEST(ChipState, JsonRoundTripKeepsEverything) {
  sim::ChipState state = sim::FactoryState(Info("16F877A"), 42);
  state.program[17] = 0x2817;
  state.data[3] = 0x5A;
  state.ids = {1, 2, 3, 4};
  state.config = 0x3F72;
  state.pulses = {.seed = 77, .minPulses = 2, .maxPulses = 5};
  state.timingMargin = 1.0;
  state.faults.noChip = true;
  state.faults.dataIn = sim::DataInFault::kStuckHigh;
  state.faults.neverProgram = {5, 0x2007};
  state.faults.marginCells = {{.address = 9, .belowVolts = 4.5, .aboveVolts = 5.5, .xorMask = 3}};
  const auto back = sim::ChipStateFromJson(sim::ChipStateToJson(state));
  ASSERT_TRUE(back.ok()) << back.message();
  EXPECT_EQ(back.value(), state);
}

TEST(ChipState, AWriteInOneRunIsReadInTheNext) {
  const std::string path = TempPath("run.json");
  {
    SimLink first("16F84A");
    SerialProtocol p = first.Protocol(1);
    p.EnterProgrammingMode();
    test::ProgramWord(p, first.info(), 0x3055);
    p.LeaveProgrammingMode();
    ASSERT_TRUE(sim::SaveChipState(first.state(), path).ok());
  }
  const auto loaded = sim::LoadChipState(path);
  ASSERT_TRUE(loaded.ok()) << loaded.message();
  SimLink second(loaded.value());
  SerialProtocol p = second.Protocol(1);
  p.EnterProgrammingMode();
  EXPECT_EQ(p.ReadProgramWord(), 0x3055);
  std::filesystem::remove(path);
}

TEST(ChipState, ShortFilesFillTheRestBlankAndCodeProtectSetsTheBits) {
  const auto state = sim::ChipStateFromJson(
      R"({"format": "quorvi-chip-state", "version": 1, "chip": "16F628", "program": [10, 11], "codeProtect": true})");
  ASSERT_TRUE(state.ok()) << state.message();
  EXPECT_EQ(state.value().program[1], 11);
  EXPECT_EQ(state.value().program[2], 0x3FFF);
  EXPECT_EQ(state.value().data[0], 0xFF);
  EXPECT_EQ(state.value().config, 0x3FFF & ~0x3C00 & ~0x0100);
  EXPECT_EQ(state.value().timingMargin, 0.5);
}

struct BadFile {
  const char* why;
  const char* text;
  const char* message;  // a part of the message
};

class ChipStateErrors : public ::testing::TestWithParam<BadFile> {};

TEST_P(ChipStateErrors, AreNamed) {
  const auto state = sim::ChipStateFromJson(GetParam().text);
  ASSERT_FALSE(state.ok());
  EXPECT_NE(state.message().find(GetParam().message), std::string::npos) << state.message();
}

#define HEAD R"("format": "quorvi-chip-state", "version": 1, )"
INSTANTIATE_TEST_SUITE_P(
    Sim, ChipStateErrors,
    ::testing::Values(BadFile{"NotJson", "{", "not a JSON object"},
                      BadFile{"WrongFormat", R"({"format": "x", "version": 1, "chip": "16F84"})", "format"},
                      BadFile{"WrongVersion", R"({"format": "quorvi-chip-state", "version": 2})", "version"},
                      BadFile{"UnknownChip", "{" HEAD R"("chip": "16F999"})", "16F999"},
                      BadFile{"ParallelChip", "{" HEAD R"("chip": "16C57"})", "parallel"},
                      BadFile{"WordTooWide", "{" HEAD R"("chip": "12C508", "program": [4096]})", "program[0]"},
                      BadFile{"ByteTooWide", "{" HEAD R"("chip": "16F84", "data": [1, 256]})", "data[1]"},
                      BadFile{"BadDataIn", "{" HEAD R"("chip": "16F84", "faults": {"dataIn": "low"}})", "dataIn"},
                      BadFile{"MarginWithoutVolts",
                              "{" HEAD R"("chip": "16F84", "faults": {"marginCells": [{"address": 1}]}})",
                              "marginCells[0]"},
                      BadFile{"PulsesUpsideDown", "{" HEAD R"("chip": "16C61", "pulses": {"min": 5, "max": 2}})",
                              "pulses.max"},
                      BadFile{"ZeroMargin", "{" HEAD R"("chip": "16C61", "timingMargin": 0})", "timingMargin"}),
    [](const ::testing::TestParamInfo<BadFile>& param) { return std::string(param.param.why); });
#undef HEAD

TEST(ChipState, MoreWordsThanTheChipHasAreRefused) {
  std::string text = R"({"format": "quorvi-chip-state", "version": 1, "chip": "16F83", "program": [0)";
  for (int i = 1; i < 513; ++i) text += ",0";
  text += "]}";
  const auto state = sim::ChipStateFromJson(text);
  ASSERT_FALSE(state.ok());
  EXPECT_NE(state.message().find("513 entries"), std::string::npos) << state.message();
}

TEST(ChipState, MissingFileIsNamed) {
  const auto state = sim::LoadChipState("/nonexistent/chip.json");
  ASSERT_FALSE(state.ok());
  EXPECT_NE(state.message().find("/nonexistent/chip.json"), std::string::npos);
}

TEST(ChipState, SaveReplacesTheFileWhole) {
  const std::string path = TempPath("replace.json");
  {
    std::ofstream old(path);
    old << "old content that is longer than nothing";
  }
  sim::ChipState state = sim::BlankState(Info("12CE519"));
  ASSERT_TRUE(sim::SaveChipState(state, path).ok());
  const auto back = sim::LoadChipState(path);
  ASSERT_TRUE(back.ok()) << back.message();
  EXPECT_EQ(back.value(), state);
  EXPECT_FALSE(std::filesystem::exists(path + ".tmp"));
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace quorvi
