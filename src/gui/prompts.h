// SPDX-License-Identifier: GPL-3.0-or-later
// Everything the window asks the user through a modal box. Tests replace
// these so that no dialog ever blocks them.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "util/message.h"

class QDialog;

namespace quorvi::gui {

struct FileRequest {
  bool save = false;
  std::string caption;
  std::string filter;  // "Microchip HEX file|*.HEX|..."
  std::string folder;  // where the dialog starts
};

struct Prompts {
  std::function<void(const UserMessage&)> message;
  std::function<bool(const UserMessage&)> yesNo;
  /// An input box; nothing on cancel.
  std::function<std::optional<std::string>(const std::string& prompt)> input;
  /// A file dialog; "" on cancel.
  std::function<std::string(const FileRequest&)> file;
  /// Runs a modal dialog of ours (frmEditP, frmSQTP, frmAdjust, About, help).
  std::function<void(QDialog&)> runDialog;
  std::function<void(const std::string& path)> sound;
  /// Ends the program at once.
  std::function<void(int exitCode)> terminate;
};

/// The real boxes: Qt message boxes, input dialogs and file dialogs.
Prompts DesktopPrompts();

/// "Microchip HEX file|*.HEX|Paralax Object file|*.OBJ" as a Qt filter.
std::string QtFilter(const std::string& filter);

}  // namespace quorvi::gui
