// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/settings.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "support/temp_dir.h"

namespace quorvi {
namespace {

// Port, custom port, checked entry, mode, device and working directory.
std::string Fields(const Settings& s) {
  static const char* const kEntries[] = {"lpt1", "lpt2", "custom"};
  char ports[48];
  std::snprintf(ports, sizeof ports, "%lX %lX %s ", s.port, s.customPort, kEntries[static_cast<int>(s.portEntry)]);
  return ports + s.mode + " " + s.deviceName + " " + s.workingDirectory;
}

std::string Loaded(const std::string& text) {
  test::TempDir home;
  const Result<Settings> loaded = LoadSettings(home.Write("quorvi2.ini", text), "/home/user");
  return loaded.ok() ? Fields(loaded.value()) : loaded.message();
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

TEST(LoadSettings, ReadsEachPortFormAndFallsBackOnEmptyLines) {
  const std::string rest = "\r\nPROD\r\n16F877\r\n/work\r\n";
  for (const auto& [text, fields] : std::initializer_list<std::pair<std::string, std::string>>{
           {"LPT1" + rest, "378 0 lpt1 PROD 16F877 /work"},
           {"LPT2" + rest, "278 0 lpt2 PROD 16F877 /work"},
           {"LPT 3BC" + rest, "3BC 3BC custom PROD 16F877 /work"},
           {"LPT 1F00" + rest, "1F00 1F00 custom PROD 16F877 /work"},
           // Three digits after "LPT1": the last four characters take its "1" too.
           {"LPT13BC" + rest, "378 13BC lpt1 PROD 16F877 /work"},
           {"COM1" + rest, "378 0 lpt1 PROD 16F877 /work"},
           {"LPT2\r\nPROD\r\n\r\n", "278 0 lpt2 PROD 16F84 /home/user"}}) {
    EXPECT_EQ(Loaded(text), fields) << text;
  }
}

// Read back as the old program read them: a voltage on line 4 becomes the
// working directory, the custom address after "LPT2" is read with its "2",
// and the second port line of a custom 378h is skipped, so nothing moves down.
TEST(SettingsText, EachWriterWritesItsLinesAndTheyReadBackAsTheyAlwaysDid) {
  const Settings lpt2{.port = 0x278, .customPort = 0x3BC, .portEntry = PortEntry::kLpt2, .mode = "PROD",
                      .deviceName = "16F628", .workingDirectory = "/home/me/hex"};
  Settings custom378;  // on 378h, the default port
  custom378.customPort = 0x378;
  struct Case {
    Settings settings;
    SettingsExtent extent;
    float vddMin, vddMax;
    std::string text;
    std::string readBack;
  };
  for (const Case& c : {
           Case{lpt2, SettingsExtent::kThroughDevice, 0, 0, "LPT23BC\r\nPROD\r\n16F628\r\n",
                "278 23BC lpt2 PROD 16F628 /home/user"},
           Case{lpt2, SettingsExtent::kThroughWorkingDirectory, 0, 0, "LPT23BC\r\nPROD\r\n16F628\r\n/home/me/hex\r\n",
                "278 23BC lpt2 PROD 16F628 /home/me/hex"},
           Case{lpt2, SettingsExtent::kThroughVddMargins, 4.5F, 5.0F, "LPT23BC\r\nPROD\r\n16F628\r\n4.5\r\n5\r\n",
                "278 23BC lpt2 PROD 16F628 4.5"},
           Case{lpt2, SettingsExtent::kThroughVddMargins, 2.7F, 0.0392F,
                "LPT23BC\r\nPROD\r\n16F628\r\n2.7\r\n0.0392\r\n", "278 23BC lpt2 PROD 16F628 2.7"},
           Case{custom378, SettingsExtent::kThroughWorkingDirectory, 0, 0,
                "LPT1378\r\nLPT 378\r\nPROT\r\n16F84\r\n\r\n", "378 378 lpt1 PROT 16F84 /home/user"},
       }) {
    EXPECT_EQ(SettingsText(c.settings, c.extent, c.vddMin, c.vddMax), c.text);
    EXPECT_EQ(Loaded(c.text), c.readBack) << c.text;
  }
}

}  // namespace
}  // namespace quorvi
