// SPDX-License-Identifier: GPL-3.0-or-later
// What the command-line tool puts on the wires, read back from its --trace
// file (by sigrok where a decoder knows the protocol) and held against the
// chips' documents; the power-down on Ctrl-C; and the device-ID check as a
// user meets it.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "image/image_test_util.h"
#include "protocol/timing.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

class CliTrace : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(test::HaveProgram("sigrok-cli")) << "sigrok-cli is missing: run scripts/install-deps";
  }
  test::CommandOutput Run(const std::string& args) {
    const std::string home = home_.path().string();
    return test::RunCommand(std::string(QUORVI_CLI_PATH) + " --home '" + home + "' --clock virtual " + args +
                            " 2>'" + home + "/stderr' </dev/null");
  }
  std::string Path(const std::string& name) const { return (home_.path() / name).string(); }
  std::string Stderr() const { return home_.Read("stderr"); }

  test::TempDir home_;
};

// An Intel HEX data record and its line end.
std::string Record(int address, const std::vector<int>& bytes) { return test::HexRecord(address, 0, bytes) + "\n"; }

TEST_F(CliTrace, A24C02WriteDecodesAsI2cPageWritesOfTheBytesTheChipKept) {
  std::vector<int> bytes;
  for (int i = 0; i < 16; ++i) bytes.push_back((i * 7 + 3) & 0xFF);
  const std::string hex = home_.Write("e.hex", Record(0x10, bytes) + ":00000001FF\n");
  const auto run = Run("--port sim --chip '" + Path("chip.json") + "' --device 24C02 --trace '" + Path("t.vcd") +
                       "' write '" + hex + "'");
  ASSERT_EQ(run.exitCode, 0) << Stderr();

  const auto decoded = test::RunCommand("sigrok-cli -i '" + Path("t.vcd") +
                                        "' -I vcd:downsample=100 -P i2c:scl=Clock:sda=SDA,eeprom24xx "
                                        "-A eeprom24xx=page-write 2>/dev/null");
  const std::vector<int> chip = nlohmann::json::parse(home_.Read("chip.json")).at("program").get<std::vector<int>>();
  const std::regex page(R"(Page write \(addr=([0-9A-F]{2}), 8 bytes\): ((?:[0-9A-F]{2} ?){8}))");
  int pages = 0;
  bool programmed = false;
  for (auto it = std::sregex_iterator(decoded.out.begin(), decoded.out.end(), page); it != std::sregex_iterator();
       ++it, ++pages) {
    const int address = std::stoi((*it)[1], nullptr, 16);
    std::istringstream values((*it)[2]);
    for (int k = 0; k < 8; ++k) {
      std::string byte;
      values >> byte;
      EXPECT_EQ(std::stoi(byte, nullptr, 16), chip[static_cast<size_t>(address + k)]) << "address " << address + k;
      programmed = programmed || byte != "FF";
    }
  }
  EXPECT_EQ(pages, 32) << decoded.out.substr(0, 2000);
  EXPECT_TRUE(programmed);
}

// One command as the chip takes it: its code and when its last bit fell.
struct Command {
  int code;
  long fallUs;
};

std::vector<Command> DecodeCommands(const std::string& sigrok) {
  std::vector<std::pair<long, int>> bits;
  const std::regex item(R"((\d+)-\d+ parallel-1: (\d))");
  for (auto it = std::sregex_iterator(sigrok.begin(), sigrok.end(), item); it != std::sregex_iterator(); ++it) {
    bits.emplace_back(std::stol((*it)[1]), std::stoi((*it)[2]));
  }
  std::vector<Command> commands;
  for (size_t i = 0; i + 6 <= bits.size();) {
    int code = 0;
    for (size_t b = 0; b < 6; ++b) code |= bits[i + b].second << b;
    commands.push_back({code, bits[i + 5].first});
    i += 6;
    if (code == 0 || code == 2 || code == 3 || code == 4 || code == 5) i += 16;  // the data frame
  }
  return commands;
}

// Each change of the named wires, read straight from the VCD (a DataOut,
// b Clock, c Vdd, d e f Vpp1..3), the first ones from $dumpvars.
struct WireEdge {
  long ns;
  char wire;
  bool high;  // the supplies are active low: high is off
};

std::vector<WireEdge> WireEdges(const std::string& vcd, std::string_view wires) {
  std::vector<WireEdge> edges;
  std::istringstream in(vcd.substr(vcd.find("$dumpvars")));
  std::string line;
  long now = 0;
  while (std::getline(in, line)) {
    if (line.size() == 2 && wires.find(line[1]) != std::string_view::npos) {
      edges.push_back({now, line[1], line[0] == '1'});
    }
    if (!line.empty() && line[0] == '#') now = std::stol(line.substr(1));
  }
  return edges;
}

TEST_F(CliTrace, A16F877AWriteKeepsTheDocumentsWaitsAndStartsWithEverySupplyOff) {
  std::vector<int> program;
  for (int w = 0; w < 16; ++w) {
    program.push_back(w);
    program.push_back(0x28);
  }
  const std::string hex =
      home_.Write("p.hex", ":020000040000FA\n" + Record(0, std::vector<int>(program.begin(), program.begin() + 16)) +
                               Record(16, std::vector<int>(program.begin() + 16, program.end())) +
                               Record(0x400E, {0x72, 0x3F}) + ":00000001FF\n");
  const auto run =
      Run("--port sim --device 16F877A --trace '" + Path("p.vcd") + "' write '" + hex + "'");
  ASSERT_EQ(run.exitCode, 0) << Stderr();

  // Sampled at 1 MHz: every edge of ours is at least a microsecond from the next.
  const auto bits = test::RunCommand("sigrok-cli -i '" + Path("p.vcd") +
                                     "' -I vcd:downsample=1000 -P parallel:clk=Clock:d0=DataOut:clock_edge=falling "
                                     "--protocol-decoder-samplenum 2>/dev/null");
  const std::vector<Command> commands = DecodeCommands(bits.out);
  const ProgrammingTiming& table = TimingOf(TimingClass::kFlash16F87xA);
  int programOnly = 0;
  int configuration = 0;
  for (size_t i = 0; i + 1 < commands.size(); ++i) {
    const long waitedUs = commands[i + 1].fallUs - commands[i].fallUs;
    if (commands[i].code == 24) {
      ++programOnly;
      EXPECT_EQ(commands[i + 1].code, 23) << "Begin Programming Only ends with 010111 (DS39589)";
      EXPECT_GE(waitedUs, static_cast<long>(table.programOnly.ms * 1000.0F)) << table.programOnly.source;
    }
    if (commands[i].code == 8) {
      ++configuration;
      EXPECT_GE(waitedUs, static_cast<long>(table.program.ms * 1000.0F)) << table.program.source;
    }
  }
  EXPECT_EQ(programOnly, 16 + 4 + 256);  // the program words, the ID words, the data EEPROM
  EXPECT_EQ(configuration, 1);

  // No supply comes on before the power-up asks for it, and none for a moment only.
  const std::vector<WireEdge> edges = WireEdges(home_.Read("p.vcd"), "cdef");
  ASSERT_GE(edges.size(), 4U);
  std::map<char, long> onSince;
  for (size_t i = 0; i < edges.size(); ++i) {
    const WireEdge& e = edges[i];
    if (i < 4) {
      EXPECT_TRUE(e.high) << "wire " << e.wire << " at the start";
    }
    if (!e.high) onSince[e.wire] = e.ns;
    if (e.high && onSince.contains(e.wire)) {
      EXPECT_GE(e.ns - onSince[e.wire], 1'000'000) << "wire " << e.wire << " pulsed at " << onSince[e.wire];
      onSince.erase(e.wire);
    }
  }
}

// On the virtual clock every run is the same: a window of a compressed trace
// is the whole trace's levels at its start, then its changes up to its end.
TEST_F(CliTrace, AWindowedCompressedTraceIsThatStretchOfTheWholeTrace) {
  ASSERT_TRUE(test::HaveProgram("zstd")) << "zstd is missing: run scripts/install-deps --test";
  const std::string image = std::string(QUORVI_SOURCE_DIR) + "/examples/eeprom_16f84a.inhx32.hex";
  ASSERT_EQ(Run("--port sim --device 16F84A --trace '" + Path("whole.vcd") + "' write '" + image + "'").exitCode, 0)
      << Stderr();
  ASSERT_EQ(Run("--port sim --device 16F84A --trace '" + Path("part.vcd.zst") + "' --trace-window 200:215 write '" +
                image + "'")
                .exitCode,
            0)
      << Stderr();
  const std::string part = test::RunCommand("zstd -dc '" + Path("part.vcd.zst") + "'").out;
  ASSERT_NE(part.find("#200000000\n$dumpvars"), std::string::npos) << part.substr(0, 1000);

  const auto shown = [](const WireEdge& e) { return std::to_string(e.ns) + " " + e.wire + (e.high ? "1" : "0"); };
  std::map<char, bool> atStart;
  std::vector<std::string> expected;
  for (const WireEdge& e : WireEdges(home_.Read("whole.vcd"), "abcdefghi")) {
    if (e.ns <= 200'000'000) atStart[e.wire] = e.high;
    if (e.ns > 200'000'000 && e.ns <= 215'000'000) expected.push_back(shown(e));
  }
  const std::vector<WireEdge> edges = WireEdges(part, "abcdefghi");
  ASSERT_GT(edges.size(), 9U + 100U);
  std::map<char, bool> dumped;
  std::vector<std::string> changes;
  for (size_t i = 0; i < edges.size(); ++i) {
    if (i < 9) {
      dumped[edges[i].wire] = edges[i].high;
    } else {
      changes.push_back(shown(edges[i]));
    }
  }
  EXPECT_EQ(dumped, atStart);
  EXPECT_EQ(changes, expected);
  EXPECT_EQ(part.substr(part.size() - 11), "#215000000\n");
}

TEST_F(CliTrace, TheDeviceIdStopsAWrongChipUnlessForced) {
  const std::string image = std::string(QUORVI_SOURCE_DIR) + "/examples/eeprom_16f628a.inhx32.hex";
  const auto onA877 = Run("--port sim:16F877A --device 16F628A write '" + image + "'");
  EXPECT_NE(onA877.exitCode, 0);
  EXPECT_NE(Stderr().find("No chip answers as a 16F628A would: its device ID reads 3FFFh (all ones)"),
            std::string::npos)
      << Stderr();
  EXPECT_NE(Stderr().find("--force"), std::string::npos);
  EXPECT_EQ(Stderr().find("Operation OK"), std::string::npos);

  const auto onA648 = Run("--port sim:16F648A --device 16F628A write '" + image + "'");
  EXPECT_NE(onA648.exitCode, 0);
  EXPECT_NE(Stderr().find("not a 16F628A: its device ID reads 1102h, the ID of a 16F648A"), std::string::npos)
      << Stderr();

  const auto forced = Run("--port sim:16F648A --device 16F628A --force write '" + image + "'");
  EXPECT_EQ(forced.exitCode, 0) << Stderr();
  EXPECT_NE(Stderr().find("Going on as asked"), std::string::npos) << Stderr();
  EXPECT_NE(Stderr().find("Operation OK"), std::string::npos);
}

TEST_F(CliTrace, CtrlCDuringAnOperationPowersTheTargetDown) {
  // On the real clock a production-mode erase takes most of a second; interrupt it midway.
  const test::CommandOutput run = test::RunCommand(
      std::string(QUORVI_CLI_PATH) + " --home '" + home_.path().string() + "' --chip '" + Path("chip.json") +
      "' --trace '" + Path("t.vcd") + "' --mode prod --device 16F84A erase 2>'" + Path("stderr") +
      "' & pid=$!; sleep 0.4; kill -INT $pid; wait $pid");
  EXPECT_EQ(run.exitCode, 130) << Stderr();
  EXPECT_NE(Stderr().find("interrupted; the target is powered down"), std::string::npos) << Stderr();
  std::map<char, bool> last;
  for (const WireEdge& e : WireEdges(home_.Read("t.vcd"), "abcdef")) last[e.wire] = e.high;
  // Data and clock low, every supply off.
  const std::map<char, bool> rest{{'a', false}, {'b', false}, {'c', true}, {'d', true}, {'e', true}, {'f', true}};
  EXPECT_EQ(last, rest);
}

}  // namespace
}  // namespace quorvi
