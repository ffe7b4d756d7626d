// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/command_line.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(ParseLegacyOptions, FindsEachOptionStartingAWordAndUpperCasesValues) {
  struct Case {
    const char* line;
    bool quiet;
    bool write;
    std::optional<std::string> device;
    std::optional<std::string> file;
  };
  // Slashes inside Linux paths do not start options.
  for (const Case& c : {Case{"/w /f:c:\\work\\a.hex /q /d:16f84a", true, true, "16F84A", "C:\\WORK\\A.HEX"},
                        Case{"", false, false, std::nullopt, std::nullopt},
                        Case{"/D: /W", false, true, "", std::nullopt},
                        Case{"/D:16F84 /F:/home/quinn/work/a.hex", false, false, "16F84", "/HOME/QUINN/WORK/A.HEX"}}) {
    const LegacyOptions o = ParseLegacyOptions(c.line);
    EXPECT_EQ(o.quiet, c.quiet) << c.line;
    EXPECT_EQ(o.write, c.write) << c.line;
    EXPECT_EQ(o.device, c.device) << c.line;
    EXPECT_EQ(o.file, c.file) << c.line;
  }
  EXPECT_EQ(ParseLegacyOptions("/w /f:a.hex").upperLine, "/W /F:A.HEX");
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
