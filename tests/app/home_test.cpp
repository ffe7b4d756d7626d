// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/home.h"

#include <gtest/gtest.h>

#include "support/golden.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(ResolveAppPaths, OptionThenEnvironmentThenExecutableFolderThenXdg) {
  test::TempDir dir;
  dir.Write("own/device.ini", "PIC16F84\r\n");
  const std::string folder = dir.path().string();
  const auto resolve = [&](const std::vector<std::string>& a) {
    std::filesystem::remove_all(dir.path() / "bin");
    HomeSources s;
    s.executableFolder = folder + "/bin";
    s.userHome = "/home/ada";
    s.installedData = "/usr/share/quorvi";
    for (const std::string& word : a) {
      const std::string value = test::Replaced(word.substr(word.find('=') + 1), "$DIR", folder);
      if (word == "bin") dir.Write("bin/device.ini", "PIC16F84\r\n");
      if (word.starts_with("xdg=")) s.xdgConfigHome = value;
      if (word.starts_with("env=")) s.environment = value;
      if (word.starts_with("option=")) s.option = value;
    }
    const AppPaths p = ResolveAppPaths(s);
    return test::Replaced(p.home + ", " + p.data + " | " + p.Settings() + ", " + p.ErrorLog() + ", " + p.Catalogue() +
                              ", " + p.Sound(),
                          folder, "$DIR");
  };
  EXPECT_EQ(test::TableMismatches("home.txt", {{"Resolve", resolve}}), "");
}

}  // namespace
}  // namespace quorvi
