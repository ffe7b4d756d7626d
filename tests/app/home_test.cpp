// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/home.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(ResolveAppPaths, OptionThenEnvironmentThenExecutableFolderThenXdg) {
  test::TempDir dir;
  const std::string exe = (dir.path() / "bin").string();
  HomeSources s;
  s.executableFolder = exe;
  s.userHome = "/home/ada";
  s.installedData = "/usr/share/quorvi";

  EXPECT_EQ(ResolveAppPaths(s).home, "/home/ada/.config/quorvi");
  EXPECT_EQ(ResolveAppPaths(s).data, "/usr/share/quorvi");
  s.xdgConfigHome = "/xdg";
  EXPECT_EQ(ResolveAppPaths(s).home, "/xdg/quorvi");

  dir.Write("bin/device.ini", "PIC16F84\r\n");  // a build tree or portable install
  EXPECT_EQ(ResolveAppPaths(s).home, exe);
  EXPECT_EQ(ResolveAppPaths(s).data, exe);

  s.environment = "/env/home";
  EXPECT_EQ(ResolveAppPaths(s).home, "/env/home");
  EXPECT_EQ(ResolveAppPaths(s).data, exe) << "a home without a catalogue reads the shipped one";
  s.option = "/opt/home";
  const AppPaths paths = ResolveAppPaths(s);
  EXPECT_EQ(paths.home, "/opt/home");
  EXPECT_EQ(paths.Settings(), "/opt/home/quorvi2.ini");
  EXPECT_EQ(paths.ErrorLog(), "/opt/home/quorvi2.err");
  EXPECT_EQ(paths.Catalogue(), exe + "/device.ini");

  dir.Write("own/device.ini", "PIC16F84\r\n");
  s.option = (dir.path() / "own").string();
  EXPECT_EQ(ResolveAppPaths(s).Catalogue(), *s.option + "/device.ini");
  EXPECT_EQ(ResolveAppPaths(s).Sound(), *s.option + "/ok.wav");
}

}  // namespace
}  // namespace quorvi
