// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "util/message.h"

namespace quorvi {

/// Everything an operation needs from a front end: the window implements it
/// with widgets, the command-line tool on the terminal, tests with a recorder.
class UiHost {
 public:
  virtual ~UiHost() = default;

  /// The progress bar `Barra`: shown at `percent` (0 to 100), or hidden.
  virtual void ShowProgress(double percent) = 0;
  virtual void HideProgress() = 0;
  /// The operation text `txtStatus`: shown with `text`, or hidden and emptied.
  virtual void ShowStatus(const std::string& text) = 0;
  virtual void HideStatus() = 0;
  /// The status bar `Statusbar`.
  virtual void SetStatusBar(const std::string& text) = 0;
  /// A message box; returns when the user has closed it.
  virtual void ShowMessage(const UserMessage& message) = 0;
  /// A Yes/No question; true for Yes.
  virtual bool AskYesNo(const UserMessage& question) = 0;
  /// Lets pending window events run during a long wait.
  virtual void PumpEvents() = 0;
  /// Plays the completion sound; a missing file or device is no error.
  virtual void PlaySound(const std::string& path) = 0;
  /// Ends the program at once with `exitCode` (quiet mode after its log
  /// line); `reason` is the failure in English, empty after a success.
  /// A host that cannot end (a test) returns, and the operation stops.
  virtual void Terminate(int exitCode, const std::string& reason) = 0;
};

}  // namespace quorvi
