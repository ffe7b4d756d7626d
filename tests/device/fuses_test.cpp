// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/fuses.h"

#include <gtest/gtest.h>

#include <map>

namespace quorvi {
namespace {

DeviceDescriptor WithFuses(const std::map<int, std::string>& names, int oscList = 1) {
  DeviceDescriptor d;
  for (const auto& [bit, name] : names) d.fuseNames[static_cast<size_t>(bit)] = name;
  d.oscList = static_cast<int16_t>(oscList);
  return d;
}

TEST(ApplyFuseButton, EachButtonPutsItsBitsOnItsSide) {
  // A 16F628-like map: CP groups, inverted power-up timer, brown-out pair.
  const DeviceDescriptor d = WithFuses({{13, "CP0"}, {12, "CP0"}, {5, "CP0"}, {4, "CP0"}, {8, "CPD"},
                                        {7, "LVP"}, {6, "BODEN"}, {3, "PWRTE/"}, {2, "WDTE"}, {9, "BKB"},
                                        {11, "BORV1"}, {10, "BORV0"}});
  const DeviceDescriptor low = WithFuses({{7, "BORV1"}, {6, "BORV0"}, {9, "WRT"}});
  struct Case {
    const DeviceDescriptor& map;
    int32_t word;
    const char* button;
    int32_t expected;
  };
  for (const Case& c : {
           Case{d, 0x3FFF, "PWRTE_ON", 0x3FF7},  // an inverted bit: "on" clears it
           Case{d, 0x3FF7, "PWRTE_OFF", 0x3FFF},
           Case{d, 0x3FFF, "CP0_ON", 0x0FCF},  // protection on: all four bits 0
           Case{d, 0x0FCF, "CP0_OFF", 0x3FFF},
           Case{d, 0x0000, "WDT_ON", 0x0004},
           Case{d, 0x3FFF, "WDT_OFF", 0x3FFB},
           Case{d, 0x3FFF, "CPD_ON", 0x3EFF},
           Case{d, 0x3FFF, "LVP_OFF", 0x3F7F},
           Case{d, 0x3FFF, "BODEN_OFF", 0x3FBF},
           Case{d, 0x3FFF, "DEBUG_ON", 0x3DFF},
           Case{d, 0x3FFF, "op45", 0x33FF},
           Case{d, 0x0000, "op25", 0x0C00},
           Case{d, 0x3FFF, "op27", 0x3BFF},
           Case{d, 0x3FFF, "MCLRE_INT", 0x3FFF},  // no such fuse: unchanged
           Case{low, 0x3FFF, "op42", 0x3F7F},     // brown-out 4.2 V on bits 7 and 6
           Case{low, 0x3FFF, "cmbWRT:ON", 0x3DFF},
           Case{low, 0x3DFF, "cmbWRT:OFF", 0x3FFF},
       }) {
    EXPECT_EQ(ApplyFuseButton(c.map, c.word, 0x3FFF, c.button), c.expected) << c.button;
  }
  EXPECT_FALSE(ApplyFuseButton(d, 0x3FFF, 0x3FFF, "NO_SUCH_BUTTON").has_value());
  // A 12-bit part clears within FFFh.
  EXPECT_EQ(SetFuseBits(0xFFF, 0x8, 0xFFF, false), 0xFF7);
  EXPECT_EQ(SetFuseBits(0xFFF, -0x8, 0xFFF, true), 0xFF7);
  EXPECT_EQ(SetFuseBits(0x123, 0, 0xFFF, true), 0x123);
}

TEST(Oscillator, ListFiveAndTenPutIndexBit2OnWordBit4AndTheIndexIsReadBack) {
  EXPECT_EQ(ApplyOscillator(0x3FFF, 0x3FFF, 5, 7, 8), 0x3FFF);
  EXPECT_EQ(ApplyOscillator(0x3FFF, 0x3FFF, 5, 4, 8), 0x3FFC);
  EXPECT_EQ(ApplyOscillator(0x3FFF, 0x3FFF, 10, 2, 8), 0x3FEE);
  EXPECT_EQ(ApplyOscillator(0x3FFF, 0x3FFF, 1, 1, 4), 0x3FFD);
  EXPECT_EQ(ApplyOscillator(0x3FF8, 0x3FFF, 3, 5, 8), 0x3FFD);
  EXPECT_EQ(ApplyOscillator(0xFFF, 0xFFF, 2, 2, 4), 0xFFE);
  // And back: the index shown for a word.
  struct Case {
    int oscList;
    int32_t word;
    int index;
  };
  for (const Case& c : {Case{1, 0x3FFE, 2}, {2, 0xFF1, 1}, {3, 0x3FF5, 5}, {7, 0x3FFC, 4}, {4, 0x3FF1, 1},
                        {5, 0x3FF3, 7}, {5, 0x3FE3, 3}, {10, 0x0010, 4}, {6, 0x3FFF, 0}, {0, 0x3FFF, 0}}) {
    EXPECT_EQ(OscillatorIndex(c.oscList, c.word), c.index) << c.oscList << " " << c.word;
  }
}

TEST(ShowConfigWord, ChoosesButtonsByAllBitsAndReversesNegativeMasks) {
  const DeviceDescriptor d = WithFuses({{13, "CP0"}, {12, "CP0"}, {5, "CP0"}, {4, "CP0"}, {3, "PWRTE/"},
                                        {2, "WDTE"}, {9, "WRT"}, {7, "BORV1"}, {6, "BORV0"}},
                                       1);
  // One CP0 bit clear is enough to show protection on; bit 3 clear shows the timer on.
  const ConfigDisplay shown = ShowConfigWord(d, 0x3DF6 & ~0x80, {0x1, 0x2AB, -1, 0}, 4);
  EXPECT_EQ(shown.txtFuses, " Fuse=3D76");
  EXPECT_EQ(shown.oscIndex, 2);
  EXPECT_EQ(shown.choices, (std::vector<FuseChoice>{{"WDTE", "WDT_ON"}, {"PWRTE", "PWRTE_ON"}, {"CP0", "CP0_OFF"}}));
  EXPECT_EQ(shown.wrtText, "ON");
  EXPECT_EQ(shown.borvButton, "op42");
  EXPECT_EQ(shown.idTexts, (std::array<std::string, 4>{"1", "2AB", "FFFFFFFF", "0"}));

  const ConfigDisplay cp = ShowConfigWord(d, 0x3FEF, {}, 4);
  EXPECT_EQ(cp.choices[2], (FuseChoice{"CP0", "CP0_ON"}));
  EXPECT_EQ(cp.wrtText, "OFF");
  EXPECT_EQ(cp.borvButton, "op25");

  const DeviceDescriptor rc = WithFuses({}, 3);
  EXPECT_FALSE(ShowConfigWord(rc, 0x3FFF, {}, 4).oscIndex.has_value()) << "an index outside the list is left alone";
  EXPECT_EQ(ShowConfigWord(rc, 0x3FFB, {}, 4).oscIndex, 3);
  EXPECT_EQ(FuseText(0x1F), " Fuse=1F");
  EXPECT_EQ(FuseText(0), " Fuse=0");
}

TEST(ParseIdEntry, ClampsAndConvertsLikeTheOldReader) {
  struct Case {
    const char* typed;
    IdEntry entry;
  };
  for (const Case& c : {Case{"4000", {0x3FFF, "3FFF"}}, {"3FFF", {0x3FFF, "3FFF"}}, {"12", {0x12, "12"}},
                        {"FFFF", {-1, "FFFF"}}, {"8000", {-32768, "8000"}}, {"10000", {0x3FFF, "3FFF"}},
                        {"", {0, ""}}, {"xyz", {0, "xyz"}}, {"1g", {1, "1g"}}}) {
    EXPECT_EQ(ParseIdEntry(c.typed), c.entry) << c.typed;
  }
}

}  // namespace
}  // namespace quorvi
