// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/settings.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(LoadSettings, AMissingFileIsCreatedWithTheDefaultsAndReadsBackAlike) {
  test::TempDir home;
  const std::string path = (home.path() / "quorvi2.ini").string();
  for (int pass = 0; pass < 2; ++pass) {
    Result<Settings> loaded = LoadSettings(path, "/home/user");
    ASSERT_TRUE(loaded.ok()) << loaded.message();
    EXPECT_EQ(home.Read("quorvi2.ini"), "LPT1\r\nPROT\r\n16F84\r\n");
    EXPECT_EQ(loaded.value().port, 0x378);
    EXPECT_EQ(loaded.value().portEntry, PortEntry::kLpt1);
    EXPECT_EQ(loaded.value().mode, "PROT");
    EXPECT_EQ(loaded.value().deviceName, "16F84");
    EXPECT_EQ(loaded.value().workingDirectory, "/home/user");
  }
}

TEST(LoadSettings, ReadsEachPortFormAndFallsBackOnEmptyLines) {
  struct Case {
    std::string text;
    long port;
    long custom;
    PortEntry entry;
    const char* device = "16F877";
    const char* directory = "/work";
  };
  const std::string rest = "\r\nPROD\r\n16F877\r\n/work\r\n";
  for (const Case& c : {Case{"LPT1" + rest, 0x378, 0, PortEntry::kLpt1},
                        Case{"LPT2" + rest, 0x278, 0, PortEntry::kLpt2},
                        Case{"LPT 3BC" + rest, 0x3BC, 0x3BC, PortEntry::kCustom},
                        Case{"LPT 1F00" + rest, 0x1F00, 0x1F00, PortEntry::kCustom},
                        // Three digits after "LPT1": the last four characters take its "1" too.
                        Case{"LPT13BC" + rest, 0x378, 0x13BC, PortEntry::kLpt1},
                        Case{"COM1" + rest, 0x378, 0, PortEntry::kLpt1},
                        Case{"LPT2\r\nPROD\r\n\r\n", 0x278, 0, PortEntry::kLpt2, "16F84", "/home/user"}}) {
    test::TempDir home;
    Result<Settings> loaded = LoadSettings(home.Write("quorvi2.ini", c.text), "/home/user");
    ASSERT_TRUE(loaded.ok());
    EXPECT_EQ(loaded.value().port, c.port) << c.text;
    EXPECT_EQ(loaded.value().customPort, c.custom) << c.text;
    EXPECT_EQ(loaded.value().portEntry, c.entry) << c.text;
    EXPECT_EQ(loaded.value().mode, "PROD");
    EXPECT_EQ(loaded.value().deviceName, c.device);
    EXPECT_EQ(loaded.value().workingDirectory, c.directory);
  }
}

TEST(SettingsText, EachWriterWritesItsLines) {
  Settings s;
  s.port = 0x278;
  s.customPort = 0x3BC;
  s.portEntry = PortEntry::kLpt2;
  s.mode = "PROD";
  s.deviceName = "16F628";
  s.workingDirectory = "/home/me/hex";
  EXPECT_EQ(SettingsText(s, SettingsExtent::kThroughDevice), "LPT23BC\r\nPROD\r\n16F628\r\n");
  EXPECT_EQ(SettingsText(s, SettingsExtent::kThroughWorkingDirectory),
            "LPT23BC\r\nPROD\r\n16F628\r\n/home/me/hex\r\n");
  const std::string withMargins = SettingsText(s, SettingsExtent::kThroughVddMargins, 4.5F, 5.0F);
  EXPECT_EQ(withMargins, "LPT23BC\r\nPROD\r\n16F628\r\n4.5\r\n5\r\n");

  // Read back, the minimum voltage on line 4 becomes the working directory.
  test::TempDir home;
  Result<Settings> loaded = LoadSettings(home.Write("quorvi2.ini", withMargins), "/home/me");
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded.value().workingDirectory, "4.5");
}

TEST(SettingsText, ACustomAddressOf378hGivesTwoPortLines) {
  Settings s;
  s.port = 0x378;
  s.customPort = 0x378;
  s.deviceName = "16F84";
  const std::string text = SettingsText(s, SettingsExtent::kThroughWorkingDirectory);
  EXPECT_EQ(text, "LPT1378\r\nLPT 378\r\nPROT\r\n16F84\r\n\r\n");

  // Read back, the second port line is skipped: nothing moves down a line.
  test::TempDir home;
  const std::string path = home.Write("quorvi2.ini", text);
  Result<Settings> loaded = LoadSettings(path, "/home/me");
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded.value().port, 0x378);
  EXPECT_EQ(loaded.value().mode, "PROT");
  EXPECT_EQ(loaded.value().deviceName, "16F84");
  EXPECT_EQ(loaded.value().customPort, 0x378);
}

TEST(NumberText, ShortestPlainForm) {
  for (const auto& [value, text] : {std::pair{5.0F, "5"}, {4.5F, "4.5"}, {2.7F, "2.7"}, {0.0392F, "0.0392"}}) {
    EXPECT_EQ(NumberText(value), text);
  }
}

}  // namespace
}  // namespace quorvi
