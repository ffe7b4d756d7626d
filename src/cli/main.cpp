// SPDX-License-Identifier: GPL-3.0-or-later
// quorvi2-cli: the programmer without a window, for servers and production
// scripts. Takes the legacy options (/D: /F: /W /Q) and commands, which run
// in the order they are typed.
#include <CLI/CLI.hpp>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "app/home.h"
#include "app/interrupt_guard.h"
#include "app/port_registry.h"
#include "app/version.h"
#include "cli/cli_session.h"
#include "cli/commands.h"

namespace {

using namespace quorvi;
using namespace quorvi::cli;

bool IsLegacyOption(const std::string& arg) {
  if (arg.size() < 2 || arg[0] != '/') return false;
  const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(arg[1])));
  return ((kind == 'Q' || kind == 'W') && arg.size() == 2) ||
         ((kind == 'D' || kind == 'F') && arg.size() >= 3 && arg[2] == ':');
}

constexpr const char* kExitStatuses =
    "Commands run in the order given, each only after the one before it succeeded.\n"
    "Exit status: 0 success; 1 an operation failed; 2 usage error; 130 interrupted by Ctrl-C\n"
    "(143 by SIGTERM): the target is powered down first.";

// What a command needs before it runs.
enum class Needs { kNothing, kSession, kChip };

struct Command {
  CLI::App* app;
  Needs needs;
  std::function<int(CliSession*)> run;
};

// A run touches a few MB, most of it once: a file read, its image, the
// text it is saved as. Kept in the heap, what the load frees is the memory
// the save writes, instead of fresh pages that each fault on first touch
// (about 2 us apiece on a virtual machine).
void KeepFreedMemoryForReuse() {
#ifdef __GLIBC__
  constexpr int kBytes = 32 << 20;  // the most glibc takes for the mmap threshold on 64-bit hosts
  mallopt(M_MMAP_THRESHOLD, kBytes);
  mallopt(M_TRIM_THRESHOLD, kBytes);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  KeepFreedMemoryForReuse();
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
  app.footer(kExitStatuses);
  // Options may come before or after the commands.
  app.fallthrough();
  GlobalOptions options;
  app.add_option("--home", options.home, "Folder of quorvi2.ini, device.ini and quorvi2.err");
  std::string portForms;
  for (const PortBackend& backend : PortBackends()) {
    portForms += (portForms.empty() ? "" : ", ") + std::string(backend.usage);
  }
  app.add_option("--port", options.port, portForms + " (default: the settings file's port; see the ports command)");
  app.add_option("--chip", options.chip,
                 "Chip-state file of the simulated board: created for the device when missing, saved at the end");
  app.add_option("--clock", options.clock, "real, or virtual (simulated board and record port only)")
      ->check(CLI::IsMember({"real", "virtual"}))
      ->capture_default_str();
  app.add_option("--pins", options.pins,
                 "Wiring of a bit-bang port (ftdi, gpio): ft232r, ft232h, ft2232h, rpi or a pin map file "
                 "(default: the settings file's PINS line, else the adapter's own)");
  CLI::Option* trace = app.add_option(
      "--trace", options.trace, "Write every line change to this VCD file (FILE.vcd.zst or FILE.vcd.gz: compressed)");
  app.add_option_function<std::string>(
         "--trace-window",
         [&options](const std::string& text) {
           Result<TraceWindow> window = ParseTraceWindow(text);
           if (!window) throw CLI::ValidationError("--trace-window", window.message());
           options.traceWindow = window.value();
         },
         "Trace only from START to END ms on the trace's clock (250: or :40 leave a side open)")
      ->type_name("START:END")
      ->needs(trace);
  app.add_option("--mode", options.mode, "prot or prod, for this run only (default: the settings file's)")
      ->check(CLI::IsMember({"prot", "prod"}));
  app.add_option("--device", options.device,
                 "Device to select, as the catalogue names it (any case); remembered for later runs");
  app.add_flag("--legacy-files", options.legacyFiles,
               "Read and write image files as our earlier versions did (word-paired HEX, their checksums)");
  app.add_flag("--quiet", options.quiet,
               "Unattended (as /Q): a failure writes quorvi2.err, says why on standard error and ends the run");
  bool quietProgress = false;
  int verbose = 0;
  app.add_flag("-q,--quiet-progress", quietProgress, "Print only failures and what was asked for");
  app.add_flag("-v,--verbose", verbose, "Also print every step of an operation");
  app.add_flag("--force", options.force,
               "Erase or write a chip whose device ID is another part's (or reads as no chip at all)");
  bool yes = false;
  bool no = false;
  auto* yesFlag = app.add_flag("--yes", yes, "Answer every question Yes");
  app.add_flag("--no", no, "Answer every question No")->excludes(yesFlag);

  std::vector<Command> commands;
  auto add = [&](const char* name, const char* help, Needs needs, std::function<int(CliSession*)> run) {
    CLI::App* sub = app.add_subcommand(name, help);
    commands.push_back({sub, needs, std::move(run)});
    return sub;
  };
  auto catalogue = [&] { return ResolveAppPaths(ProcessHomeSources(argv[0], options.home)).Catalogue(); };

  add("ports", "List the kinds of port", Needs::kNothing, [](CliSession*) { return ListPorts(); });
  add("devices", "List the devices of the catalogue with family and sizes", Needs::kNothing,
      [&](CliSession*) { return ListDevices(catalogue()); });
  std::string infoName;
  add("info", "Show a device's record, fuse names and masks, option lists", Needs::kNothing,
      [&](CliSession*) { return ShowDeviceInfo(catalogue(), infoName); })
      ->add_option("DEVICE", infoName, "Device name")
      ->required();
  std::string listingFile;
  add("listing", "Load an image file and print the program and data listings", Needs::kSession,
      [&](CliSession* s) { return ShowListing(*s, listingFile); })
      ->add_option("FILE", listingFile, "Image file (HEX, OBJ, BIN, TIF)")
      ->required();
  std::string convertIn, convertOut;
  CLI::App* convert = add("convert", "Load an image file for the device and save it as Intel HEX", Needs::kSession,
                          [&](CliSession* s) { return ConvertImage(*s, convertIn, convertOut); });
  convert->add_option("IN", convertIn, "Image file to read")->required();
  convert->add_option("OUT", convertOut, "File to write: .bin raw, - standard output, any other Intel HEX")
      ->required();
  add("power-cycle", "Power the target up (Vdd, then Vpp) and down again", Needs::kChip,
      [](CliSession* s) { return PowerCycle(*s); });
  std::string readOut;
  add("read", "Read the chip into the image (and save it)", Needs::kChip,
      [&](CliSession* s) { return ReadChip(*s, readOut); })
      ->add_option("-o,--output", readOut, "File to save what was read: .bin raw, - standard output, any other HEX");
  std::string writeFile, verifyFile;
  add("write", "Load an image file and write it into the chip, then verify it", Needs::kChip,
      [&](CliSession* s) { return WriteChip(*s, writeFile); })
      ->add_option("FILE", writeFile, "Image file (HEX, OBJ, BIN, TIF)")
      ->required();
  add("verify", "Load an image file and compare the chip with it", Needs::kChip,
      [&](CliSession* s) { return VerifyChip(*s, verifyFile); })
      ->add_option("FILE", verifyFile, "Image file (HEX, OBJ, BIN, TIF)")
      ->required();
  add("blank", "Check that the chip is erased", Needs::kChip, [](CliSession* s) { return BlankCheck(*s); });
  bool blankCalibration = false;
  add("erase", "Erase the chip (electrically erasable parts), then check it is blank", Needs::kChip,
      [&](CliSession* s) { return EraseChip(*s, blankCalibration); })
      ->add_flag("--blank-calibration", blankCalibration,
                 "Leave the factory calibration word erased too (12F629 class)");
  FuseEdit fuseEdit;
  CLI::App* fuses = add("fuses", "Show the chip's configuration; with an option, edit it by fuse name and write it",
                        Needs::kChip, [&](CliSession* s) { return Fuses(*s, fuseEdit); });
  fuses->add_option("--set", fuseEdit.settings, "NAME=on|off, for example WDTE=off CP0=on (see the info command)");
  fuses->add_option("--osc", fuseEdit.oscillator, "Oscillator entry (index in the device's list)");
  fuses->add_option("--brown-out", fuseEdit.brownOut, "Brown-out level: 25, 27, 42 or 45")
      ->check(CLI::IsMember({"25", "27", "42", "45"}));
  fuses->add_option("--word", fuseEdit.word, "Start from this configuration word (hex) instead of the blank one");

  auto givenTwice = [](const Command& command) {
    return UsageError("the command " + command.app->get_name() + " is given twice; run the tool once for each");
  };
  // CLI11 takes a vector in reverse order.
  std::vector<std::string> reversed(modern.rbegin(), modern.rend());
  try {
    app.parse(reversed);
  } catch (const CLI::Success& done) {
    return app.exit(done);
  } catch (const CLI::ExtrasError&) {
    // This CLI11 lists the extra arguments backwards; name them as typed.
    std::string extras;
    for (const std::string& extra : app.remaining()) extras += " " + extra;
    // A command given twice fails on its second argument.
    for (const Command& command : commands) {
      if (std::count(modern.begin(), modern.end(), command.app->get_name()) > 1) return givenTwice(command);
    }
    return UsageError("not a command or option:" + extras);
  } catch (const CLI::ParseError& error) {
    (void)app.exit(error);
    return kUsageError;
  }
  for (const Command& command : commands) {
    if (command.app->count() > 1) return givenTwice(command);
  }
  if (app.get_subcommands().empty() && legacyLine.empty()) {
    std::fputs(app.help().c_str(), stderr);
    return kUsageError;
  }
  if (yes) options.answer = true;
  if (no) options.answer = false;
  options.verbosity = quietProgress ? Verbosity::kQuiet : verbose > 0 ? Verbosity::kVerbose : Verbosity::kNormal;
  const LegacyOptions legacy = ParseLegacyOptions(legacyLine);
  if (legacy.quiet) options.quiet = true;

  // In the order typed: CLI11 keeps the commands in the order it met them.
  std::vector<const Command*> sequence;
  Needs needs = legacyLine.empty() ? Needs::kNothing : Needs::kSession;
  if (legacy.write) needs = Needs::kChip;
  for (const CLI::App* sub : app.get_subcommands()) {
    for (const Command& command : commands) {
      if (command.app == sub) {
        sequence.push_back(&command);
        needs = std::max(needs, command.needs);
      }
    }
  }

  std::unique_ptr<CliSession> session;
  if (needs != Needs::kNothing) {
    Result<std::unique_ptr<CliSession>> opened =
        CliSession::Open(options, argv[0], legacyLine, needs == Needs::kChip);
    if (!opened) return Fail(opened.message());
    session = std::move(opened).value();
  }
  int status = legacyLine.empty() ? 0 : RunLegacyOptions(*session);
  for (size_t i = 0; i < sequence.size() && status == 0; ++i) status = sequence[i]->run(session.get());
  if (session) {
    session->Finish();
    if (status == 0 && (session->ui().failures() > 0 || session->simulationProblems() > 0 || session->saveFailed())) {
      status = kOperationFailed;
    }
  }
  if (Interrupted()) return InterruptedStatus();
  return status;
}
