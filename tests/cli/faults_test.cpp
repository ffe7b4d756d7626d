// SPDX-License-Identifier: GPL-3.0-or-later
// The tool as a user meets it when something is wrong: an empty socket, a bad
// file or catalogue, a port that is not one, a signal, another user's file.
// Each case is a separate process in a home folder of its own.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

namespace fs = std::filesystem;

const std::string kExample = std::string(QUORVI_SOURCE_DIR) + "/examples/eeprom_16f84a.inhx32.hex";

std::string ChipState(const std::string& chip, const std::string& extra = "") {
  return R"({"format": "quorvi-chip-state", "version": 1, "chip": ")" + chip + "\"" + extra + "}";
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class Home {
 public:
  // Runs the tool in the home folder, on the simulated board with chip.json
  // unless `args` name a port or chip; `before` runs in the same shell first.
  test::CommandOutput Run(const std::string& args, const std::string& before = "") const {
    const std::string home = dir_.path().string();
    const bool ownBoard = Contains(args, "--port ") || Contains(args, "--chip ");
    return test::RunCommand("cd '" + home + "' && " + before + " " + QUORVI_CLI_PATH + " --home '" + home + "' " +
                            (ownBoard ? "" : "--chip chip.json ") + "--clock virtual " + args + " 2>stderr </dev/null");
  }
  std::string Stderr() const { return dir_.Read("stderr"); }
  std::string Read(const std::string& name) const { return dir_.Read(name); }
  std::string Write(const std::string& name, const std::string& content) const { return dir_.Write(name, content); }
  fs::path Path(const std::string& name) const { return dir_.path() / name; }
  bool Has(const std::string& name) const { return fs::exists(Path(name)); }

 private:
  test::TempDir dir_;
};

struct FaultCase {
  const char* name;
  std::function<void(const Home&)> prepare;
  std::string args;
  const char* says;  // on stderr
  std::function<void(const Home&)> check;
};

void EmptySocket(const Home& home, const char* chip) {
  home.Write("chip.json", ChipState(chip, R"(, "faults": {"noChip": true})"));
}

// The catalogue with one more device whose program size is read as negative.
std::string CatalogueWithBadLine(const Home& home) {
  std::ifstream shipped(std::string(QUORVI_SOURCE_DIR) + "/data/device.ini", std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(shipped)), std::istreambuf_iterator<char>());
  const std::string bad = "PIC16X99        8000    0000    1       12       0      18      1    0   3.0  5.5\r\n";
  home.Write("device.ini", bad + text);
  return "device.ini line 1: program size 8000h is above 7FFFh";
}

// Every case fails: a non-zero status, a message that names what is wrong,
// and no file left half made or wrongly replaced.
TEST(Faults, EndWithAClearMessageAndANonZeroStatus) {
  const FaultCase cases[] = {
      {"24Cxx read, empty socket", [](const Home& h) { EmptySocket(h, "24C02"); }, "--device 24C02 read -o out.hex",
       "No memory answers at 0h", [](const Home& h) { EXPECT_FALSE(h.Has("out.hex")); }},
      {"24Cxx blank check, empty socket", [](const Home& h) { EmptySocket(h, "24C16"); }, "--device 24C16 blank",
       "No memory answers at 0h", nullptr},
      {"PIC read, empty socket", [](const Home& h) { EmptySocket(h, "16F628A"); }, "--device 16F628A read -o out.hex",
       "No chip answers as a 16F628A", [](const Home& h) { EXPECT_FALSE(h.Has("out.hex")); }},
      {"PIC blank check, empty socket", [](const Home& h) { EmptySocket(h, "16F877A"); }, "--device 16F877A blank",
       "No chip answers as a 16F877A", nullptr},
      {"read of a code-protected chip",
       [](const Home& h) { h.Write("chip.json", ChipState("16F84A", R"(, "codeProtect": true)")); },
       "--device 16F84A read -o out.hex", "Code protection is on", nullptr},
      {"image from a character device", nullptr, "--device 16F84A write /dev/zero", "/dev/zero: is not a regular file",
       nullptr},
      {"image from a fifo", [](const Home& h) { ASSERT_EQ(::mkfifo(h.Path("f.hex").c_str(), 0600), 0); },
       "--device 16F84A write f.hex", "is not a regular file", nullptr},
      {"image no device could need", [](const Home& h) { fs::resize_file(h.Write("big.hex", ""), 17 << 20); },
       "--device 16F84A write big.hex", "big.hex: is too large (17825792 bytes; at most 16777216)", nullptr},
      {"image that is not there", nullptr, "--device 16F84A write none.hex", "file not found: none.hex", nullptr},
      {"image that is a folder", [](const Home& h) { fs::create_directory(h.Path("d.hex")); },
       "--device 16F84A write d.hex", "d.hex: is a directory", nullptr},
      {"catalogue line with a negative size", [](const Home& h) { (void)CatalogueWithBadLine(h); },
       "--device 16X99 blank", "device.ini line 1: program size 8000h", nullptr},
      {"raw port at no parallel port's base", nullptr, "--port raw:0x1234 --device 16F84A blank",
       "0x1234 is not a parallel port base", nullptr},
      {"port file that is no parallel port", nullptr, "--port /dev/null --device 16F84A blank",
       "/dev/null is not a parallel port device", nullptr},
      {"trace that cannot be written", nullptr, "--trace /dev/full --device 16F84A blank", "/dev/full", nullptr},
      {"chip state behind a symlink loop", [](const Home& h) { fs::create_symlink("loop", h.Path("loop")); },
       "--chip loop/chip.json --device 16F84A blank", "loop/chip.json", nullptr},
  };
  for (const FaultCase& c : cases) {
    SCOPED_TRACE(c.name);
    Home home;
    if (c.prepare) c.prepare(home);
    const test::CommandOutput run = home.Run(c.args);
    EXPECT_EQ(run.exitCode, 1) << home.Stderr();
    EXPECT_TRUE(Contains(home.Stderr(), c.says)) << home.Stderr();
    if (c.check) c.check(home);
  }
}

TEST(Faults, ABadCatalogueLineIsNamedAndTheOthersStillLoad) {
  Home home;
  const std::string named = CatalogueWithBadLine(home);
  const test::CommandOutput run = home.Run("devices");
  EXPECT_EQ(run.exitCode, 0) << home.Stderr();
  EXPECT_TRUE(Contains(home.Stderr(), named)) << home.Stderr();
  EXPECT_FALSE(Contains(run.out, "16X99"));
  EXPECT_TRUE(Contains(run.out, "16F877A"));
}

// Unattended, every failure leaves exactly one line, and the status says it.
TEST(Faults, QuietRunsLeaveOneLineForEveryFailure) {
  const struct {
    const char* name;
    std::string args;
    const char* line;
  } cases[] = {
      {"device the catalogue lacks", "/D:16X99 /F:" + kExample + " /W /Q", "The device 16X99 is not in the catalogue"},
      {"malformed image", "/D:16F84A /F:BAD.HEX /W /Q", "BAD.HEX"},
      {"port that cannot be opened", "--port /dev/null /D:16F84A /W /Q", "/dev/null is not a parallel port device"},
      {"empty socket", "/D:16F628A /F:" + kExample + " /W /Q", "No chip answers as a 16F628A"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Home home;
    home.Write("BAD.HEX", ":10000000ZZ\n");
    EmptySocket(home, "16F628A");
    const test::CommandOutput run = home.Run(c.args);
    EXPECT_EQ(run.exitCode, 1) << home.Stderr();
    const std::string log = home.Read("quorvi2.err");
    EXPECT_TRUE(Contains(log, c.line)) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
  }
}

// A production verify after a write in another run: the board's supply
// counter is unknown at start and must be reset before the first level, or
// the simulated board reports the chip driven above its maximum.
TEST(Faults, RunOnlyOptionsChangeNothingOnDiskAndProductionVerifiesWithinTheSupplyRange) {
  Home home;
  ASSERT_EQ(home.Run("--device 16F84A write " + kExample).exitCode, 0) << home.Stderr();
  const std::string settings = home.Read("quorvi2.ini");
  const test::CommandOutput verify = home.Run("--mode prod --device 16F84A verify " + kExample);
  EXPECT_EQ(verify.exitCode, 0) << home.Stderr();
  EXPECT_FALSE(Contains(home.Stderr(), "simulated board:")) << home.Stderr();
  EXPECT_EQ(home.Read("quorvi2.ini"), settings);
}

TEST(Faults, FilesHonourTheUmaskAndStaleTemporariesGo) {
  Home home;
  const std::string stale = home.Write(".chip.json.AbC123", "half");
  fs::last_write_time(stale, fs::file_time_type::clock::now() - std::chrono::minutes(2));
  const std::string young = home.Write(".chip.json.XyZ789", "still being written");
  ASSERT_EQ(home.Run("--device 16F84A read -o out.hex", "umask 077;").exitCode, 0) << home.Stderr();
  for (const char* made : {"out.hex", "chip.json", "quorvi2.ini"}) {
    const fs::perms mode = fs::status(home.Path(made)).permissions() & fs::perms::all;
    EXPECT_EQ(mode, fs::perms::owner_read | fs::perms::owner_write) << made;
  }
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_TRUE(fs::exists(young));
}

// A file the user may not write is refused, not replaced: run as another
// user when the tests run as root, who may write anything.
TEST(Faults, AFileTheUserCannotWriteIsRefused) {
  Home home;
  const std::string before = ::geteuid() == 0 ? "chmod 777 . && setpriv --reuid=65534 --regid=65534 --clear-groups"
                                              : "";
  if (::geteuid() == 0 && !test::HaveProgram("setpriv")) GTEST_SKIP() << "setpriv is needed to run as another user";
  const std::string old = home.Write("out.hex", ":00000001FF\n");
  fs::permissions(old, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  const test::CommandOutput run = home.Run("--device 16F84A read -o out.hex", before);
  EXPECT_EQ(run.exitCode, 1) << home.Stderr();
  EXPECT_TRUE(Contains(home.Stderr(), "out.hex")) << home.Stderr();
  EXPECT_EQ(home.Read("out.hex"), ":00000001FF\n");
}

// A signal ends the run through the same end as success: target powered
// down, trace closed, chip saved; the status is 128 plus the signal.
TEST(Faults, ASignalPowersDownAndSavesEverythingBeforeItEnds) {
  for (const auto& [signal, status] : {std::pair{"INT", 130}, {"TERM", 143}}) {
    SCOPED_TRACE(signal);
    Home home;
    const std::string folder = home.Path("").string();
    // On the real clock a production-mode erase takes most of a second.
    const test::CommandOutput run = test::RunCommand(
        "cd '" + folder + "' || exit 1; " + QUORVI_CLI_PATH + " --home . --chip chip.json --trace t.vcd --mode prod " +
        "--device 16F84A erase 2>stderr & pid=$!; " + test::kAfterTraceStarts + "kill -" + signal +
        " $pid; wait $pid");
    EXPECT_EQ(run.exitCode, status) << home.Stderr();
    EXPECT_TRUE(Contains(home.Stderr(), "the target is powered down")) << home.Stderr();
    EXPECT_TRUE(Contains(home.Read("chip.json"), "16F84A"));
    const std::string trace = home.Read("t.vcd");
    ASSERT_FALSE(trace.empty());
    EXPECT_EQ(trace.back(), '\n') << "the trace ends on a whole line";
  }
}

}  // namespace
}  // namespace quorvi
