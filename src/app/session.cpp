// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "app/port_registry.h"
#include "app/shell.h"
#include "hw/disconnected_port.h"
#include "hw/port_address.h"
#include "sim/chip_state.h"
#include "sim/sim_board.h"
#include "util/atomic_file.h"
#include "util/file_check.h"

namespace quorvi {

namespace {

// Follows whatever port the slot holds, so that a port replaced by the
// menus keeps the trace and guard above it.
class ForwardingPort final : public PortDriver {
 public:
  explicit ForwardingPort(const std::unique_ptr<PortDriver>& slot) : slot_(slot) {}
  void WriteData(uint8_t value) override { slot_->WriteData(value); }
  uint8_t ReadStatus() override { return slot_->ReadStatus(); }
  std::optional<bool> BusLevel() const override { return slot_->BusLevel(); }
  std::optional<std::string> NotConnectedReason() const override { return slot_->NotConnectedReason(); }
  std::string Describe() const override { return slot_->Describe(); }

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
    if (options.port && !options.port->starts_with("sim")) {
      return Status::Fail("--chip needs the simulated board (--port sim)");
    }
    // A chip-state file that is there but cannot be read is an error, not a new chip.
    const auto reason = UnreadableReason(*options.chip);
    if (reason && *reason != "not found") {
      return Status::Fail("Cannot read the chip-state file " + *options.chip + ": " + *reason);
    }
    port = reason ? "sim" : "sim:" + *options.chip;
  }

  PortEnvironment env;
  env.clock = state.clock.get();
  Result<std::unique_ptr<PortDriver>> opened =
      options.openPort ? OpenPort(port, env) : Status::Fail("not opened: this run does not touch the chip");
  if (!options.openPort) {
    session->port_ = std::make_unique<DisconnectedPort>(opened.message());
    port = "none";
  } else if (opened) {
    // Virtual time would cut every wait short on a real chip.
    if (options.virtualClock && port != "record" && port.rfind("sim", 0) != 0) {
      return Status::Fail("the virtual clock is only for the simulated board or the record port");
    }
    session->port_ = std::move(opened).value();
  } else {
    // As the old driver's failure: reported at activation; the lines go nowhere.
    session->portFailure_ = opened.message();
    session->port_ = std::make_unique<DisconnectedPort>(opened.message());
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
  session->board_ = dynamic_cast<sim::SimBoard*>(session->port_.get());
  session->portName_ = session->board_        ? port + " (simulated board)"
                       : session->portFailure_ ? port + " (not open)"
                                               : port;
  if (Status lines = session->BuildLines(); !lines) return lines;
  state.link.SetDriver(std::make_unique<ForwardingPort>(session->lines_));
  PutProgrammerAtRest(state);
  return session;
}

Status Session::BuildLines() {
  std::unique_ptr<PortDriver> driver = std::make_unique<ForwardingPort>(port_);
  if (!options_.trace.empty()) {
    Result<std::unique_ptr<VcdTracePort>> traced = VcdTracePort::Open(std::move(driver), *state_->clock,
                                                                        options_.trace);
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
  if (board_ == nullptr || board_->chip() != nullptr) return;
  Result<sim::ChipState> chip = NewSimChip(state_->device.name);
  if (!chip) return;  // an empty socket: the device has no simulated chip
  Result<std::unique_ptr<sim::ChipModel>> model = sim::MakeChip(std::move(chip).value());
  if (model) board_->Insert(std::move(model).value());
}

PortOpener Session::Opener() {
  return [this](long base) -> Result<std::unique_ptr<PortDriver>> {
    if (board_ == nullptr && !options_.port) {
      PortEnvironment env;
      env.clock = state_->clock.get();
      const std::string port = FormatPortAddress(base);
      Result<std::unique_ptr<PortDriver>> opened = OpenPort(port, env);
      if (!opened) {
        portName_ = port + " (not open)";
        return opened.status();
      }
      // The old port goes only after the link has let go of it.
      state_->link.SetDriver(std::make_unique<DisconnectedPort>("changing port"));
      port_ = std::move(opened).value();
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
  if (board_ && board_->chip() && options_.chip) {
    board_->Sync();
    if (Status saved = sim::SaveChipState(board_->chip()->state(), *options_.chip); !saved && result) {
      result = saved;
    }
  }
  return result;
}

Session::~Session() { (void)Finish(); }

}  // namespace quorvi
