// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/cli_session.h"

#include <cstdio>
#include <cstdlib>

#include "app/shell.h"
#include "cli/commands.h"
#include "ops/frame.h"

namespace quorvi::cli {

Result<std::unique_ptr<CliSession>> CliSession::Open(const GlobalOptions& options, const char* argv0,
                                                     const std::string& legacyLine, bool touchesChip) {
  std::unique_ptr<CliSession> cli(new CliSession());
  CliSession* self = cli.get();
  const Verbosity verbosity = options.quiet ? Verbosity::kQuiet : options.verbosity;
  cli->ui_ = std::make_unique<TerminalUi>(options.answer, verbosity, [self] { self->Finish(); });

  SessionOptions sessionOptions;
  sessionOptions.home = options.home;
  sessionOptions.port = options.port;
  sessionOptions.pins = options.pins;
  sessionOptions.chip = options.chip;
  sessionOptions.legacyLine = legacyLine;
  sessionOptions.virtualClock = options.clock == "virtual";
  sessionOptions.trace = options.trace;
  sessionOptions.traceWindow = options.traceWindow;
  sessionOptions.openPort = touchesChip;
  sessionOptions.programName = "quorvi2-cli";
  sessionOptions.onInterrupt = [self] { self->Finish(); };
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

  Result<CatalogueText> catalogue = ReadCatalogue(state.paths.Catalogue());
  if (!catalogue) return cli->QuietFailure(catalogue.message());
  cli->catalogue_ = std::move(catalogue).value();
  std::string device = state.settings.deviceName;
  if (options.device) {
    Result<std::string> exact = CatalogueName(cli->catalogue_, *options.device);
    if (!exact) return cli->QuietFailure(exact.message());
    device = exact.value();
  }
  Result<SelectionView> selected = SelectAndRemember(state, cli->catalogue_, device, false);
  if (!selected) return cli->QuietFailure(selected.message());
  if (selected.value().message) cli->ui_->ShowMessage(*selected.value().message);
  cli->session_->InsertChipForDevice();
  return cli;
}

Status CliSession::QuietFailure(const std::string& text) {
  if (state().quiet()) (void)WriteErrorLog(state(), text);
  return Status::Fail(text);
}

std::string CliSession::Target() {
  const AppState& s = state();
  return s.device.name + " on " + session_->portName() + ", " + (s.productionMode() ? "PROD" : "PROT") + " mode";
}

void CliSession::Finish() {
  if (finished_ || !session_) return;
  finished_ = true;
  if (Status ended = session_->Finish(); !ended) {
    ui_->Complain(ended.message());
    saveFailed_ = true;
  }
  if (const SimulatedSocket* socket = session_->socket()) {
    // A dry run must say what would have harmed a real chip.
    const std::vector<std::string> problems = socket->Problems();
    for (const std::string& problem : problems) std::fprintf(stderr, "simulated board: %s\n", problem.c_str());
    simulationProblems_ = problems.size();
  }
}

CliSession::~CliSession() { Finish(); }

}  // namespace quorvi::cli
