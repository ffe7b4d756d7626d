// SPDX-License-Identifier: GPL-3.0-or-later
// What the 12- and 14-bit chip models do for a host that keeps every rule.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/golden.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::ReadWord;
using test::SimLink;
using test::WriteWord;

TEST(EveryClass, TakesWordsIdsAndDataThroughItsDocumentedSequence) {
  for (const char* chip : {"16C84", "16F84A", "16F628", "16F628A", "12F675", "16F877", "16F877A", "16F819", "16F74",
                           "16C73", "16C558", "14000", "12C509", "16C505"}) {
    SimLink s(chip);
    const int blank = sim::BlankWord(s.info());
    WriteWord(s, 3, 0x2834 & blank);
    WriteWord(s, s.info().kind == sim::ChipClass::kOtp12 ? s.info().idAddress : 0x2000, 0x0005);
    if (s.info().dataBytes > 0) WriteWord(s, sim::kDataSpace + 2, 0xC3);
    EXPECT_EQ(ReadWord(s, 3), 0x2834 & blank) << chip;
    EXPECT_EQ(ReadWord(s, 4), blank) << chip;
    EXPECT_EQ(s.state().ids[0], 0x0005) << chip;
    if (s.info().dataBytes > 0) {
      EXPECT_EQ(ReadWord(s, sim::kDataSpace + 2), 0xC3) << chip;
    }
    EXPECT_EQ(s.Problems(), "") << chip;
  }
}

// Each part enters programming mode only in the order its document gives
// (mode_entry.txt).
TEST(ModeEntry, FollowsEachPartsOrder) {
  for (const auto& row : test::Rows(test::DataSections("mode_entry.txt").at("entries"))) {
    const std::string& chip = row[0];
    SCOPED_TRACE(chip + ", " + row[5]);
    SimLink s(chip);
    if (row[1] == "off") s.state().config &= ~0x0020;
    for (const char step : row[2]) {
      switch (step) {
        case 'H': s.p.EnterProgrammingMode(); break;
        case 'D': s.link.SetVdd("on"); break;
        case 'V': s.link.SetProgrammingVoltage(kTrue, s.info().pins, chip == "14000"); break;
        case '1': s.link.SetVpp1(kTrue); break;
        case '2': s.link.SetVpp2(kTrue); break;
        case 'd': s.link.SetDataLine(kTrue); break;
        default: s.Wait(step == 'w' ? 1.0F : 100.0F);
      }
    }
    EXPECT_EQ(s.chip().inProgrammingMode(), row[3] == "enters");
    const std::string problems = s.Problems();
    EXPECT_TRUE(row[4] == "-" ? problems.empty() : problems.find(row[4]) != std::string::npos) << problems;
  }
}

TEST(WriteLatches, OneCycleWritesTheLoadedBlock) {
  // DS39589, DS39603, DS30324
  for (const auto& [chip, words] : {std::pair{"16F877A", 8}, {"16F818", 4}, {"16F77", 2}}) {
    SimLink s(chip);
    s.p.EnterProgrammingMode();
    for (int i = 0; i < words; ++i) {
      if (i > 0) s.p.IncrementAddress();
      s.p.LoadProgramData(0x100 + i);
    }
    const bool only = s.info().programOnly == sim::ProgramOnlyMode::kExternal;
    s.p.SendCommand(only ? cmd::kBeginProgrammingOnly : cmd::kBeginProgramming);
    s.p.WaitAtLeast(0.0F, s.p.timing().programOnly);
    s.p.SendCommand(only ? cmd::kEndProgramming2 : cmd::kEndProgramming);
    for (int i = 0; i <= words; ++i) {
      EXPECT_EQ(s.state().program[static_cast<size_t>(i)], i < words ? 0x100 + i : 0x3FFF) << chip << " " << i;
    }
    EXPECT_EQ(s.Problems(), "");
  }
  // DS39603: Begin Erase/Programming writes all four latches; one word a cycle keeps only the last.
  SimLink s("16F818");
  s.p.EnterProgrammingMode();
  for (int i = 0; i < 4; ++i) {
    s.p.LoadProgramData(0x100 + i);
    s.p.BeginProgramming();
    s.p.WaitAtLeast(0.0F, s.p.timing().program);
    s.p.IncrementAddress();
  }
  EXPECT_EQ(s.state().program[0], 0x3FFF);
  EXPECT_EQ(s.state().program[3], 0x103);
}

TEST(Eprom, AWordTakesItsPulsesAndCellsOnlyClear) {
  SimLink s("16C73");  // DS30228
  s.state().pulses = {.seed = 1, .minPulses = 3, .maxPulses = 3};
  s.p.EnterProgrammingMode();
  for (int pulse = 1; pulse <= 3; ++pulse) {
    s.p.LoadProgramData(0x00FF);
    s.p.BeginProgramming();
    s.p.WaitAtLeast(0.0F, s.p.timing().pulse);
    s.p.EndProgramming();
    EXPECT_EQ(s.p.ReadProgramWord(), pulse < 3 ? 0x3FFF : 0x00FF) << pulse;
  }
  WriteWord(s, 0, 0x0F0F);
  EXPECT_EQ(ReadWord(s, 0), 0x000F);
  ASSERT_TRUE(s.chip().UvErase().ok());
  EXPECT_EQ(ReadWord(s, 0), 0x3FFF);
  EXPECT_FALSE(SimLink("16F84A").chip().UvErase().ok());
}

TEST(Faults, NeverProgrammedCellsStayBlank) {
  for (const auto& [chip, address] : {std::pair{"16F84A", 1}, {"16F84A", sim::kDataSpace + 1}, {"16C62", 1}}) {
    for (const bool faulty : {false, true}) {
      SimLink s(chip);
      if (faulty) s.state().faults.neverProgram = {address};
      WriteWord(s, address, 0);
      EXPECT_EQ(ReadWord(s, address), !faulty ? 0 : address >= sim::kDataSpace ? 0xFF : 0x3FFF) << chip << address;
      EXPECT_EQ(s.Problems(), "");
    }
  }
}

TEST(Faults, MarginCellsReadWrongOnlyPastTheirVdd) {
  struct Case {
    const char* chip;
    int value;
    sim::MarginCell cell;
    float volts;
    int read;
  };
  for (const Case& c : {Case{"16F628", 0x0100, {2, 4.6, std::nullopt, 0x4}, 4.5F, 0x0104},
                        Case{"16F628", 0x0100, {2, 4.6, std::nullopt, 0x4}, 5.0F, 0x0100},
                        Case{"12C509A", 0x00A, {0xFFF, std::nullopt, 5.3, 0x10}, 5.5F, 0x01A},
                        Case{"16F84A", 0x80, {sim::kDataSpace, 4.8, std::nullopt, 0x80}, 4.5F, 0x00}}) {
    sim::ChipState state = sim::BlankState(*sim::FindChip(c.chip).value());
    const int address = c.cell.address;
    (address >= sim::kDataSpace ? state.data[0] : address == 0xFFF ? state.config : state.program[2]) = c.value;
    state.faults.marginCells = {c.cell};
    SimLink s(state);
    ASSERT_TRUE(s.link.SetVddLevel(5.0F).ok());
    ASSERT_TRUE(s.link.SetVddLevel(c.volts).ok());
    EXPECT_EQ(ReadWord(s, address), c.read) << c.chip << " at " << c.volts << " V";
  }
}

}  // namespace
}  // namespace quorvi
