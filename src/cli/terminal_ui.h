// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "app/ui_host.h"

namespace quorvi::cli {

/// The front end on a terminal: a progress bar on stderr when it is a
/// terminal (plain percentage lines otherwise), messages as "TITLE: text" on
/// stderr, questions from the keyboard or by their documented default.
class TerminalUi final : public UiHost {
 public:
  /// `forcedAnswer`: --yes or --no; `onTerminate` runs before the program ends.
  TerminalUi(std::optional<bool> forcedAnswer, std::function<void()> onTerminate);

  void ShowProgress(double percent) override;
  void HideProgress() override;
  void ShowStatus(const std::string& text) override;
  void HideStatus() override;
  void SetStatusBar(const std::string& text) override;
  void ShowMessage(const UserMessage& message) override;
  bool AskYesNo(const UserMessage& question) override;
  void PumpEvents() override {}
  void PlaySound(const std::string& path) override;
  [[noreturn]] void Terminate(int exitCode) override;

  /// Messages with a critical or exclamation icon make the command fail.
  int failures() const { return failures_; }
  const std::string& lastFailure() const { return lastFailure_; }

 private:
  void EndBarLine();

  std::optional<bool> forcedAnswer_;
  std::function<void()> onTerminate_;
  bool tty_;
  bool barShown_ = false;
  int lastPercent_ = -1;
  std::string status_;
  int failures_ = 0;
  std::string lastFailure_;
};

/// The answer a question gets when no one is at the keyboard: never the one
/// that writes over a chip or goes on past a warning.
bool DefaultAnswer(const std::string& question);

}  // namespace quorvi::cli
