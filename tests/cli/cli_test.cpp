// SPDX-License-Identifier: GPL-3.0-or-later
// quorvi2-cli run as a separate process by the scripts in tests/data/cli, in
// a temporary home folder on the simulated board, with a chip-state file that
// carries the chip from run to run. A script's "> " lines are commands; the
// other lines are what they gave, which a run must give again.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>

#include "support/golden.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

class Script {
 public:
  // Runs every command of `script`, keeping its comments.
  std::string Run(const std::string& script) {
    for (const std::string& line : test::SplitLines(script)) {
      if (line.empty() || line.starts_with('#')) out_ += line + "\n";
      if (!line.starts_with("> ")) continue;
      out_ += line + "\n";
      Do(line.substr(2));
    }
    return out_;
  }

 private:
  // After " ~ " a command may give a pattern for the lines to show. Progress
  // percentages and estimated times follow the timing, not what the tool did,
  // and are left out.
  void Do(std::string line) {
    line = test::Replaced(test::Replaced(line, "$HOME", home_.path().string()), "$SRC", QUORVI_SOURCE_DIR);
    const size_t tilde = line.find(" ~ ");
    const std::regex shown(tilde == std::string::npos ? "" : line.substr(tilde + 3));
    const std::regex noise(R"(^! (\d+%|.*\(estimated time on a real port\))$)");
    for (const std::string& out : Lines(line.substr(0, tilde))) {
      if (out.starts_with("exit ") || (std::regex_search(out, shown) && !std::regex_search(out, noise))) Note(out);
    }
  }

  // What a command gives: "run" runs the tool with the home, chip and clock
  // options, "bare" with the home only; "read" shows a file as one line.
  std::vector<std::string> Lines(const std::string& command) {
    const std::vector<std::string> w = test::Words(command);
    const std::filesystem::path file = home_.path() / w.at(1);
    if (w.at(0) == "write") return home_.Write(w.at(1), w.at(2)), std::vector<std::string>{};
    if (w.at(0) == "read") return {"\"" + test::Escaped(home_.Read(w.at(1))) + "\""};
    if (w.at(0) == "lines") return test::SplitLines(home_.Read(w.at(1)));
    if (w.at(0) == "remove") return std::filesystem::remove(file), std::vector<std::string>{};
    if (w.at(0) == "exists") return {w.at(1) + (std::filesystem::exists(file) ? "" : " missing")};
    const std::string home = home_.path().string();
    const test::CommandOutput run = test::RunCommand(
        std::string(QUORVI_CLI_PATH) + " --home '" + home + "' " +
        (w.at(0) == "run" ? "--chip '" + home + "/chip.json' --clock virtual " : "") + command.substr(w[0].size()) +
        " 2>'" + home + "/stderr' </dev/null");
    std::vector<std::string> lines = {"exit " + std::to_string(run.exitCode)};
    for (const std::string& out : test::SplitLines(run.out)) lines.push_back("  " + out);
    for (const std::string& err : test::SplitLines(home_.Read("stderr"))) lines.push_back("! " + err);
    return lines;
  }

  void Note(std::string line) {
    line = test::Replaced(line, home_.path().string(), "$HOME");
    line = test::Replaced(line, std::filesystem::path(QUORVI_CLI_PATH).parent_path().string(), "$BIN");
    out_ += test::Replaced(line, QUORVI_SOURCE_DIR, "$SRC") + "\n";
  }

  test::TempDir home_;
  std::string out_;
};

TEST(Cli, EachScriptGivesWhatItSays) {
  for (const std::string& name : test::DataFiles("cli", ".txt")) {
    EXPECT_EQ(test::GoldenMismatch("cli/" + name, Script().Run(test::Golden("cli/" + name))), "");
  }
}

// On a terminal the bar redraws one line and is wiped before anything else
// is said; without one nothing of it appears. What is left on screen is the
// text after each line's last carriage return.
TEST(Cli, ProgressIsOneRedrawnLineOnATerminalAndAbsentOtherwise) {
  test::TempDir home;
  const std::string tool = std::string(QUORVI_CLI_PATH) + " --home " + home.path().string() +
                           " --port sim --clock virtual --device 16F84A write " + QUORVI_SOURCE_DIR +
                           "/examples/eeprom_16f84a.inhx32.hex";
  ASSERT_TRUE(test::HaveProgram("script"));
  const test::CommandOutput onTerminal = test::RunCommand("script -qefc '" + tool + "' /dev/null");
  ASSERT_EQ(onTerminal.exitCode, 0) << onTerminal.out;
  EXPECT_NE(onTerminal.out.find("\r["), std::string::npos) << "no bar drawn";
  for (const std::string& line : test::SplitLines(onTerminal.out)) {
    const std::string shown = line.substr(line.rfind('\r') == std::string::npos ? 0 : line.rfind('\r') + 1);
    EXPECT_EQ(shown.find('%'), std::string::npos) << "a bar left on screen: " << test::Escaped(line);
  }
  const test::CommandOutput toFile = test::RunCommand(tool + " 2>&1");
  ASSERT_EQ(toFile.exitCode, 0) << toFile.out;
  EXPECT_EQ(toFile.out.find('%'), std::string::npos) << toFile.out;
}

}  // namespace
}  // namespace quorvi
