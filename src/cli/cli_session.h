// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/app_state.h"
#include "app/session.h"
#include "cli/terminal_ui.h"
#include "device/catalogue.h"
#include "hw/trace_window.h"
#include "util/result.h"

namespace quorvi::cli {

struct GlobalOptions {
  std::optional<std::string> home;
  std::optional<std::string> port;  // else the settings file's port
  std::optional<std::string> pins;  // else the settings file's pin map
  std::optional<std::string> chip;  // chip-state file of the simulated board
  std::string clock = "real";
  std::string trace;
  TraceWindow traceWindow;
  std::optional<std::string> mode;  // prot | prod, for this run only
  bool legacyFiles = false;         // for this run only
  std::optional<std::string> device;  // the catalogue's name, any case
  bool quiet = false;                 // unattended: a failure writes quorvi2.err and ends the run
  Verbosity verbosity = Verbosity::kNormal;
  std::optional<bool> answer;  // --yes / --no
  bool force = false;          // write a chip whose device ID is another part's
};

/// Everything one run of the tool holds: the application state, the front
/// end, and the simulated board and trace it must save or close at the end.
class CliSession {
 public:
  /// Loads the settings, opens the port (unless the run never touches the
  /// chip), puts the programmer at rest and selects the device (the
  /// option's, else the remembered one).
  static Result<std::unique_ptr<CliSession>> Open(const GlobalOptions& options, const char* argv0,
                                                  const std::string& legacyLine, bool touchesChip);
  ~CliSession();
  CliSession(const CliSession&) = delete;
  CliSession& operator=(const CliSession&) = delete;

  AppState& state() { return session_->state(); }
  /// The catalogue as read when the run began; a run reads it once.
  const CatalogueText& catalogue() const { return catalogue_; }
  TerminalUi& ui() { return *ui_; }
  /// Powers down, saves the simulated chip and closes the trace; idempotent.
  void Finish();
  /// What an operation runs on: "16F84A on sim (simulated board), PROT mode".
  std::string Target();
  /// What the simulated board and chip saw that would harm a real chip
  /// (printed by Finish); none on a real port.
  size_t simulationProblems() const { return simulationProblems_; }
  /// The trace or the simulated chip could not be saved.
  bool saveFailed() const { return saveFailed_; }

 private:
  /// A failure before any command ran; unattended, it is also the log's line.
  Status QuietFailure(const std::string& text);

  CliSession() = default;

  std::unique_ptr<Session> session_;
  std::unique_ptr<TerminalUi> ui_;
  CatalogueText catalogue_;
  bool finished_ = false;
  size_t simulationProblems_ = 0;
  bool saveFailed_ = false;
};

}  // namespace quorvi::cli
