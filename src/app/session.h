// SPDX-License-Identifier: GPL-3.0-or-later
// What one run of a front end holds besides its own widgets or terminal:
// the application state, the port it opened and the simulated board when
// there is one.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/app_state.h"
#include "app/shell.h"
#include "util/result.h"

namespace quorvi::sim {
class SimBoard;
}

namespace quorvi {

/// Wraps the port the lines are driven through (a tracer, a guard).
using PortDecorator = std::function<Result<std::unique_ptr<PortDriver>>(std::unique_ptr<PortDriver>, Clock&)>;

struct SessionOptions {
  std::optional<std::string> home;
  std::optional<std::string> port;  // else the settings file's port
  std::optional<std::string> chip;  // chip-state file of the simulated board
  std::string legacyLine;           // "/Q", "/D:", "/F:", "/W"
  bool virtualClock = false;        // no hardware only: waits take no real time
  PortDecorator decorate;           // nothing: the link drives the port as it is
};

class Session {
 public:
  /// Loads the settings and opens the port (the option's, else the
  /// remembered one); the device is selected by the window at activation.
  static Result<std::unique_ptr<Session>> Open(const SessionOptions& options, const char* argv0);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  AppState& state() { return *state_; }
  /// "sim (simulated board)", "lpt1", ...: what the window shows as its port.
  const std::string& portName() const { return portName_; }
  bool simulated() const { return board_ != nullptr; }
  sim::SimBoard* board() { return board_; }
  /// Why the port could not be opened at start, if it could not.
  const std::optional<std::string>& portFailure() const { return portFailure_; }
  /// Puts a new simulated chip of the selected device into an empty socket.
  void InsertChipForDevice();
  /// How the port menus open a port: a port named by `--port` (or the
  /// simulated board) stays for the whole run; otherwise the base address
  /// is opened.
  PortOpener Opener();
  /// Powers down and saves the simulated chip; idempotent.
  Status Finish();

 private:
  Session() = default;
  SessionOptions options_;
  std::unique_ptr<AppState> state_;
  /// The port itself; the link drives it through a forwarder so that a
  /// port kept for the run survives the port menus.
  std::unique_ptr<PortDriver> port_;
  sim::SimBoard* board_ = nullptr;
  std::string portName_;
  std::optional<std::string> portFailure_;
  bool finished_ = false;
};

}  // namespace quorvi
