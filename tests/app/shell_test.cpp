// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/shell.h"

#include <gtest/gtest.h>

#include "hw/recording_port.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

// An application state on a recording port, with the shipped catalogue and
// a settings file in a temporary home folder.
struct ShellFixture : ::testing::Test {
  ShellFixture()
      : state(AppPaths{home.path().string(), QUORVI_DATA_DIR}, std::make_unique<VirtualClock>(),
              std::make_unique<RecordingPort>()) {
    EXPECT_TRUE(LoadSettingsInto(state, "/home/ada").ok());
  }
  RecordingPort& port() { return dynamic_cast<RecordingPort&>(state.link.driver()); }
  std::string SettingsFile() { return home.Read("quorvi2.ini"); }

  test::TempDir home;
  AppState state;
};

PortOpener RecordingOpener(std::vector<long>& opened) {
  return [&opened](long base) -> Result<std::unique_ptr<PortDriver>> {
    opened.push_back(base);
    if (base == 0x3BC) return Status::Fail("No parallel port at 0x3BC");
    return std::unique_ptr<PortDriver>(std::make_unique<RecordingPort>());
  };
}

TEST_F(ShellFixture, SelectionRemembersTheDeviceInLines1To3) {
  Result<SelectionView> view = SelectAndRemember(state, "16F628", false);
  ASSERT_TRUE(view.ok()) << view.message();
  EXPECT_EQ(state.device.name, "16F628");
  EXPECT_EQ(SettingsFile(), "LPT10\r\nPROT\r\n16F628\r\n");
  EXPECT_FALSE(SelectAndRemember(state, "16F999", false).ok());
  EXPECT_EQ(state.device.name, "16F628");
}

TEST_F(ShellFixture, ModeChangeWritesLines1To4AndResetsTheProgrammer) {
  const int64_t before = state.clock->Nanoseconds();
  port().Clear();
  ASSERT_TRUE(ChooseMode(state, "PROD").ok());
  EXPECT_TRUE(state.productionMode());
  EXPECT_EQ(SettingsFile(), "LPT10\r\nPROD\r\n16F84\r\n/home/ada\r\n");
  const std::vector<uint8_t> writes = port().Writes();
  ASSERT_GE(writes.size(), 2U);
  EXPECT_EQ(writes.front(), 0x3C);
  EXPECT_EQ(writes.back() & 0x3C, 0x3C) << "supplies off";
  EXPECT_GE(state.clock->Nanoseconds() - before, 250'000'000) << "the supply level reset";
}

TEST_F(ShellFixture, PortEntriesMoveThePortAndRewriteTheFile) {
  std::vector<long> opened;
  ASSERT_TRUE(ChoosePort(state, PortEntry::kLpt2, RecordingOpener(opened)).ok());
  EXPECT_EQ(state.settings.port, 0x278);
  EXPECT_EQ(SettingsFile(), "LPT20\r\nPROT\r\n16F84\r\n/home/ada\r\n");

  ASSERT_TRUE(ChangeCustomAddress(state, "", RecordingOpener(opened)).ok());
  EXPECT_EQ(state.settings.port, 0x278) << "an empty answer changes nothing";

  const Status failed = ChangeCustomAddress(state, "3bc", RecordingOpener(opened));
  EXPECT_FALSE(failed.ok());
  EXPECT_EQ(state.settings.port, 0x3BC);
  EXPECT_EQ(state.settings.portEntry, PortEntry::kCustom);
  EXPECT_EQ(CustomPortCaption(state.settings), "LPT? on 3BCh");
  EXPECT_EQ(SettingsFile(), "LPT 3BC\r\nPROT\r\n16F84\r\n/home/ada\r\n");
  EXPECT_EQ(opened, (std::vector<long>{0x278, 0x3BC}));
  EXPECT_NE(state.link.driver().Describe().find("No parallel port at 0x3BC"), std::string::npos);
}

TEST_F(ShellFixture, SupplyMarginsAreCheckedAndWrittenInLines4And5) {
  ASSERT_TRUE(SelectAndRemember(state, "16F84", false).ok());
  EXPECT_FALSE(EnterVddMargin(state, false, "4").has_value());
  EXPECT_FLOAT_EQ(state.device.vddMin, 4.0F);
  EXPECT_EQ(SettingsFile(), "LPT10\r\nPROT\r\n16F84\r\n4\r\n5.5\r\n");

  const std::optional<UserMessage> high = EnterVddMargin(state, true, "10");
  ASSERT_TRUE(high.has_value());
  EXPECT_EQ(high->text, "Voltage to high");
  EXPECT_EQ(high->icon, MessageIcon::kCritical);
  for (const char* answer : {"abc", "0", "-1", ""}) {
    const std::optional<UserMessage> wrong = EnterVddMargin(state, true, answer);
    ASSERT_TRUE(wrong.has_value()) << answer;
    EXPECT_EQ(wrong->text, "wrong value");
  }
  EXPECT_FLOAT_EQ(state.device.vddMax, 5.5F);
}

TEST_F(ShellFixture, TheEndLeavesEverySupplyOff) {
  state.link.SetVdd("on");
  state.link.SetVpp2(kTrue);
  EndSession(state);
  EXPECT_EQ(state.link.outputShadow() & 0x3F, 0x3C);
}

}  // namespace
}  // namespace quorvi
