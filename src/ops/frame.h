// SPDX-License-Identifier: GPL-3.0-or-later
// The frame every device operation runs in: device check, power-up order,
// progress, reporting (message box or quiet-mode log line), power-down.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "app/app_state.h"
#include "app/ui_host.h"
#include "image/image_reader.h"
#include "protocol/serial_protocol.h"
#include "util/message.h"

namespace quorvi {

/// How an operation ended.
enum class OpOutcome {
  kOk,
  kNoDevice,     // nothing selected: only the message was shown
  kFailed,       // reported by a message box
  kTerminated,   // quiet mode: log written, Terminate called
  kUnavailable,  // the device has nothing for this command
  kCancelled,    // the user answered No to a question before anything was done
};

/// What an operation hands back to the front end.
struct OpResult {
  OpOutcome outcome = OpOutcome::kOk;
  /// Clock time from start to end; on the virtual clock an estimate of the
  /// time the operation takes on real hardware.
  int64_t durationNs = 0;
  /// The window must redraw these from the state.
  bool refreshConfig = false;
  bool refreshProgramListing = false;
  bool refreshDataListing = false;
  bool refreshCalibrationText = false;
  /// The chip's device ID stopped the operation before anything was written.
  bool wrongChip = false;

  bool ok() const { return outcome == OpOutcome::kOk; }
  double durationMs() const { return static_cast<double>(durationNs) / 1e6; }
};

/// The supply level of one compare pass.
enum class VddLevel { kNormal, kMin, kMax };

/// What happens between "data line low" and the first command, per operation.
struct PowerUpPlan {
  /// Supply level set before Vdd, and the wait after it (0: none).
  std::optional<float> supplyBeforeVdd;
  float waitBeforeVdd = 0.0F;
  /// The erase in production mode moves the supply back to 5.0 V after Vdd.
  bool nominalSupplyAfterVdd = false;
  bool icspWait = false;
  float vppSettleMs = 100.0F;
  bool dataLowAfterVpp = true;
  /// 12-bit core: step from the configuration word to address 0.
  bool incrementFor12Bit = false;
};

/// The plans of the operations, from the state's mode and options.
PowerUpPlan ReadPlan();
PowerUpPlan BlankPlan(const AppState& state);
PowerUpPlan ErasePlan(const AppState& state);
PowerUpPlan WritePlan(const AppState& state);
PowerUpPlan ComparePlan(VddLevel level, float vddMin, float vddMax);
PowerUpPlan ConfigWritePlan();

/// Word addresses in messages: upper-case hex without leading zeros, then "h".
std::string AddressText(int32_t address);

/// A word or byte the chip holds otherwise than the image: where (an
/// address, or an index the caller turns into one) and both values.
struct Mismatch {
  int32_t at = 0;
  int expected = 0;
  int found = 0;
};

/// Hex digits of a word and of a byte in a difference's detail.
inline constexpr int kWordDigits = 4;
inline constexpr int kByteDigits = 2;

/// The detail of a message that reports a difference: "expected 3FFFh,
/// found 0000h", each value in at least `digits` upper-case hex digits;
/// with `at`, for a text that names no address, "at 1A3h: expected ...".
std::string DifferenceText(int expected, int found, int digits, std::optional<int32_t> at = std::nullopt);

/// The progress stride of read and compare: n / 20 rounded, never below 1.
int32_t ProgressStride(int32_t n);
/// What the command layer needs of `device`.
ProtocolTarget TargetOf(const DeviceDescriptor& device, WaitPlanner plan);

/// The last program address an operation walks: below the 14000's calibration block.
int32_t WordBound(const DeviceDescriptor& device);

/// One operation's frame. Construct at the start of a command; it lets long
/// waits pump the front end's events while it lives.
class OperationFrame {
 public:
  OperationFrame(AppState& state, UiHost& ui);
  ~OperationFrame();
  OperationFrame(const OperationFrame&) = delete;
  OperationFrame& operator=(const OperationFrame&) = delete;

  AppState& state() { return state_; }
  UiHost& ui() { return ui_; }
  SerialProtocol& protocol() { return protocol_; }
  const DeviceDescriptor& device() const { return state_.device; }
  bool is12Bit() const { return state_.device.core() == Core::k12Bit; }

  /// False (after showing `noDevice`) when no device is selected.
  bool CheckDevice(const UserMessage& noDevice);
  /// `Barra` at 0, `txtStatus` with `text`, `Statusbar` empty.
  void Begin(const std::string& statusText);
  /// Data line low, then power-up as `plan` says.
  void PowerUp(const PowerUpPlan& plan);
  /// Vpp off, then Vdd off (which also takes data and clock low).
  void PowerDown();
  /// `Barra` to 0 and hidden; `txtStatus` hidden and emptied.
  void End();
  /// `Barra` = i / n x 100.
  void Progress(int32_t i, int32_t n);
  void Wait(float ms);
  /// Sets the supply; a level the counter cannot reach is left alone.
  void SetSupply(float volts);

  /// A failure: with "/Q" writes `quietLine` as the error log's one line,
  /// sets `operationFailed` and calls Terminate (returns kTerminated, the
  /// caller returns at once); otherwise shows `message` (kFailed). Without
  /// a quiet line the log gets the message's own text.
  OpOutcome ReportFailure(const UserMessage& message, const char* quietLine);
  /// Lets long waits pump the front end's events again, after an operation
  /// run inside this one (which takes the pump away when it ends).
  void ResumeEventPump();
  /// Plays the completion sound when `chkSound` is ticked.
  void PlayCompletionSound();

  /// The result with the duration so far.
  OpResult Finish(OpOutcome outcome);

 private:
  AppState& state_;
  UiHost& ui_;
  PortLink::Batch batch_;
  SerialProtocol protocol_;
  int64_t startNs_;
};

/// Writes the quiet-mode error log: exactly `line` (line breaks inside it
/// made blanks) and a line break (an empty line: an empty file), replacing
/// the file.
Status WriteErrorLog(const AppState& state, std::string_view line);

/// In quiet mode a failure has no one to show it to: writes `logLine`, on
/// one line, as the log and ends the program through `ui`, which is told the
/// failure in English (`reason`). Returns false (and does nothing) outside
/// quiet mode.
bool EndQuietRun(const AppState& state, UiHost& ui, std::string_view logLine, const std::string& reason);
/// The same for a failure whose log line is its English text.
bool EndQuietRun(const AppState& state, UiHost& ui, std::string_view text);

/// Shows the messages and notes of a load; a quiet load that failed writes
/// the log and ends the run (false then).
bool ShowLoadReport(AppState& state, UiHost& ui, const LoadReport& report);

}  // namespace quorvi
