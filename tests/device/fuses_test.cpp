// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/fuses.h"

#include <gtest/gtest.h>

#include <map>

#include "support/golden.h"
#include "util/arith.h"

namespace quorvi {
namespace {

DeviceDescriptor WithFuses(const std::map<int, std::string>& names, int oscList = 1) {
  DeviceDescriptor d;
  for (const auto& [bit, name] : names) d.fuseNames[static_cast<size_t>(bit)] = name;
  d.oscList = static_cast<int16_t>(oscList);
  return d;
}

// The rows of fuse_tables.txt: each button, oscillator entry and typed ID.
TEST(FuseTables, EachRowGivesItsWord) {
  // A 16F628-like map: CP groups, inverted power-up timer, brown-out pair;
  // and one with brown-out on bits 7 and 6 and a single write protection.
  const std::map<std::string, DeviceDescriptor> maps = {
      {"628", WithFuses({{13, "CP0"}, {12, "CP0"}, {5, "CP0"}, {4, "CP0"}, {8, "CPD"}, {7, "LVP"}, {6, "BODEN"},
                         {3, "PWRTE/"}, {2, "WDTE"}, {9, "BKB"}, {11, "BORV1"}, {10, "BORV0"}})},
      {"low", WithFuses({{7, "BORV1"}, {6, "BORV0"}, {9, "WRT"}})}};
  const auto tables = test::DataSections("fuse_tables.txt");
  for (const auto& row : test::Rows(tables.at("buttons"))) {
    const std::optional<int32_t> word = ApplyFuseButton(maps.at(row[0]), test::FromHex(row[1]), 0x3FFF, row[2]);
    EXPECT_EQ(word ? HexText(*word) : "none", row[3]) << row[0] << " " << row[2];
  }
  for (const auto& row : test::Rows(tables.at("oscillator entries"))) {
    EXPECT_EQ(ApplyOscillator(test::FromHex(row[0]), test::FromHex(row[1]), std::stoi(row[2]), std::stoi(row[3]),
                              std::stoi(row[4])),
              test::FromHex(row[5]))
        << row[2] << " " << row[3];
  }
  for (const auto& row : test::Rows(tables.at("oscillator index"))) {
    EXPECT_EQ(OscillatorIndex(std::stoi(row[0]), test::FromHex(row[1])), std::stoi(row[2])) << row[0] << " " << row[1];
  }
  for (const auto& row : test::Rows(tables.at("typed IDs"))) {
    EXPECT_EQ(ParseIdEntry(row[0]), (IdEntry{std::stoi(row[1]), row[2]})) << row[0];
  }
  // A 12-bit part clears within FFFh.
  EXPECT_EQ(SetFuseBits(0xFFF, 0x8, 0xFFF, false), 0xFF7);
  EXPECT_EQ(SetFuseBits(0xFFF, -0x8, 0xFFF, true), 0xFF7);
  EXPECT_EQ(SetFuseBits(0x123, 0, 0xFFF, true), 0x123);
}

TEST(ShowConfigWord, ChoosesButtonsByAllBitsAndReversesNegativeMasks) {
  const DeviceDescriptor d = WithFuses({{13, "CP0"}, {12, "CP0"}, {5, "CP0"}, {4, "CP0"}, {3, "PWRTE/"},
                                        {2, "WDTE"}, {9, "WRT"}, {7, "BORV1"}, {6, "BORV0"}});
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

}  // namespace
}  // namespace quorvi
