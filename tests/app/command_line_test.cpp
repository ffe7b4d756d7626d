// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/command_line.h"

#include <gtest/gtest.h>

#include "support/golden.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

std::string Parsed(const std::vector<std::string>& args) {
  const LegacyOptions o = ParseLegacyOptions(args.at(0));
  return "[" + o.upperLine + "] " + (o.quiet ? "quiet " : "") + (o.write ? "write, " : "") + "device " +
         o.device.value_or("(none)") + ", file " + o.file.value_or("(none)");
}

TEST(ParseLegacyOptions, FindsEachOptionStartingAWordAndUpperCasesValues) {
  EXPECT_EQ(test::TableMismatches("command_line.txt", {{"ParseLegacyOptions", Parsed}}), "");
}

TEST(FindPathIgnoringCase, MatchesEachPartWithoutRegardToCase) {
  test::TempDir dir;
  const std::string real = dir.Write("Work/Blink.hex", ":00000001FF\n");
  const std::string root = dir.path().string();
  EXPECT_EQ(FindPathIgnoringCase(root + "/WORK/BLINK.HEX"), real);
  EXPECT_EQ(FindPathIgnoringCase(real), real);
  EXPECT_EQ(FindPathIgnoringCase(root + "/WORK/OTHER.HEX"), root + "/WORK/OTHER.HEX");
}

}  // namespace
}  // namespace quorvi
