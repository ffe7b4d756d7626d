// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/cli_session.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "app/port_registry.h"
#include "app/shell.h"
#include "cli/interrupt_guard.h"
#include "hw/disconnected_port.h"
#include "hw/port_address.h"
#include "sim/chip_state.h"

namespace quorvi::cli {

namespace {

std::string PortFromSettings(const Settings& settings) { return FormatPortAddress(settings.port); }

bool NoHardware(const std::string& port) { return port == "record" || port.rfind("sim", 0) == 0; }

}  // namespace

Result<std::unique_ptr<CliSession>> CliSession::Open(const GlobalOptions& options, const char* argv0,
                                                     const std::string& legacyLine) {
  std::unique_ptr<CliSession> session(new CliSession());
  session->options_ = options;
  const AppPaths paths = ResolveAppPaths(ProcessHomeSources(argv0, options.home));
  std::error_code ec;
  std::filesystem::create_directories(paths.home, ec);

  std::unique_ptr<Clock> clock;
  if (options.clock == "virtual") {
    clock = std::make_unique<VirtualClock>();
  } else {
    clock = std::make_unique<RealClock>();
  }
  CliSession* self = session.get();
  session->state_ = std::make_unique<AppState>(paths, std::move(clock),
                                               std::make_unique<DisconnectedPort>("not opened yet"));
  AppState& state = *session->state_;
  session->ui_ = std::make_unique<TerminalUi>(options.answer, [self] { self->Finish(); });
  state.commandLine = ParseLegacyOptions(legacyLine);
  if (options.quiet) state.commandLine.quiet = true;

  const char* home = std::getenv("HOME");
  if (Status loaded = LoadSettingsInto(state, home ? home : "."); !loaded) return loaded;
  if (options.mode) state.settings.mode = *options.mode == "prod" ? "PROD" : "PROT";

  std::string port = options.port.value_or(PortFromSettings(state.settings));
  if (options.chip) {
    if (options.port && !options.port->starts_with("sim")) {
      return Status::Fail("--chip needs the simulated board (--port sim)");
    }
    port = std::filesystem::exists(*options.chip) ? "sim:" + *options.chip : "sim";
  }
  if (options.clock == "virtual" && !NoHardware(port)) {
    return Status::Fail("the virtual clock is only for the simulated board or the record port");
  }
  PortEnvironment env;
  env.clock = state.clock.get();
  Result<std::unique_ptr<PortDriver>> opened = OpenPort(port, env);
  if (!opened) return opened.status();
  std::unique_ptr<PortDriver> driver = std::move(opened).value();
  session->board_ = dynamic_cast<sim::SimBoard*>(driver.get());
  if (!options.trace.empty()) {
    Result<std::unique_ptr<VcdTracePort>> traced = VcdTracePort::Open(std::move(driver), *state.clock, options.trace);
    if (!traced) return traced.status();
    session->tracer_ = traced.value().get();
    driver = std::move(traced).value();
  }
  InstallInterruptHandlers();
  driver = std::make_unique<InterruptGuardPort>(std::move(driver), [self] {
    std::fputs("\nquorvi2-cli: interrupted; the target is powered down\n", stderr);
    self->Finish();
    std::_Exit(130);
  });
  state.link.SetDriver(std::move(driver));
  state.clock->SetEventPump([self] { self->ui_->PumpEvents(); });
  PutProgrammerAtRest(state);

  const std::string device = options.device.value_or(state.settings.deviceName);
  Result<SelectionView> selected = SelectAndRemember(state, device, false);
  if (!selected) return selected.status();
  if (selected.value().message) session->ui_->ShowMessage(*selected.value().message);
  if (Status inserted = session->InsertChipForDevice(); !inserted) return inserted;
  return session;
}

Status CliSession::InsertChipForDevice() {
  if (board_ == nullptr || board_->chip() != nullptr) return Status::Ok();
  Result<sim::ChipState> chip = NewSimChip(state_->device.name);
  if (!chip) return Status::Ok();  // an empty socket: the device has no simulated chip
  Result<std::unique_ptr<sim::ChipModel>> model = sim::MakeChip(std::move(chip).value());
  if (!model) return model.status();
  board_->Insert(std::move(model).value());
  return Status::Ok();
}

void CliSession::Finish() {
  if (finished_ || !state_) return;
  finished_ = true;
  EndSession(*state_);
  if (board_ && board_->chip() && options_.chip) {
    board_->Sync();
    if (Status saved = sim::SaveChipState(board_->chip()->state(), *options_.chip); !saved) {
      std::fprintf(stderr, "quorvi2-cli: %s\n", saved.message().c_str());
    }
  }
  if (tracer_) tracer_->Close();
}

CliSession::~CliSession() { Finish(); }

}  // namespace quorvi::cli
