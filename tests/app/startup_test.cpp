// SPDX-License-Identifier: GPL-3.0-or-later
// What the program reads as it starts: where its home folder is, the settings
// file there, and the old program's command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "app/command_line.h"
#include "app/home.h"
#include "app/settings.h"
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
      if (word.starts_with("installed=")) s.installedData = value;
    }
    const AppPaths p = ResolveAppPaths(s);
    return test::Replaced(p.home + ", " + p.data + " | " + p.Settings() + ", " + p.ErrorLog() + ", " + p.Catalogue() +
                              ", " + p.Sound(),
                          folder, "$DIR");
  };
  EXPECT_EQ(test::TableMismatches("home.txt", {{"Resolve", resolve}}), "");
}

const char* const kEntries[] = {"lpt1", "lpt2", "custom"};

std::string Fields(const Settings& s) {
  char ports[48];
  std::snprintf(ports, sizeof ports, "%lX %lX %s ", s.port, s.customPort, kEntries[static_cast<int>(s.portEntry)]);
  return ports + s.mode + " " + s.deviceName + " " + s.workingDirectory + (s.legacyFiles ? " legacy-files" : "");
}

std::string Loaded(const std::string& text) {
  test::TempDir home;
  const Result<Settings> loaded = LoadSettings(home.Write("quorvi2.ini", text), "/home/user");
  return loaded.ok() ? Fields(loaded.value()) : loaded.message();
}

// The settings as Fields shows them, then the writer and its voltages.
std::string Text(const std::vector<std::string>& a) {
  const Settings settings{.port = std::stol(a.at(0), nullptr, 16),
                          .customPort = std::stol(a.at(1), nullptr, 16),
                          .portEntry = static_cast<PortEntry>(std::find(kEntries, kEntries + 3, a.at(2)) - kEntries),
                          .mode = a.at(3),
                          .deviceName = a.at(4),
                          .workingDirectory = a.at(5)};
  const auto extent = a.at(6) == "device"      ? SettingsExtent::kThroughDevice
                      : a.at(6) == "directory" ? SettingsExtent::kThroughWorkingDirectory
                                               : SettingsExtent::kThroughVddMargins;
  const float vddMin = a.size() > 7 ? std::stof(a[7]) : 0, vddMax = a.size() > 8 ? std::stof(a[8]) : 0;
  const std::string text = SettingsText(settings, extent, vddMin, vddMax);
  return "\"" + test::Escaped(text) + "\", read back as " + Loaded(text);
}

TEST(Settings, EachCallGivesWhatItsRowSays) {
  const std::map<std::string, test::Call> calls = {{"Load", [](const auto& a) { return Loaded(a.at(0)); }},
                                                   {"Text", Text}};
  EXPECT_EQ(test::TableMismatches("settings.txt", calls), "");
}

TEST(LoadSettings, AMissingFileIsCreatedWithTheDefaultsAndReadsBackAlike) {
  test::TempDir home;
  for (int pass = 0; pass < 2; ++pass) {
    const Result<Settings> loaded = LoadSettings((home.path() / "quorvi2.ini").string(), "/home/user");
    ASSERT_TRUE(loaded.ok()) << loaded.message();
    EXPECT_EQ(home.Read("quorvi2.ini"), "LPT1\r\nPROT\r\n16F84\r\n");
    EXPECT_EQ(Fields(loaded.value()), "378 0 lpt1 PROT 16F84 /home/user");
  }
}

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
