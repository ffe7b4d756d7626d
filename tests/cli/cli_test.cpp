// SPDX-License-Identifier: GPL-3.0-or-later
// quorvi2-cli run as a separate process in a temporary home folder, on the
// simulated board with a chip-state file that carries the chip from run to run.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

class Cli : public ::testing::Test {
 protected:
  // Runs the tool with the arguments after the home, chip and clock options.
  test::CommandOutput Run(const std::string& args, const std::string& extra = "--clock virtual") {
    const std::string home = home_.path().string();
    return test::RunCommand(std::string(QUORVI_CLI_PATH) + " --home '" + home + "' --chip '" + home +
                            "/chip.json' " + extra + " " + args + " 2>'" + home + "/stderr' </dev/null");
  }
  std::string Stderr() { return home_.Read("stderr"); }

  test::TempDir home_;
};

TEST_F(Cli, ListsDevicesAndShowsOne) {
  test::CommandOutput devices = Run("devices");
  EXPECT_EQ(devices.exitCode, 0);
  EXPECT_NE(devices.out.find("16F877A"), std::string::npos);
  EXPECT_NE(devices.out.find("24LC515"), std::string::npos);
  test::CommandOutput info = Run("info 16F628");
  EXPECT_EQ(info.exitCode, 0);
  EXPECT_NE(info.out.find("bit  4  FOSC2"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("PWRTE  -8"), std::string::npos) << info.out;
}

TEST_F(Cli, AFuseWriteInOneRunIsReadBackInTheNext) {
  test::CommandOutput fuses = Run("--device 16F84A fuses --set WDTE=off --osc 2");
  ASSERT_EQ(fuses.exitCode, 0) << Stderr();
  EXPECT_NE(Stderr().find(" Fuse=3FFA"), std::string::npos) << Stderr();
  EXPECT_NE(Stderr().find("Fuse OK"), std::string::npos);

  const std::string out = (home_.path() / "read.hex").string();
  test::CommandOutput read = Run("--device 16F84A read -o '" + out + "'");
  ASSERT_EQ(read.exitCode, 0) << Stderr();
  // The configuration record of a 16F84A holding 3FFAh.
  EXPECT_NE(home_.Read("read.hex").find(":02400E00FA3F77"), std::string::npos) << home_.Read("read.hex");
  // And the settings file remembers the device.
  EXPECT_NE(home_.Read("quorvi2.ini").find("16F84A"), std::string::npos);
}

TEST_F(Cli, FailuresGiveANonZeroStatusAndOneLine) {
  for (const auto& [args, line] : {std::pair{"--device 16F999 blank", "The device 16F999 is not in the catalogue"},
                                   {"--device 16F84A fuses --set BODEN=on", "has no fuse BODEN"}}) {
    EXPECT_NE(Run(args).exitCode, 0) << args;
    const std::string err = Stderr();
    EXPECT_NE(err.find(line), std::string::npos) << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
  }
  test::CommandOutput badPort = test::RunCommand(std::string(QUORVI_CLI_PATH) + " --home '" +
                                                 home_.path().string() + "' --port com9 blank 2>&1");
  EXPECT_NE(badPort.exitCode, 0);
  EXPECT_NE(badPort.out.find("Unknown port \"com9\""), std::string::npos) << badPort.out;
  EXPECT_EQ(std::count(badPort.out.begin(), badPort.out.end(), '\n'), 1) << badPort.out;
}

TEST_F(Cli, LegacyOptionsSelectAndLoadAFileWhateverItsCase) {
  const std::string file = home_.Write("Work/Blink.hex", ":0400000083168601DC\r\n:00000001FF\r\n");
  std::string upper = file;
  for (char& ch : upper) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  test::CommandOutput legacy = Run("/d:16f84a /f:" + upper + " listing '" + file + "'");
  EXPECT_EQ(legacy.exitCode, 0) << Stderr();
  EXPECT_NE(legacy.out.find("0000: 1683 0186"), std::string::npos) << legacy.out;
}

TEST_F(Cli, QuietModeWithAMissingFileEndsWithAnEmptyLog) {
  home_.Write("quorvi2.err", "an old line\n");
  test::CommandOutput quiet = Run("/D:16F84A /F:/NO/SUCH/FILE.HEX /Q");
  EXPECT_NE(quiet.exitCode, 0);
  EXPECT_EQ(home_.Read("quorvi2.err"), "");
}

const std::string kExample = std::string(QUORVI_SOURCE_DIR) + "/examples/eeprom_16f84a.inhx32.hex";

// A failed quiet write leaves its one log line and a chip that the next
// run's verify finds different; without the fault it leaves no log at all.
TEST_F(Cli, AQuietLegacyWriteIsCheckedByTheNextRunsVerify) {
  for (const bool fault : {true, false}) {
    home_.Write("chip.json", std::string(R"({"format": "quorvi-chip-state", "version": 1, "chip": "16F84A")") +
                                 (fault ? R"(, "faults": {"neverProgram": [3]}})" : "}"));
    std::filesystem::remove(home_.path() / "quorvi2.err");
    EXPECT_EQ(Run("/D:16F84A /F:" + kExample + " /W /Q").exitCode != 0, fault) << Stderr();
    EXPECT_EQ(std::filesystem::exists(home_.path() / "quorvi2.err"), fault);
    EXPECT_EQ(home_.Read("quorvi2.err"), fault ? "Erro gravando dados\n" : "");
    EXPECT_EQ(Run("--device 16F84A verify " + kExample).exitCode != 0, fault) << Stderr();
    EXPECT_EQ(Stderr().find("Quorvi 2 error: PIC not equal at 3h") != std::string::npos, fault) << Stderr();
  }
}

}  // namespace
}  // namespace quorvi
