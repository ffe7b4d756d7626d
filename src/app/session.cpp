// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "app/port_registry.h"
#include "app/shell.h"
#include "hw/disconnected_port.h"
#include "hw/port_address.h"
#include "util/atomic_file.h"
#include "util/file_check.h"

namespace quorvi {

namespace {

// Follows whatever port the slot holds, so that a port replaced by the
// menus keeps the trace and guard above it.
class ForwardingPort final : public PortWrapper {
 public:
  explicit ForwardingPort(const std::unique_ptr<PortDriver>& slot) : slot_(slot) {}

 protected:
  PortDriver& Inner() const override { return *slot_; }

 private:
  const std::unique_ptr<PortDriver>& slot_;
};

}  // namespace

Result<std::unique_ptr<Session>> Session::Open(const SessionOptions& options, const char* argv0) {
  std::unique_ptr<Session> session(new Session());
  session->options_ = options;
  const AppPaths paths = ResolveAppPaths(ProcessHomeSources(argv0, options.home));
  std::unique_ptr<Clock> clock;
  if (options.virtualClock) {
    clock = std::make_unique<VirtualClock>();
  } else {
    clock = std::make_unique<RealClock>();
  }
  session->state_ = std::make_unique<AppState>(paths, std::move(clock),
                                               std::make_unique<DisconnectedPort>("not opened yet"));
  AppState& state = *session->state_;
  state.commandLine = ParseLegacyOptions(options.legacyLine);
  const char* home = std::getenv("HOME");
  const std::string userHome = home ? home : ".";
  // Files the user owns are made once the port is open: opening a raw port
  // under sudo gives root up, and root must not own the user's settings.
  const bool settingsThere = !UnreadableReason(paths.Settings()).has_value();
  if (settingsThere) {
    if (Status loaded = LoadSettingsInto(state, userHome); !loaded) return loaded;
  } else {
    state.settings.workingDirectory = userHome;
  }

  std::string port = options.port.value_or(FormatPortAddress(state.settings.port));
  if (options.chip) {
    if (options.port && !TraitsOfPort(*options.port).takesChipFile) {
      return Status::Fail("--chip needs the simulated board (--port sim)");
    }
    // A chip-state file that is there but cannot be read is an error, not a new chip.
    const auto reason = UnreadableReason(*options.chip);
    if (reason && *reason != "not found") {
      return Status::Fail("Cannot read the chip-state file " + *options.chip + ": " + *reason);
    }
    port = ChipFilePort(*options.chip, !reason);
  }

  PortEnvironment env;
  env.clock = state.clock.get();
  env.pins = options.pins.value_or(state.settings.pins);
  Result<OpenedPort> opened =
      options.openPort ? OpenPort(port, env) : Status::Fail("not opened: this run does not touch the chip");
  std::string_view shownSuffix;
  if (!options.openPort) {
    session->port_ = std::make_unique<DisconnectedPort>(opened.message());
    port = "none";
  } else if (opened) {
    // Virtual time would cut every wait short on a real chip.
    if (options.virtualClock && !opened.value().traits.virtualClock) {
      return Status::Fail("the virtual clock is only for the simulated board or the record port");
    }
    shownSuffix = opened.value().traits.shownSuffix;
    session->socket_ = opened.value().socket;
    session->port_ = std::move(opened.value().driver);
  } else {
    // As the old driver's failure: reported at activation; the lines go nowhere.
    session->portFailure_ = opened.message();
    session->port_ = std::make_unique<DisconnectedPort>(opened.message());
    shownSuffix = " (not open)";
  }
  if (!settingsThere) {
    std::error_code ignored;
    std::filesystem::create_directories(paths.home, ignored);
    if (Status loaded = LoadSettingsInto(state, userHome); !loaded) return loaded;
  }
  // What a killed save left behind goes at the next start.
  RemoveStaleTemporaries(paths.Settings());
  RemoveStaleTemporaries(paths.ErrorLog());
  if (options.chip) RemoveStaleTemporaries(*options.chip);
  session->portName_ = port + std::string(shownSuffix);
  if (Status lines = session->BuildLines(); !lines) return lines;
  state.link.SetDriver(std::make_unique<ForwardingPort>(session->lines_));
  PutProgrammerAtRest(state);
  return session;
}

Status Session::BuildLines() {
  std::unique_ptr<PortDriver> driver = std::make_unique<ForwardingPort>(port_);
  if (!options_.trace.empty()) {
    Result<std::unique_ptr<VcdTracePort>> traced =
        VcdTracePort::Open(std::move(driver), *state_->clock, options_.trace, options_.traceWindow);
    if (!traced) return traced.status();
    tracer_ = traced.value().get();
    driver = std::move(traced).value();
  }
  if (options_.openPort) {
    InstallInterruptHandlers();
    auto guard = std::make_unique<InterruptGuardPort>(std::move(driver), [this] { EndInterrupted(); });
    guard_ = guard.get();
    driver = std::move(guard);
  }
  lines_ = std::move(driver);
  return Status::Ok();
}

void Session::EndInterrupted() {
  std::fprintf(stderr, "\n%s: interrupted; the target is powered down\n", options_.programName.c_str());
  if (options_.onInterrupt) {
    options_.onInterrupt();
  } else if (Status ended = Finish(); !ended) {
    std::fprintf(stderr, "%s: %s\n", options_.programName.c_str(), ended.message().c_str());
  }
  std::_Exit(InterruptedStatus());
}

void Session::StopIfInterrupted() {
  if (Interrupted() && guard_ != nullptr) EndInterrupted();
}

void Session::InsertChipForDevice() {
  if (socket_ != nullptr) socket_->InsertNewChip(state_->device.name);
}

PortOpener Session::Opener() {
  return [this](long base) -> Result<std::unique_ptr<PortDriver>> {
    if (socket_ == nullptr && !options_.port) {
      PortEnvironment env;
      env.clock = state_->clock.get();
      const std::string port = FormatPortAddress(base);
      Result<OpenedPort> opened = OpenPort(port, env);
      if (!opened) {
        portName_ = port + " (not open)";
        return opened.status();
      }
      // The old port goes only after the link has let go of it.
      state_->link.SetDriver(std::make_unique<DisconnectedPort>("changing port"));
      port_ = std::move(opened.value().driver);
      portName_ = port;
    }
    return std::unique_ptr<PortDriver>(std::make_unique<ForwardingPort>(lines_));
  };
}

Status Session::Finish() {
  if (finished_ || !state_) return Status::Ok();
  finished_ = true;
  if (guard_) guard_->Disarm();
  EndSession(*state_);
  Status result = Status::Ok();
  if (tracer_) result = tracer_->Close();
  if (socket_ && options_.chip) {
    if (Status saved = socket_->SaveChip(*options_.chip); !saved && result) result = saved;
  }
  return result;
}

Session::~Session() { (void)Finish(); }

}  // namespace quorvi
