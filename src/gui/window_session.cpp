// SPDX-License-Identifier: GPL-3.0-or-later
#include "gui/window_session.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "app/port_registry.h"
#include "app/shell.h"
#include "hw/disconnected_port.h"
#include "hw/port_address.h"
#include "sim/chip_state.h"
#include "sim/sim_board.h"

namespace quorvi::gui {

namespace {

class ForwardingPort final : public PortDriver {
 public:
  explicit ForwardingPort(PortDriver& target) : target_(target) {}
  void WriteData(uint8_t value) override { target_.WriteData(value); }
  uint8_t ReadStatus() override { return target_.ReadStatus(); }
  std::string Describe() const override { return target_.Describe(); }

 private:
  PortDriver& target_;
};

}  // namespace

Result<std::unique_ptr<WindowSession>> WindowSession::Open(const LaunchOptions& options, const char* argv0) {
  std::unique_ptr<WindowSession> session(new WindowSession());
  session->options_ = options;
  const AppPaths paths = ResolveAppPaths(ProcessHomeSources(argv0, options.home));
  std::error_code ec;
  std::filesystem::create_directories(paths.home, ec);
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
  if (Status loaded = LoadSettingsInto(state, home ? home : "."); !loaded) return loaded;

  std::string port = options.port.value_or(FormatPortAddress(state.settings.port));
  if (options.chip) {
    if (options.port && !options.port->starts_with("sim")) {
      return Status::Fail("--chip needs the simulated board (--port sim)");
    }
    port = std::filesystem::exists(*options.chip) ? "sim:" + *options.chip : "sim";
  }
  PortEnvironment env;
  env.clock = state.clock.get();
  Result<std::unique_ptr<PortDriver>> opened = OpenPort(port, env);
  if (opened) {
    session->port_ = std::move(opened).value();
  } else {
    // As the old driver's failure: reported at activation; the lines go nowhere.
    session->portFailure_ = opened.message();
    session->port_ = std::make_unique<DisconnectedPort>(opened.message());
  }
  session->board_ = dynamic_cast<sim::SimBoard*>(session->port_.get());
  session->portName_ = session->board_ ? port + " (simulated board)" : session->portFailure_ ? port + " (not open)" : port;
  state.link.SetDriver(std::make_unique<ForwardingPort>(*session->port_));
  PutProgrammerAtRest(state);
  return session;
}

void WindowSession::InsertChipForDevice() {
  if (board_ == nullptr || board_->chip() != nullptr) return;
  Result<sim::ChipState> chip = NewSimChip(state_->device.name);
  if (!chip) return;  // an empty socket: the device has no simulated chip
  Result<std::unique_ptr<sim::ChipModel>> model = sim::MakeChip(std::move(chip).value());
  if (model) board_->Insert(std::move(model).value());
}

PortOpener WindowSession::Opener() {
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
    return std::unique_ptr<PortDriver>(std::make_unique<ForwardingPort>(*port_));
  };
}

void WindowSession::Finish() {
  if (finished_ || !state_) return;
  finished_ = true;
  EndSession(*state_);
  if (board_ && board_->chip() && options_.chip) {
    board_->Sync();
    if (Status saved = sim::SaveChipState(board_->chip()->state(), *options_.chip); !saved) {
      std::fprintf(stderr, "quorvi2: %s\n", saved.message().c_str());
    }
  }
}

WindowSession::~WindowSession() { Finish(); }

}  // namespace quorvi::gui
