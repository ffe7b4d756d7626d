// SPDX-License-Identifier: GPL-3.0-or-later
// An application state whose port is the simulated board with a chip in
// its socket, and whose device is selected from the shipped catalogue.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/app_state.h"
#include "hw/clock.h"
#include "ops/frame.h"
#include "sim/chip_state.h"
#include "sim/sim_board.h"
#include "support/line_trace.h"
#include "support/recording_ui.h"
#include "support/temp_dir.h"

namespace quorvi::test {

/// Puts an adapter between the program and the board: takes the board's
/// port and returns the port the program drives (a bit-bang backend over a
/// fake of its library, wired to the board).
using PortWiring = std::function<std::unique_ptr<PortDriver>(std::unique_ptr<PortDriver> board, Clock& clock)>;

class SimApp {
 public:
  /// A board holding `chip`, the catalogue device `deviceName` selected
  /// ("" leaves no device selected; the 16F72, which no catalogue line lists
  /// yet, is selected by hand as family 6), the home folder a fresh temporary one.
  /// `realClock` runs it on the PC's clock instead of the virtual one, whose
  /// port accesses cost `portAccessNs` each. `wiring`, when given, puts an
  /// adapter in front of the board; the writes kept are the board's.
  SimApp(sim::ChipState chip, const std::string& deviceName, bool realClock = false,
         int64_t portAccessNs = VirtualClock::kDefaultPortAccessNs, const PortWiring& wiring = {});
  /// A blank chip of that name, and the catalogue device of the same name.
  explicit SimApp(const std::string& chipName);
  /// Fails the test for every rule the host broke on the simulated board,
  /// unless the test set `rulesMayBreak`; when the board is left powered,
  /// unless the test set `leftPowered`; and when `ui` is left showing progress
  /// or a status outside quiet mode.
  ~SimApp();
  SimApp(const SimApp&) = delete;
  SimApp& operator=(const SimApp&) = delete;

  /// Set by tests that break the chips' rules on purpose.
  bool rulesMayBreak = false;
  /// Set by tests where quiet mode leaves the port as it stands.
  bool leftPowered = false;

  TempDir home;
  std::unique_ptr<AppState> app;
  RecordingUi ui;

  AppState& state() { return *app; }
  sim::SimBoard& board() { return *board_; }
  sim::ChipState& chip() { return board_->chip()->state(); }
  const sim::ChipInfo& info() { return board_->chip()->info(); }
  Clock& clock() { return *clock_; }
  /// Vdd and all three Vpp switches off on the board.
  bool PoweredDown() const;
  /// Every byte written to the port since the last call, then forgets them.
  std::vector<uint8_t> TakeWrites();
  /// The same with the clock time of each.
  std::vector<TimedPort::Write> TakeTimedWrites();
  /// The commands written since the last call as a chip takes them (see line_trace.h).
  std::string Commands();
  /// What an operation ending in `outcome` left for the user, a line each:
  /// the status texts, questions and messages `ui` was given, its status bar,
  /// sounds and exit, the failure flag and the log file's lines.
  std::string Transcript(OpOutcome outcome);

 private:
  Clock* clock_ = nullptr;
  sim::SimBoard* board_ = nullptr;
  std::vector<TimedPort::Write>* writes_ = nullptr;
};

/// A chip of that name as the simulator's blank state has it.
sim::ChipState BlankChip(const std::string& chipName);

/// A chip of that name as it leaves the factory: `seed` picks its calibration.
sim::ChipState FactoryChip(const std::string& chipName, uint64_t seed);

/// A chip of that name with every word, byte and ID different from its
/// neighbours and from blank, and an unprotected configuration word.
sim::ChipState PatternedChip(const std::string& chipName);

/// The same pattern in the image for the selected device, and for an 18F
/// its configuration registers: HS oscillator, watchdog on, nothing protected.
void PatternImage(AppState& state);

}  // namespace quorvi::test
