// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/cli_session.h"

#include <cstdio>
#include <cstdlib>

#include "app/shell.h"
#include "ops/frame.h"
#include "sim/sim_board.h"

namespace quorvi::cli {

Result<std::unique_ptr<CliSession>> CliSession::Open(const GlobalOptions& options, const char* argv0,
                                                     const std::string& legacyLine) {
  std::unique_ptr<CliSession> cli(new CliSession());
  CliSession* self = cli.get();
  cli->ui_ = std::make_unique<TerminalUi>(options.answer, [self] { self->Finish(); });

  SessionOptions sessionOptions;
  sessionOptions.home = options.home;
  sessionOptions.port = options.port;
  sessionOptions.chip = options.chip;
  sessionOptions.legacyLine = legacyLine;
  sessionOptions.virtualClock = options.clock == "virtual";
  sessionOptions.decorate = [self, trace = options.trace](std::unique_ptr<PortDriver> driver,
                                                          Clock& clock) -> Result<std::unique_ptr<PortDriver>> {
    if (!trace.empty()) {
      Result<std::unique_ptr<VcdTracePort>> traced = VcdTracePort::Open(std::move(driver), clock, trace);
      if (!traced) return traced.status();
      self->tracer_ = traced.value().get();
      driver = std::move(traced).value();
    }
    InstallInterruptHandlers();
    auto guard = std::make_unique<InterruptGuardPort>(std::move(driver), [self] {
      std::fputs("\nquorvi2-cli: interrupted; the target is powered down\n", stderr);
      self->Finish();
      std::_Exit(InterruptedStatus());
    });
    self->guard_ = guard.get();
    return std::unique_ptr<PortDriver>(std::move(guard));
  };
  Result<std::unique_ptr<Session>> opened = Session::Open(sessionOptions, argv0);
  if (!opened) return opened.status();
  cli->session_ = std::move(opened).value();
  AppState& state = cli->state();
  if (options.quiet) state.commandLine.quiet = true;
  // Without a window to show it in, a port that cannot be opened ends the run.
  if (cli->session_->portFailure()) return cli->QuietFailure(*cli->session_->portFailure());

  // No one to ask: a wrong chip stops the run unless --force says otherwise.
  state.wrongChip = options.force ? WrongChipPolicy::kForce : WrongChipPolicy::kStop;
  if (options.mode) state.modeForRun = *options.mode == "prod" ? "PROD" : "PROT";
  state.legacyFilesForRun = options.legacyFiles;
  state.clock->SetEventPump([self] { self->ui_->PumpEvents(); });

  const std::string device = options.device.value_or(state.settings.deviceName);
  Result<SelectionView> selected = SelectAndRemember(state, device, false);
  if (!selected) return cli->QuietFailure(selected.message());
  if (selected.value().message) cli->ui_->ShowMessage(*selected.value().message);
  cli->session_->InsertChipForDevice();
  return cli;
}

Status CliSession::QuietFailure(const std::string& text) {
  if (state().quiet()) (void)WriteErrorLog(state(), text);
  return Status::Fail(text);
}

void CliSession::Finish() {
  if (finished_ || !session_) return;
  finished_ = true;
  // A signal from here on must not cut the end short: it is only noted.
  if (guard_) guard_->Disarm();
  if (Status saved = session_->Finish(); !saved) {
    std::fprintf(stderr, "quorvi2-cli: %s\n", saved.message().c_str());
    saveFailed_ = true;
  }
  if (tracer_) {
    if (Status closed = tracer_->Close(); !closed) {
      std::fprintf(stderr, "quorvi2-cli: %s\n", closed.message().c_str());
      saveFailed_ = true;
    }
  }
  if (const sim::SimBoard* board = session_->board()) {
    // A dry run must say what would have harmed a real chip.
    const std::vector<std::string> problems = board->Problems();
    for (const std::string& problem : problems) std::fprintf(stderr, "simulated board: %s\n", problem.c_str());
    simulationProblems_ = problems.size();
  }
}

CliSession::~CliSession() { Finish(); }

}  // namespace quorvi::cli
