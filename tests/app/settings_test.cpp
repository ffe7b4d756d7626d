// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/settings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "support/golden.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

const char* const kEntries[] = {"lpt1", "lpt2", "custom"};

std::string Fields(const Settings& s) {
  char ports[48];
  std::snprintf(ports, sizeof ports, "%lX %lX %s ", s.port, s.customPort, kEntries[static_cast<int>(s.portEntry)]);
  return ports + s.mode + " " + s.deviceName + " " + s.workingDirectory;
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

}  // namespace
}  // namespace quorvi
