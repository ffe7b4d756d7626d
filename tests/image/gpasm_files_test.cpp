// SPDX-License-Identifier: GPL-3.0-or-later
// The examples are what gpasm makes of their sources; what each loads as is
// a case in tests/data/examples.
#include <gtest/gtest.h>

#include "image/image_test_util.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(GpasmFile, ExamplesAreWhatGpasmMakesOfTheirSources) {
  if (!test::HaveProgram("gpasm")) GTEST_SKIP() << "gpasm (package gputils) is not installed";
  struct Source {
    const char* name;
    const char* part;
    bool inhx8m;
  };
  test::TempDir dir;
  for (const Source s : {Source{"blink_12c508a", "12c508a", true}, {"eeprom_16f84a", "16f84a", true},
                         {"eeprom_16f628a", "16f628a", true}, {"blink_18f452", "18f452", false}}) {
    for (const bool eight : {false, true}) {
      if (eight && !s.inhx8m) continue;
      const std::string kind = eight ? "inhx8m" : "inhx32";
      const std::string out = (dir.path() / (std::string(s.name) + "." + kind + ".hex")).string();
      const std::string command = "gpasm -q -p " + std::string(s.part) + (eight ? " -a inhx8m " : " ") +
                                  test::ExamplePath(std::string(s.name) + ".asm") + " -o " + out;
      ASSERT_EQ(test::RunCommand(command).exitCode, 0) << command;
      const std::string made = dir.Read(std::string(s.name) + "." + kind + ".hex");
      EXPECT_FALSE(made.empty());
      EXPECT_EQ(made, test::RunCommand("cat " + test::ExamplePath(std::string(s.name) + "." + kind + ".hex")).out)
          << s.name << " " << kind;
    }
  }
}

}  // namespace
}  // namespace quorvi
