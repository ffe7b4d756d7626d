// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/command_line.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(ParseLegacyOptions, FindsEachOptionAnywhereAndUpperCasesValues) {
  const LegacyOptions o = ParseLegacyOptions("/w /f:c:\\work\\a.hex /q /d:16f84a");
  EXPECT_TRUE(o.quiet);
  EXPECT_TRUE(o.write);
  EXPECT_EQ(o.device, "16F84A");
  EXPECT_EQ(o.file, "C:\\WORK\\A.HEX");
  EXPECT_EQ(o.upperLine, "/W /F:C:\\WORK\\A.HEX /Q /D:16F84A");
}

TEST(ParseLegacyOptions, AbsentAndEmptyValues) {
  const LegacyOptions none = ParseLegacyOptions("");
  EXPECT_FALSE(none.quiet);
  EXPECT_FALSE(none.write);
  EXPECT_FALSE(none.device.has_value());
  EXPECT_FALSE(none.file.has_value());

  const LegacyOptions empty = ParseLegacyOptions("/D: /W");
  ASSERT_TRUE(empty.device.has_value());
  EXPECT_EQ(*empty.device, "");
  EXPECT_TRUE(empty.write);
}

TEST(ParseLegacyOptions, SlashesInsideLinuxPathsAreNotOptions) {
  const LegacyOptions o = ParseLegacyOptions("/D:16F84 /F:/home/quinn/work/a.hex");
  EXPECT_EQ(o.file, "/HOME/QUINN/WORK/A.HEX");
  EXPECT_FALSE(o.write);
  EXPECT_FALSE(o.quiet);
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
