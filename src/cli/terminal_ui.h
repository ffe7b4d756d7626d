// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "app/ui_host.h"

namespace quorvi::cli {

/// How much the tool tells on standard error besides failures and questions.
enum class Verbosity {
  kQuiet,    // failures, questions and what was asked for only
  kNormal,   // also each operation's first and last line, notes, a progress bar on a terminal
  kVerbose,  // also every step of an operation, one line each
};

/// The front end on a terminal: a progress bar on stderr when it is a
/// terminal (nothing otherwise), messages as "TITLE: text" on stderr,
/// questions from the keyboard or by their documented default.
class TerminalUi final : public UiHost {
 public:
  /// `forcedAnswer`: --yes or --no; `onTerminate` runs before the program ends.
  TerminalUi(std::optional<bool> forcedAnswer, Verbosity verbosity, std::function<void()> onTerminate);

  void ShowProgress(double percent) override;
  void HideProgress() override;
  void ShowStatus(const std::string& text) override;
  void HideStatus() override;
  void SetStatusBar(const std::string& text) override;
  void ShowMessage(const UserMessage& message) override;
  bool AskYesNo(const UserMessage& question) override;
  void PumpEvents() override {}
  void PlaySound(const std::string& path) override;
  /// Says `reason` (the failure of a quiet run) in English, then ends.
  [[noreturn]] void Terminate(int exitCode, const std::string& reason) override;

  /// One line of the tool's own, such as an operation's first and last.
  void Say(const std::string& text);
  /// A failure of the tool's own: always shown, as "quorvi2-cli: text".
  void Complain(const std::string& text);

  /// Messages with a critical or exclamation icon make the command fail.
  int failures() const { return failures_; }

 private:
  void DrawBar();
  void ClearBar();

  std::optional<bool> forcedAnswer_;
  Verbosity verbosity_;
  std::function<void()> onTerminate_;
  bool barWanted_;
  bool barShown_ = false;
  int percent_ = -1;
  std::string status_;
  int failures_ = 0;
};

/// The answer a question gets when no one is at the keyboard: never the one
/// that writes over a chip or goes on past a warning.
bool DefaultAnswer(const std::string& question);

}  // namespace quorvi::cli
