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
#include "app/interrupt_guard.h"
#include "app/shell.h"
#include "app/simulated_socket.h"
#include "hw/vcd_trace.h"
#include "util/result.h"

namespace quorvi {

struct SessionOptions {
  std::optional<std::string> home;
  std::optional<std::string> port;  // else the settings file's port
  std::optional<std::string> pins;  // else the settings file's pin map
  std::optional<std::string> chip;  // chip-state file of the simulated board
  std::string legacyLine;           // "/Q", "/D:", "/F:", "/W"
  bool virtualClock = false;        // no hardware only: waits take no real time
  std::string trace;                // VCD file of every line change; empty: none
  TraceWindow traceWindow;          // the stretch of the run the trace keeps
  /// False for a run that never touches the chip: no port is opened and the
  /// lines go nowhere.
  bool openPort = true;
  /// Names the program in the line a signal leaves on standard error.
  std::string programName = "quorvi";
  /// Runs instead of Finish once a signal has powered the target down,
  /// before the program ends with 128 + the signal.
  std::function<void()> onInterrupt;
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
  bool simulated() const { return socket_ != nullptr; }
  /// The simulated board's socket; null for other ports.
  SimulatedSocket* socket() { return socket_; }
  /// Why the port could not be opened at start, if it could not.
  const std::optional<std::string>& portFailure() const { return portFailure_; }
  /// Puts a new simulated chip of the selected device into an empty socket.
  void InsertChipForDevice();
  /// How the port menus open a port: a port named by `--port` (or the
  /// simulated board) stays for the whole run; otherwise the base address
  /// is opened.
  PortOpener Opener();
  /// Between operations nothing reaches the port for the guard to act on: a
  /// front end that waits for its user calls this now and then. After a
  /// signal it ends the program as the guard does.
  void StopIfInterrupted();
  /// Powers down, closes the trace and saves the simulated chip; idempotent.
  /// From here on a signal is only noted, so the end completes in order.
  Status Finish();

 private:
  Session() = default;
  /// The trace and the guard over the port, as the options ask.
  Status BuildLines();
  /// A signal came: the guard has powered the target down.
  [[noreturn]] void EndInterrupted();
  SessionOptions options_;
  std::unique_ptr<AppState> state_;
  /// The port itself; the port menus may replace it.
  std::unique_ptr<PortDriver> port_;
  /// What the link drives: the guard over the trace over `port_`, for the
  /// whole run, whichever port the menus choose.
  std::unique_ptr<PortDriver> lines_;
  VcdTracePort* tracer_ = nullptr;
  InterruptGuardPort* guard_ = nullptr;
  SimulatedSocket* socket_ = nullptr;  // part of `port_`
  std::string portName_;
  std::optional<std::string> portFailure_;
  bool finished_ = false;
};

}  // namespace quorvi
