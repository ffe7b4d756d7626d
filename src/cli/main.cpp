// SPDX-License-Identifier: GPL-3.0-or-later
// quorvi2-cli: the programmer without a window, for servers and production
// scripts. Takes the legacy options (/D: /F: /W /Q) and modern commands.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>
#include <vector>

#include "app/home.h"
#include "app/version.h"
#include "cli/cli_session.h"
#include "cli/commands.h"
#include "cli/interrupt_guard.h"

namespace {

bool IsLegacyOption(const std::string& arg) {
  if (arg.size() < 2 || arg[0] != '/') return false;
  const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(arg[1])));
  return ((kind == 'Q' || kind == 'W') && arg.size() == 2) ||
         ((kind == 'D' || kind == 'F') && arg.size() >= 3 && arg[2] == ':');
}

}  // namespace

int main(int argc, char** argv) {
  using namespace quorvi;
  using namespace quorvi::cli;

  // The legacy options are one command line, as another program passes it.
  std::string legacyLine;
  std::vector<std::string> modern;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (IsLegacyOption(arg)) {
      legacyLine += (legacyLine.empty() ? "" : " ") + arg;
    } else {
      modern.push_back(arg);
    }
  }

  CLI::App app{"Quorvi device programmer for PIC microcontrollers and 24Cxx serial EEPROMs.\n"
               "Legacy options, as another program passes them: /D:DEVICE /F:FILE /W /Q"};
  app.name("quorvi2-cli");
  app.set_version_flag("--version", std::string("quorvi2-cli ") + kProgramVersion);
  GlobalOptions options;
  std::string clockChoice = "real";
  app.add_option("--home", options.home, "Folder of quorvi2.ini, device.ini and quorvi2.err");
  app.add_option("--port", options.port,
                 "lpt1, lpt2, 0xADDR, /dev/parportN, raw:ADDR, sim, sim:CHIP, sim:FILE.json or record "
                 "(default: the settings file's port)");
  app.add_option("--chip", options.chip,
                 "Chip-state file of the simulated board: created for the device when missing, saved at the end");
  app.add_option("--clock", options.clock, "real, or virtual (simulated board and record port only)")
      ->check(CLI::IsMember({"real", "virtual"}))
      ->capture_default_str();
  app.add_option("--trace", options.trace, "Write every line change to this VCD file");
  app.add_option("--mode", options.mode, "prot or prod, for this run only (default: the settings file's)")
      ->check(CLI::IsMember({"prot", "prod"}));
  app.add_option("--device", options.device, "Device to select (default: the remembered one)");
  app.add_flag("--legacy-files", options.legacyFiles,
               "Read and write image files as our earlier versions did (word-paired HEX, their checksums)");
  app.add_flag("--quiet", options.quiet, "Quiet mode: a failure writes quorvi2.err and ends the run");
  app.add_flag("--force", options.force,
               "Erase or write a chip whose device ID is another part's (or reads as no chip at all)");
  bool yes = false;
  bool no = false;
  auto* yesFlag = app.add_flag("--yes", yes, "Answer every question Yes");
  app.add_flag("--no", no, "Answer every question No")->excludes(yesFlag);

  app.add_subcommand("ports", "List the kinds of port");
  app.add_subcommand("devices", "List the devices of the catalogue with family and sizes");
  std::string infoName;
  CLI::App* info = app.add_subcommand("info", "Show a device's record, fuse names and masks, option lists");
  info->add_option("DEVICE", infoName, "Device name")->required();
  std::string listingFile;
  CLI::App* listing = app.add_subcommand("listing", "Load an image file and print the program and data listings");
  listing->add_option("FILE", listingFile, "Image file (HEX, OBJ, BIN, TIF)")->required();
  std::string convertIn, convertOut;
  CLI::App* convert = app.add_subcommand("convert", "Load an image file for the device and save it as Intel HEX");
  convert->add_option("IN", convertIn, "Image file to read")->required();
  convert->add_option("OUT", convertOut, "File to write: .bin raw, - standard output, any other Intel HEX")
      ->required();
  app.add_subcommand("power-cycle", "Power the target up (Vdd, then Vpp) and down again");
  std::string readOut;
  CLI::App* read = app.add_subcommand("read", "Read the chip into the image (and save it as HEX)");
  read->add_option("-o,--output", readOut, "File to save what was read: .bin raw, - standard output, any other HEX");
  std::string writeFile, verifyFile;
  CLI::App* write = app.add_subcommand("write", "Load an image file and write it into the chip, then verify it");
  write->add_option("FILE", writeFile, "Image file (HEX, OBJ, BIN, TIF)")->required();
  CLI::App* verify = app.add_subcommand("verify", "Load an image file and compare the chip with it");
  verify->add_option("FILE", verifyFile, "Image file (HEX, OBJ, BIN, TIF)")->required();
  app.add_subcommand("blank", "Check that the chip is erased");
  bool blankCalibration = false;
  CLI::App* erase = app.add_subcommand("erase", "Erase the chip (electrically erasable parts)");
  erase->add_flag("--blank-calibration", blankCalibration,
                  "Leave the factory calibration word erased too (12F629 class)");
  std::vector<std::string> fuseSettings;
  std::optional<int> oscillator;
  std::optional<std::string> fuseWord, brownOut;
  CLI::App* fuses = app.add_subcommand("fuses", "Edit the configuration word by fuse name and write it");
  fuses->add_option("--set", fuseSettings, "NAME=on|off, for example WDTE=off CP0=on (see the info command)");
  fuses->add_option("--osc", oscillator, "Oscillator entry (index in the device's list)");
  fuses->add_option("--brown-out", brownOut, "Brown-out level: 25, 27, 42 or 45")
      ->check(CLI::IsMember({"25", "27", "42", "45"}));
  fuses->add_option("--word", fuseWord, "Start from this configuration word (hex) instead of the blank one");

  std::vector<std::string> reversed(modern.rbegin(), modern.rend());
  try {
    app.parse(reversed);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }
  if (yes) options.answer = true;
  if (no) options.answer = false;

  if (app.got_subcommand("ports")) return ListPorts();
  if (app.got_subcommand("devices") || app.got_subcommand("info")) {
    const AppPaths paths = ResolveAppPaths(ProcessHomeSources(argv[0], options.home));
    return app.got_subcommand("devices") ? ListDevices(paths.Catalogue()) : ShowDeviceInfo(paths.Catalogue(), infoName);
  }
  if (app.get_subcommands().empty() && legacyLine.empty()) {
    std::fputs(app.help().c_str(), stdout);
    return 1;
  }

  Result<std::unique_ptr<CliSession>> opened = CliSession::Open(options, argv[0], legacyLine);
  if (!opened) return Fail(opened.message());
  CliSession& session = *opened.value();
  int status = 0;
  if (!legacyLine.empty()) status = RunLegacyOptions(session);
  if (status == 0 && app.got_subcommand("listing")) status = ShowListing(session, listingFile);
  if (status == 0 && app.got_subcommand("convert")) status = ConvertImage(session, convertIn, convertOut);
  if (status == 0 && app.got_subcommand("power-cycle")) status = PowerCycle(session);
  if (status == 0 && app.got_subcommand("write")) status = WriteChip(session, writeFile);
  if (status == 0 && app.got_subcommand("verify")) status = VerifyChip(session, verifyFile);
  if (status == 0 && app.got_subcommand("read")) status = ReadChip(session, readOut);
  if (status == 0 && app.got_subcommand("blank")) status = BlankCheck(session);
  if (status == 0 && app.got_subcommand("erase")) status = EraseChip(session, blankCalibration);
  if (status == 0 && app.got_subcommand("fuses")) status = WriteFuses(session, fuseSettings, oscillator, fuseWord, brownOut);
  session.Finish();
  if (Interrupted()) return InterruptedStatus();
  if (status == 0 && (session.ui().failures() > 0 || session.simulationProblems() > 0 || session.saveFailed())) {
    status = 1;
  }
  return status;
}
