// SPDX-License-Identifier: GPL-3.0-or-later
// The main window's commands, and the ports they open by name.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdio>

#include "app/port_registry.h"
#include "app/shell.h"
#include "hw/clock.h"
#include "hw/recording_port.h"
#include "sim/chip_state.h"
#include "support/golden.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

// Which file the path names: a replaced file is a new one.
ino_t FileIdentity(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

// Runs the row's commands, split at ';', as the main window would.
std::string RunCommands(const std::string& row) {
  test::TempDir home;
  AppState state(AppPaths{home.path().string(), QUORVI_DATA_DIR}, std::make_unique<VirtualClock>(),
                 std::make_unique<RecordingPort>());
  EXPECT_TRUE(LoadSettingsInto(state, "/home/ada").ok());
  ino_t settingsFile = FileIdentity(state.paths.Settings());
  std::string opened;
  const PortOpener opener = [&opened](long base) -> Result<std::unique_ptr<PortDriver>> {
    char hex[16];
    std::snprintf(hex, sizeof hex, " %lX", base);
    opened += hex;
    if (base == 0x3BC) return Status::Fail("No parallel port at 0x3BC");
    return std::unique_ptr<PortDriver>(std::make_unique<RecordingPort>());
  };
  std::string out;
  for (size_t from = 0; from < row.size();) {
    const size_t end = std::min(row.find(';', from), row.size());
    const std::vector<std::string> w = test::Words(row.substr(from, end - from));
    from = end + 1;
    const auto port = [&state] { return dynamic_cast<RecordingPort*>(&state.link.driver()); };
    const int64_t before = state.clock->Nanoseconds();
    if (port() != nullptr) port()->Clear();
    Status status = Status::Ok();
    std::string said;
    if (w.at(0) == "select") {
      status = SelectAndRemember(state, ReadCatalogue(state.paths.Catalogue()).value(), w.at(1), false).status();
    }
    if (w.at(0) == "mode") status = ChooseMode(state, w.at(1));
    if (w.at(0) == "port") status = ChoosePort(state, PortEntry::kLpt2, opener);
    if (w.at(0) == "custom") status = ChangeCustomAddress(state, w.at(1), opener);
    if (w.at(0) == "min" || w.at(0) == "max") {
      const std::optional<UserMessage> refused = EnterVddMargin(state, w[0] == "max", w.at(1));
      if (refused) status = Status::Fail(refused->text + " (icon " + std::to_string(int(refused->icon)) + ")");
    }
    if (w.at(0) == "power") state.link.SetVdd("on"), state.link.SetVpp2(kTrue);
    if (w.at(0) == "end") EndSession(state);
    if (w.at(0) == "file") {
      const ino_t now = FileIdentity(state.paths.Settings());
      said = now == settingsFile ? "kept" : "replaced";
      settingsFile = now;
    }
    if (w.at(0) == "ready") {
      if (const std::optional<UserMessage> noPort = NoPortMessage(state)) status = Status::Fail(noPort->text);
    }
    if (said.empty()) said = test::Replaced(status.ok() ? "ok" : status.message(), QUORVI_DATA_DIR, "$DATA");
    out += (out.empty() ? "" : "; ") + said;
    if (w.at(0) == "mode") {
      char writes[64];
      std::snprintf(writes, sizeof writes, ", writes %02X..%02X over %.3f ms", port()->Writes().front(),
                    port()->Writes().back(), static_cast<double>(state.clock->Nanoseconds() - before) / 1e6);
      out += writes;
    }
  }
  char fields[200];
  const char* const entries[] = {"lpt1", "lpt2", "custom"};
  std::snprintf(fields, sizeof fields, " | %s %s, port %lX %s \"%s\", Vdd %g-%g, lines %02X, opened%s | ",
                state.device.name.c_str(), state.productionMode() ? "PROD" : "PROT", state.settings.port,
                entries[static_cast<int>(state.settings.portEntry)], CustomPortCaption(state.settings).c_str(),
                double{state.device.vddMin}, double{state.device.vddMax}, state.link.outputShadow(), opened.c_str());
  return out + fields + state.link.driver().Describe() + " | " + test::Escaped(home.Read("quorvi2.ini"));
}

TEST(Shell, EachRowOfCommandsLeavesWhatItSays) { EXPECT_EQ(test::TableMismatches("shell.txt", RunCommands), ""); }

TEST(OpenPort, ChoosesTheBackendByTheFormOfTheName) {
  test::TempDir dir;
  dir.Write("proc/parport0/base-addr", "956\t-1\n");  // 0x3BC
  Result<sim::ChipState> state = NewSimChip("12C508A");
  ASSERT_TRUE(state.ok());
  state.value().program[0] = 0x0A5;
  const std::string chip = (dir.path() / "chip.json").string();
  ASSERT_TRUE(sim::SaveChipState(state.value(), chip).ok());
  VirtualClock clock;
  PortEnvironment env;
  env.parports = {(dir.path() / "proc").string(), (dir.path() / "dev").string()};
  env.clock = &clock;
  const std::string folder = dir.path().string();
  const std::map<std::string, test::Call> calls = {
      {"ParsePortAddress",
       [](const auto& a) {
         const std::optional<long> base = ParsePortAddress(a.at(0));
         char text[16];
         std::snprintf(text, sizeof text, "0x%lX", base.value_or(0));
         return base ? std::string(text) : "none";
       }},
      {"OpenPort", [&](const auto& a) {
         PortEnvironment withPins = env;
         if (a.size() > 1) withPins.pins = test::Replaced(a.at(1), "$DIR", folder);
         const auto port = OpenPort(test::Replaced(a.at(0), "$DIR", folder), withPins);
         return test::Replaced(port.ok() ? port.value().driver->Describe() : port.message(), folder, "$DIR");
       }}};
  EXPECT_EQ(test::TableMismatches("ports.txt", calls), "");
  EXPECT_EQ(OpenPort("record", env).value().driver->ReadStatus(), 0x40);
  auto empty = OpenPort("sim", env).value().driver;
  empty->WriteData(0x3D);  // data line released
  EXPECT_EQ(empty->ReadStatus() & 0x40, 0x40) << "an empty socket reads the pull-up";
  const std::string copy = chip + ".copy.json";
  ASSERT_TRUE(OpenPort("sim:" + chip, env).value().socket->SaveChip(copy).ok());
  EXPECT_EQ(sim::LoadChipState(copy).value().program[0], 0x0A5);
  EXPECT_EQ(OpenPort("sim").message(), "The simulated board needs a clock");
}

}  // namespace
}  // namespace quorvi
