// SPDX-License-Identifier: GPL-3.0-or-later
// Which programming cycles an 18F452 image takes: none for FFFFh groups, one
// multi-panel cycle where panels share an offset, single ones otherwise.
#include "ops/pic18_program_write.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace quorvi {
namespace {

constexpr size_t kWords452 = 0x4000;

// "M0010,4010" for a multi-panel cycle, "S6010" for a single one.
std::string Text(const std::vector<PanelCycle>& cycles) {
  std::string text;
  for (const PanelCycle& cycle : cycles) {
    text += text.empty() ? "" : " ";
    text += cycle.multiPanel ? "M" : "S";
    for (size_t i = 0; i < cycle.groups.size(); ++i) {
      char address[8];
      std::snprintf(address, sizeof address, "%s%04X", i == 0 ? "" : ",", cycle.groups[i]);
      text += address;
    }
  }
  return text;
}

TEST(Pic18ProgramWrite, CyclesForEachLayout) {
  const std::pair<const char*, std::vector<std::pair<size_t, int>>> layouts[] = {
      {"", {}},
      // A word of a group is enough; 0000h is data too.
      {"S0008", {{5, 0x0000}}},
      {"M0010,4010", {{0x0008, 0x1234}, {0x200B, 0xFF00}}},
      // Panel 4's lone group is written after panel 1's, in address order.
      {"M0000,2000,6000 S0018 S6010", {{0, 1}, {0x1000, 2}, {0x3000, 3}, {0x000C, 4}, {0x3008, 5}}},
      {"S7FF8", {{0x3FFF, 0x00FF}}},
  };
  for (const auto& [expected, words] : layouts) {
    std::vector<int> image(kWords452, 0xFFFF);
    for (const auto& [address, word] : words) image[address] = word;
    EXPECT_EQ(Text(PlanPanelCycles(image)), expected);
  }
}

TEST(Pic18ProgramWrite, TwoKilobytesAreSingleCyclesAndAFullImageMultiPanelOnes) {
  std::vector<int> image(kWords452, 0x0000);
  const std::vector<PanelCycle> full = PlanPanelCycles(image);
  ASSERT_EQ(full.size(), 0x2000U / 8);
  EXPECT_EQ(full.back(), (PanelCycle{true, {0x1FF8, 0x3FF8, 0x5FF8, 0x7FF8}}));
  std::fill(image.begin() + 1024, image.end(), 0xFFFF);
  const std::vector<PanelCycle> small = PlanPanelCycles(image);
  ASSERT_EQ(small.size(), 2048U / 8);
  EXPECT_EQ(small.back(), (PanelCycle{false, {0x07F8}}));
}

}  // namespace
}  // namespace quorvi
