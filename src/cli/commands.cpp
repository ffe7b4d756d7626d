// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/commands.h"

#include <cstdio>
#include <string>

#include "app/interrupt_guard.h"
#include "app/port_registry.h"
#include "device/catalogue.h"
#include "device/device_names.h"
#include "device/fuses.h"
#include "image/image_writer.h"
#include "image/listing.h"
#include "image/open_command.h"
#include "ops/blank_erase.h"
#include "ops/compare.h"
#include "ops/write.h"
#include "ops/config_write.h"
#include "ops/power_cycle.h"
#include "ops/read.h"
#include "app/command_line.h"
#include "util/arith.h"
#include "util/atomic_file.h"

namespace quorvi::cli {

namespace {

std::string Trimmed(const std::string& entry) {
  const size_t end = entry.find_last_not_of(' ');
  return end == std::string::npos ? "" : entry.substr(0, end + 1);
}

void PrintOptionList(const CatalogueText& catalogue, const std::string& key, const char* what) {
  Result<OptionList> list = FillOptionList(catalogue, key);
  if (!list) return;
  std::printf("%s (%s):\n", what, key.c_str());
  for (size_t i = 0; i < list.value().entries.size(); ++i) {
    std::printf("  %zu  %s\n", i, list.value().entries[i].c_str());
  }
}

// An operation's first line says what it runs on, so that a log of a
// production run shows which part and port each chip got.
void Announce(CliSession& session, const char* what) { session.ui().Say(std::string(what) + ": " + session.Target()); }

// An operation's exit status, with the time it took (on the virtual clock,
// an estimate of the time on real hardware).
int Finished(CliSession& session, const OpResult& result, const char* what) {
  const bool simulated = session.state().clock->Estimates();
  char line[160];
  std::snprintf(line, sizeof line, "%s %s in %.1f ms%s", what, result.ok() ? "done" : "failed", result.durationMs(),
                simulated ? " (estimated time on a real port)" : "");
  session.ui().Say(line);
  if (result.wrongChip && !result.ok()) {
    session.ui().Complain("nothing was written; --force goes on with this chip all the same");
  }
  return result.ok() ? 0 : kOperationFailed;
}

// Catalogue lines that could not be used, with file and line.
void SayLeftOut(const std::vector<std::string>& problems) {
  for (const std::string& problem : problems) std::fprintf(stderr, "quorvi2-cli: left out: %s\n", problem.c_str());
}

// Saves the whole image as "Save Hex" does; "-" writes the HEX text to standard output.
int SaveWholeImage(const AppState& state, const std::string& out, SaveIdAnswer answer) {
  if (out == "-") {
    const Result<std::string> text = WholeImageHex(state.device, state.image, answer, state.fileFormat());
    if (!text) return Fail(text.message());
    std::fwrite(text.value().data(), 1, text.value().size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : Fail("Cannot write to standard output");
  }
  DeviceDescriptor device = state.device;  // a legacy save moves the end of some devices
  const Result<std::string> saved = SaveHexCommand(out, device, state.image, answer, state.fileFormat());
  if (!saved) return Fail(saved.message());
  std::printf("Saved %s\n", saved.value().c_str());
  return 0;
}

}  // namespace

int ReadChip(CliSession& session, const std::string& out) {
  AppState& state = session.state();
  Announce(session, "Read");
  const OpResult result = cmdRead(state, session.ui(), read_mode::kFull);
  const int status = Finished(session, result, "Read");
  if (status != 0 || out.empty()) return status;
  return SaveWholeImage(state, out, SaveIdAnswer::kYes);
}

int BlankCheck(CliSession& session) {
  Announce(session, "Blank check");
  return Finished(session, cmdBlank(session.state(), session.ui()), "Blank check");
}

int WriteChip(CliSession& session, const std::string& file) {
  Announce(session, "Write");
  if (!OpenImage(session, file)) return 1;
  return Finished(session, cmdWrite(session.state(), session.ui()), "Write");
}

int VerifyChip(CliSession& session, const std::string& file) {
  Announce(session, "Verify");
  if (!OpenImage(session, file)) return 1;
  return Finished(session, cmdCompare(session.state(), session.ui()), "Verify");
}

int EraseChip(CliSession& session, bool blankCalibration) {
  AppState& state = session.state();
  if (!state.device.traits().erasable) {
    return Fail("the " + state.device.name + " cannot be erased electrically (a windowed part needs UV light)");
  }
  Announce(session, "Erase");
  const int erased = Finished(session, cmdFill(state, session.ui(), blankCalibration), "Erase");
  if (erased != 0) return erased;
  // The erase reads nothing back: only a blank check can say it worked.
  return Finished(session, cmdBlank(state, session.ui()), "Blank check");
}

namespace {

// The chip's configuration by the names the fuses command takes.
int ShowConfiguration(CliSession& session) {
  AppState& state = session.state();
  const DeviceDescriptor& device = state.device;
  // A 12-bit core has no Load Configuration: its configuration word comes
  // before address 0 and its IDs after program memory, so only a full read
  // reaches them.
  const int16_t mode = device.core() == Core::k12Bit ? read_mode::kFull : read_mode::kConfigurationOnly;
  const int status = Finished(session, cmdRead(state, session.ui(), mode), "Read");
  if (status != 0) return status;
  if (device.core() == Core::kPic18) {
    std::printf("Configuration  %s\n", Config18Line(device, state.image).c_str());
    return 0;
  }
  Result<OptionList> oscillators = FillOptionList(session.catalogue(), std::to_string(device.oscList) + "OSC");
  const std::vector<std::string> entries = oscillators ? oscillators.value().entries : std::vector<std::string>{};
  const ConfigDisplay shown =
      ShowConfigWord(device, state.image.configWord, state.image.idWords, static_cast<int>(entries.size()));
  std::printf("Configuration  %s\n", PadLeft(HexText(state.image.configWord), 4).c_str());
  if (shown.oscIndex) {
    std::printf("--osc          %d  %s\n", *shown.oscIndex,
                Trimmed(entries[static_cast<size_t>(*shown.oscIndex)]).c_str());
  }
  for (const FuseChoice& choice : shown.choices) {
    std::printf("%-14s %s\n", choice.fuse.c_str(), FuseButtonFor(choice.fuse, true) == choice.button ? "on" : "off");
  }
  if (shown.wrtText) std::printf("%-14s %s\n", "WRT", *shown.wrtText == "ON" ? "on" : "off");
  if (shown.borvButton) std::printf("--brown-out    %s\n", shown.borvButton->substr(2).c_str());
  std::printf("IDs           ");
  for (size_t i = 0; i < 4; ++i) std::printf(" %s", PadLeft(shown.idTexts[i], 4).c_str());
  std::printf("\n");
  return 0;
}

}  // namespace

int Fuses(CliSession& session, const FuseEdit& edit) {
  AppState& state = session.state();
  if (state.device.core() == Core::kSerialEeprom) return Fail("the " + state.device.name + " has no configuration");
  if (!edit.any()) {
    Announce(session, "Configuration");
    return ShowConfiguration(session);
  }
  int32_t config = state.image.configWord;
  if (edit.word) config = HexVal(*edit.word);
  for (const std::string& setting : edit.settings) {
    const size_t equals = setting.find('=');
    const std::string fuse = setting.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : setting.substr(equals + 1);
    if (value != "on" && value != "off") return UsageError("--set " + setting + ": give NAME=on or NAME=off");
    const std::optional<std::string_view> button = FuseButtonFor(fuse, value == "on");
    if (!button || FuseMask(state.device, fuse) == 0) {
      return Fail("--set " + setting + ": the " + state.device.name + " has no fuse " + fuse +
                  " (see: quorvi2-cli info " + state.device.name + ")");
    }
    config = *ApplyFuseButton(state.device, config, state.blankWord, *button);
  }
  if (edit.brownOut) {
    const std::optional<int32_t> changed =
        ApplyFuseButton(state.device, config, state.blankWord, "op" + *edit.brownOut);
    if (!changed || FuseMask(state.device, "BORV0") == 0) {
      return Fail("--brown-out " + *edit.brownOut + ": not for this device");
    }
    config = *changed;
  }
  if (edit.oscillator) {
    const int choice = *edit.oscillator;
    Result<OptionList> list = FillOptionList(session.catalogue(), std::to_string(state.device.oscList) + "OSC");
    const int entries = list ? static_cast<int>(list.value().entries.size()) : 0;
    if (choice < 0 || choice >= entries) return Fail("--osc: choose an entry of the oscillator list");
    if (!OscillatorEntryUsable(list.value().entries[static_cast<size_t>(choice)])) {
      return Fail("--osc " + std::to_string(choice) + ": the " + state.device.name +
                  " has no oscillator with that value");
    }
    config = ApplyOscillator(config, state.blankWord, state.device.oscList, choice, entries);
  }
  state.image.configWord = config;
  Announce(session, "Write fuses");
  session.ui().Say(FuseText(config));
  return Finished(session, cmdWriteFuse(state, session.ui()), "Write fuses");
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "quorvi2-cli: %s\n", message.c_str());
  return kOperationFailed;
}

int UsageError(const std::string& message) {
  std::fprintf(stderr, "quorvi2-cli: %s\nRun with --help for more information.\n", message.c_str());
  return kUsageError;
}

int ListDevices(const std::string& cataloguePath) {
  const Result<CatalogueText> catalogue = ReadCatalogue(cataloguePath);
  if (!catalogue) return Fail(catalogue.message());
  DeviceDescriptor scratch;
  std::vector<std::string> problems;
  Result<std::vector<std::string>> names = FillDeviceList(catalogue.value(), scratch, &problems);
  if (!names) return Fail(names.message());
  SayLeftOut(problems);
  std::printf("%-10s %-44s %8s %6s %5s\n", "DEVICE", "FAMILY", "PROGRAM", "DATA", "PINS");
  for (const std::string& entry : names.value()) {
    const std::string name = Trimmed(entry);
    DeviceDescriptor d;
    if (!LoadDeviceRecord(catalogue.value(), name, d)) continue;
    const std::string family(d.traits().description);
    std::printf("%-10s %-44s %8d %6d %5d\n", name.c_str(), family.c_str(), d.programSize + 1, d.dataBytes, d.pinCount);
  }
  return 0;
}

Result<std::string> CatalogueName(const CatalogueText& catalogue, const std::string& typed) {
  DeviceDescriptor scratch;
  std::vector<std::string> problems;
  Result<std::vector<std::string>> names = FillDeviceList(catalogue, scratch, &problems);
  if (!names) return names.status();
  Result<std::string> name = ExactDeviceName(names.value(), typed);
  if (name) return name;
  // The part may be on a line that could not be used.
  SayLeftOut(problems);
  return Status::Fail(name.message() + " (the catalogue: quorvi2-cli devices)");
}

int ShowDeviceInfo(const std::string& cataloguePath, const std::string& typed) {
  const Result<CatalogueText> catalogue = ReadCatalogue(cataloguePath);
  if (!catalogue) return Fail(catalogue.message());
  Result<std::string> name = CatalogueName(catalogue.value(), typed);
  if (!name) return Fail(name.message());
  DeviceDescriptor d;
  Result<std::optional<VddCaptions>> record = LoadDeviceRecord(catalogue.value(), name.value(), d);
  if (!record) return Fail(record.message());
  if (Status map = LoadFuseMap(catalogue.value(), d.fuseMap, d); !map) return Fail(map.message());
  std::printf("Device        %s\n", d.name.c_str());
  std::printf("Family        %d (%.*s)\n", FamilyCode(d.family), static_cast<int>(d.traits().description.size()),
              d.traits().description.data());
  std::printf("Program size  %s (highest address)\n", PadLeft(HexText(d.programSize), 4).c_str());
  std::printf("Data EEPROM   %d bytes\n", d.dataBytes);
  std::printf("Pins          %d\n", d.pinCount);
  std::printf("Fuse map      %d%s\n", d.fuseMap, d.pairFlag ? " (check bits)" : "");
  std::printf("Write mode    %d\n", d.writeMode);
  if (d.core() == Core::kSerialEeprom) std::printf("Page size     %d bytes\n", d.pageSize);
  if (record.value()) std::printf("Vdd margins   %.1f V to %.1f V\n", double{d.vddMin}, double{d.vddMax});
  std::printf("Configuration bits:\n");
  for (int bit = 13; bit >= 0; --bit) {
    const std::string& fuse = d.fuseNames[static_cast<size_t>(bit)];
    if (!fuse.empty() && fuse != "-") std::printf("  bit %2d  %s\n", bit, fuse.c_str());
  }
  std::printf("Fuse masks:\n");
  for (const char* fuse : {"WDTE", "PWRTE", "MCLRE", "CP0", "CP1", "BODEN", "BORV1", "BORV0", "MPEEN", "BKB",
                           "WRT", "WRT1", "CPD", "LVP"}) {
    const int16_t mask = FuseMask(d, fuse);
    if (mask != 0) std::printf("  %-6s %s%s\n", fuse, mask < 0 ? "-" : " ", HexText(mask < 0 ? -mask : mask).c_str());
  }
  if (d.oscList >= 1 && d.core() != Core::kSerialEeprom) {
    PrintOptionList(catalogue.value(), std::to_string(d.oscList) + "OSC", "Oscillator");
  }
  if (FuseMask(d, "WRT1") != 0) {
    PrintOptionList(catalogue.value(), std::to_string(d.wrtList) + "WRT", "Write protection");
  }
  return 0;
}

bool OpenImage(CliSession& session, const std::string& path) {
  AppState& state = session.state();
  LoadOptions options = ImageLoadOptions(state);
  options.progress = [&session](int percent) { session.ui().ShowProgress(percent); };
  options.stop = [] { return Interrupted(); };
  OpenedImage opened = OpenImageCommand(path, state.device, state.image, state.serial, options);
  session.ui().HideProgress();
  if (!ShowLoadReport(state, session.ui(), opened.load) || !opened.load.loaded) return false;
  state.imagePath = opened.path;
  state.imageTimeStamp = opened.timeStamp;
  return true;
}

int ShowListing(CliSession& session, const std::string& file) {
  if (!OpenImage(session, file)) return 1;
  const AppState& state = session.state();
  for (const std::string& line : ProgramListingLines(state.device, state.image)) std::printf("%s\n", line.c_str());
  if (state.device.dataBytes > 0) {
    std::printf("\n");
    for (const std::string& line : DataListingLines(state.device, state.image)) std::printf("%s\n", line.c_str());
  }
  if (const std::string config = Config18Line(state.device, state.image); !config.empty()) {
    std::printf("\nConfiguration: %s\n", config.c_str());
  }
  return 0;
}

int ConvertImage(CliSession& session, const std::string& in, const std::string& out) {
  if (!OpenImage(session, in)) return 1;
  AppState& state = session.state();
  SaveIdAnswer answer = SaveIdAnswer::kNo;
  if (SaveAsksIdQuestion(state.device, 0)) {
    answer = session.ui().AskYesNo({"Save ID and FUSES informations?", "Quorvi 2", MessageIcon::kQuestion})
                 ? SaveIdAnswer::kYes
                 : SaveIdAnswer::kNo;
  }
  return SaveWholeImage(state, out, answer);
}

int PowerCycle(CliSession& session) {
  AppState& state = session.state();
  std::printf("Power cycle of %s (%d pins)\n", session.Target().c_str(), state.device.pinCount);
  for (const PowerStep& step : quorvi::PowerCycle(state)) {
    auto supply = [&](uint8_t mask) { return (step.lines & mask) == 0 ? "on " : "off"; };
    std::printf("%10.3f ms  %-22s Vdd %s  Vpp1 %s  Vpp2 %s  Vpp3 %s\n", static_cast<double>(step.ns) / 1e6, step.what,
                supply(line::kVdd), supply(line::kVpp1), supply(line::kVpp2), supply(line::kVpp3));
  }
  return 0;
}

int ListPorts() {
  for (const PortBackend& backend : PortBackends()) {
    std::printf("%-34s %s\n", std::string(backend.usage).c_str(), std::string(backend.description).c_str());
  }
  return 0;
}

int RunLegacyOptions(CliSession& session) {
  AppState& state = session.state();
  const LegacyOptions& legacy = state.commandLine;
  if (legacy.device) {
    // Only the record changes: the fuse frames stay as the saved device set them.
    DeviceDescriptor device = state.device;
    if (Status loaded = LoadDeviceRecord(session.catalogue(), *legacy.device, device).status(); !loaded) {
      EndQuietRun(state, session.ui(), loaded.message());
      return Fail(loaded.message());
    }
    state.device = device;
  }
  if (legacy.file && !OpenImage(session, FindPathIgnoringCase(*legacy.file))) return 1;
  if (legacy.write) return Finished(session, cmdWrite(state, session.ui()), "Write");
  return 0;
}

}  // namespace quorvi::cli
