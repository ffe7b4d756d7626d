// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/settings.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(LoadSettings, AMissingFileIsCreatedWithTheDefaults) {
  test::TempDir home;
  const std::string path = (home.path() / "quorvi2.ini").string();
  Result<Settings> loaded = LoadSettings(path, "/home/user");
  ASSERT_TRUE(loaded.ok()) << loaded.message();
  EXPECT_EQ(home.Read("quorvi2.ini"), "LPT1\r\nPROT\r\n16F84\r\n");
  EXPECT_EQ(loaded.value().port, 0x378);
  EXPECT_EQ(loaded.value().portEntry, PortEntry::kLpt1);
  EXPECT_EQ(loaded.value().mode, "PROT");
  EXPECT_EQ(loaded.value().deviceName, "16F84");
  EXPECT_EQ(loaded.value().workingDirectory, "/home/user");

  // Read back, the created file gives the same settings.
  Result<Settings> again = LoadSettings(path, "/home/user");
  ASSERT_TRUE(again.ok());
  EXPECT_EQ(again.value().port, 0x378);
  EXPECT_EQ(again.value().deviceName, "16F84");
}

TEST(LoadSettings, ReadsEachPortForm) {
  struct Case {
    const char* line1;
    long port;
    long custom;
    PortEntry entry;
  };
  for (const Case& c : {Case{"LPT1", 0x378, 0, PortEntry::kLpt1},
                        Case{"LPT2", 0x278, 0, PortEntry::kLpt2},
                        Case{"LPT 3BC", 0x3BC, 0x3BC, PortEntry::kCustom},
                        Case{"LPT 1F00", 0x1F00, 0x1F00, PortEntry::kCustom},
                        // Three digits after "LPT1": the last four characters take its "1" too.
                        Case{"LPT13BC", 0x378, 0x13BC, PortEntry::kLpt1},
                        Case{"COM1", 0x378, 0, PortEntry::kLpt1}}) {
    test::TempDir home;
    const std::string path = home.Write("quorvi2.ini", std::string(c.line1) + "\r\nPROD\r\n16F877\r\n/work\r\n");
    Result<Settings> loaded = LoadSettings(path, "/home/user");
    ASSERT_TRUE(loaded.ok());
    EXPECT_EQ(loaded.value().port, c.port) << c.line1;
    EXPECT_EQ(loaded.value().customPort, c.custom) << c.line1;
    EXPECT_EQ(loaded.value().portEntry, c.entry) << c.line1;
    EXPECT_EQ(loaded.value().mode, "PROD");
    EXPECT_EQ(loaded.value().deviceName, "16F877");
    EXPECT_EQ(loaded.value().workingDirectory, "/work");
  }
}

TEST(LoadSettings, EmptyOrMissingLinesFallBack) {
  test::TempDir home;
  const std::string path = home.Write("quorvi2.ini", "LPT2\r\nPROD\r\n\r\n");
  Result<Settings> loaded = LoadSettings(path, "/home/me");
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded.value().deviceName, "16F84");
  EXPECT_EQ(loaded.value().workingDirectory, "/home/me");
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
  EXPECT_EQ(SettingsText(s, SettingsExtent::kThroughVddMargins, 4.5F, 5.0F),
            "LPT23BC\r\nPROD\r\n16F628\r\n4.5\r\n5\r\n");
}

TEST(SettingsText, ACustomAddressOf378hGivesTwoPortLines) {
  Settings s;
  s.port = 0x378;
  s.customPort = 0x378;
  s.deviceName = "16F84";
  const std::string text = SettingsText(s, SettingsExtent::kThroughWorkingDirectory);
  EXPECT_EQ(text, "LPT1378\r\nLPT 378\r\nPROT\r\n16F84\r\n\r\n");

  // Read back, everything has moved down a line: the mode is the second port
  // line and the device name is "PROT".
  test::TempDir home;
  const std::string path = home.Write("quorvi2.ini", text);
  Result<Settings> loaded = LoadSettings(path, "/home/me");
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded.value().mode, "LPT 378");
  EXPECT_EQ(loaded.value().deviceName, "PROT");
  EXPECT_EQ(loaded.value().customPort, 0x1378);
}

TEST(SettingsText, AVoltageOnLine4IsReadBackAsTheWorkingDirectory) {
  Settings s;
  test::TempDir home;
  const std::string path = (home.path() / "quorvi2.ini").string();
  ASSERT_TRUE(WriteSettings(path, s, SettingsExtent::kThroughVddMargins, 4.5F, 5.5F).ok());
  Result<Settings> loaded = LoadSettings(path, "/home/me");
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded.value().workingDirectory, "4.5");
}

TEST(NumberText, ShortestPlainForm) {
  EXPECT_EQ(NumberText(5.0F), "5");
  EXPECT_EQ(NumberText(4.5F), "4.5");
  EXPECT_EQ(NumberText(2.7F), "2.7");
  EXPECT_EQ(NumberText(0.0392F), "0.0392");
}

}  // namespace
}  // namespace quorvi
