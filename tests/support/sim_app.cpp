// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/sim_app.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <utility>

#include "image/device_image.h"
#include "hw/port_link.h"
#include "support/line_trace.h"

namespace quorvi::test {

namespace {

// The board, with every byte written to it and its time kept for the test.
class TeePort final : public PortDriver {
 public:
  TeePort(std::unique_ptr<sim::SimBoard> board, Clock& clock) : board_(std::move(board)), clock_(clock) {}
  void WriteData(uint8_t value) override {
    writes.push_back({clock_.Nanoseconds(), value});
    board_->WriteData(value);
  }
  uint8_t ReadStatus() override { return board_->ReadStatus(); }
  std::optional<bool> BusLevel() const override { return board_->BusLevel(); }
  std::string Describe() const override { return board_->Describe(); }

  std::vector<TimedPort::Write> writes;

 private:
  std::unique_ptr<sim::SimBoard> board_;
  Clock& clock_;
};

}  // namespace

sim::ChipState BlankChip(const std::string& chipName) {
  auto info = sim::FindChip(chipName);
  if (!info) {
    ADD_FAILURE() << info.message();
    return {};
  }
  return sim::BlankState(*info.value());
}

sim::ChipState FactoryChip(const std::string& chipName, uint64_t seed) {
  auto info = sim::FindChip(chipName);
  if (!info) {
    ADD_FAILURE() << info.message();
    return {};
  }
  return sim::FactoryState(*info.value(), seed);
}

sim::ChipState PatternedChip(const std::string& chipName) {
  sim::ChipState state = BlankChip(chipName);
  auto info = sim::FindChip(chipName);
  if (!info) return state;
  const int mask = sim::BlankWord(*info.value());
  for (size_t i = 0; i < state.program.size(); ++i) {
    state.program[i] = static_cast<int>((i * 37 + 5) % static_cast<size_t>(mask));
  }
  for (size_t j = 0; j < state.data.size(); ++j) state.data[j] = static_cast<int>((j * 11 + 1) % 0xFF);
  const int idMask = info.value()->kind == sim::ChipClass::kOtp12 ? 0xF : 0x3FFF;
  state.ids = {0x1234 & idMask, 0x0567 & idMask, 0x0009 & idMask, 0x2ABC & idMask};
  // The oscillator bits and the watchdog bit: never a protection bit.
  state.config = state.config & ~0x5;
  return state;
}

void PatternImage(AppState& state) {
  const DeviceDescriptor& d = state.device;
  MemoryImage& image = state.image;
  const int blank = d.family == Family::kPic18 ? 0xFFFF : d.family == Family::kCore12 ? 0xFFF : 0x3FFF;
  for (int32_t i = 0; i <= d.programSize; ++i) {
    image.programBuffer[static_cast<size_t>(i)] = static_cast<int32_t>((i * 37 + 5) % blank);
  }
  for (size_t j = 0; j < static_cast<size_t>(d.dataBytes); ++j) {
    image.dataBuffer[j] = static_cast<int16_t>((j * 11 + 1) % 0xFF);
  }
  const int idMask = d.family == Family::kCore12 ? 0xF : 0x3FFF;
  image.idWords = {0x1234 & idMask, 0x0567 & idMask, 0x0009 & idMask, 0x2ABC & idMask, 0};
  // All ones but the watchdog and the oscillator's low bit: no protection bit cleared.
  image.configWord = blank & ~0x5;
  if (d.family == Family::kPic18) {
    image.config18Bytes = {0x00, 0xE2, 0x0E, 0x09, 0x00, 0x00, 0x81, 0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0xFF, 0xFF};
  }
}

SimApp::SimApp(sim::ChipState chip, const std::string& deviceName, bool realClock, int64_t portAccessNs,
               const PortWiring& wiring) {
  std::unique_ptr<Clock> ownClock = std::make_unique<VirtualClock>(portAccessNs);
  if (realClock) ownClock = std::make_unique<RealClock>();
  clock_ = ownClock.get();
  auto board = sim::MakeBoard(*clock_, std::move(chip));
  std::unique_ptr<sim::SimBoard> driver;
  if (board) {
    driver = std::move(board).value();
  } else {
    ADD_FAILURE() << board.message();
    driver = std::make_unique<sim::SimBoard>(*clock_);
  }
  board_ = driver.get();
  auto tee = std::make_unique<TeePort>(std::move(driver), *clock_);
  writes_ = &tee->writes;
  const AppPaths paths{.home = home.path().string(), .data = QUORVI_DATA_DIR};
  std::unique_ptr<PortDriver> port = std::move(tee);
  if (wiring) port = wiring(std::move(port), *clock_);
  app = std::make_unique<AppState>(paths, std::move(ownClock), std::move(port));
  // The idle state the program puts the board in at start-up.
  app->link.SetVpp1(kFalse);
  app->link.SetVpp2(kFalse);
  app->link.SetVpp3(kFalse);
  app->link.SetVdd("off");
  if (deviceName == "16F72") {
    app->device.name = deviceName;
    app->device.programSize = 2047;
    app->device.family = Family::kFlashPairs;
    app->device.pinCount = 28;
    app->device.oscList = 1;
    ApplyPartRules(app->device);
  } else if (!deviceName.empty()) {
    auto view = SelectDevice(ReadCatalogue(paths.Catalogue()).value(), deviceName, app->device, app->image, false);
    if (!view) {
      ADD_FAILURE() << view.message();
    } else {
      app->blankWord = view.value().blankWord;
    }
  }
}

SimApp::SimApp(const std::string& chipName) : SimApp(BlankChip(chipName), chipName) {}

SimApp::~SimApp() {
  EXPECT_TRUE(leftPowered || PoweredDown()) << "the board is left powered";
  // A quiet run ends the program instead.
  EXPECT_TRUE(app->commandLine.quiet || !(ui.progressVisible || ui.statusVisible)) << "progress or status left shown";
  if (rulesMayBreak) return;
  for (const std::string& problem : board_->Problems()) ADD_FAILURE() << problem;
}

std::vector<uint8_t> SimApp::TakeWrites() {
  std::vector<uint8_t> bytes;
  for (const TimedPort::Write& write : TakeTimedWrites()) bytes.push_back(write.value);
  return bytes;
}

std::vector<TimedPort::Write> SimApp::TakeTimedWrites() { return std::exchange(*writes_, {}); }

std::string SimApp::Commands() { return test::Commands(TakeWrites()); }

std::string SimApp::Transcript(OpOutcome outcome) {
  static const char* const kOutcomes[] = {"ok", "no device", "failed", "terminated", "unavailable", "cancelled"};
  static const char* const kIcons[] = {"", ", information", ", exclamation", ", critical", ", question"};
  std::string text = std::string("outcome ") + kOutcomes[static_cast<int>(outcome)] + "\n";
  for (const std::string& status : ui.statusTexts) text += "status " + status + "\n";
  const auto box = [&text](const char* kind, const UserMessage& m) {
    text += kind + (" [" + m.title) + kIcons[static_cast<int>(m.icon)] + "]\n";
    std::string rest = m.text;  // a sentence a line
    for (size_t end = 0; (end = rest.find(". ")) != std::string::npos; rest.erase(0, end + 2)) {
      text += "  " + rest.substr(0, end + 1) + "\n";
    }
    text += "  " + rest + "\n";
    if (!m.detail.empty()) text += "  (" + m.detail + ")\n";
  };
  for (const UserMessage& question : ui.questions) box("question", question);
  for (const UserMessage& message : ui.messages) box("message", message);
  if (!ui.statusBar.empty()) text += "status bar " + ui.statusBar + "\n";
  for (size_t i = 0; i < ui.sounds.size(); ++i) text += "sound\n";
  for (const int code : ui.terminated) text += "exit " + std::to_string(code) + "\n";
  if (app->operationFailed == kTrue) text += "failed\n";
  if (std::filesystem::exists(home.path() / "quorvi2.err")) {
    const std::string log = home.Read("quorvi2.err");
    if (log.empty()) text += "empty log\n";
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) text += "log " + line + "\n";
  }
  return text;
}

bool SimApp::PoweredDown() const {
  const uint8_t out = board_->lastWrite();
  const uint8_t supplies = line::kVdd | line::kVpp1 | line::kVpp2 | line::kVpp3;
  return (out & supplies) == supplies;
}

}  // namespace quorvi::test
