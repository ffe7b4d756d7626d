// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/write.h"

#include <algorithm>
#include <optional>

#include "device/fuses.h"
#include "image/open_command.h"
#include "ops/blank_erase.h"
#include "ops/chip_family.h"
#include "ops/chip_id.h"
#include "ops/compare.h"
#include "ops/config_write.h"
#include "ops/op_texts.h"
#include "ops/serial_eeprom_handover.h"
#include "util/atomic_file.h"

namespace quorvi {

namespace {

constexpr float kAfterEraseMs = 750.0F;

class Writer {
 public:
  explicit Writer(OperationFrame& frame)
      : frame_(frame), state_(frame.state()), protocol_(frame.protocol()), device_(frame.state().device),
        family_(FamilyOf(device_)), job_(frame) {}

  OpResult Run();

 private:
  bool AskCodeProtection();
  // False when quiet mode ends the program because the file is gone.
  bool ReloadChangedImage();
  // False when the command ends here (No, or quiet-mode termination in `ended`).
  bool BlankTest(OpOutcome& ended);
  void EraseFirst();
  OpResult Fail(OpOutcome outcome);

  OperationFrame& frame_;
  AppState& state_;
  SerialProtocol& protocol_;
  const DeviceDescriptor& device_;
  const ChipFamily& family_;
  WriteJob job_;
};

bool Writer::AskCodeProtection() {
  if (device_.writeMode != 1) return true;
  if (!CodeProtectionSelected(device_, state_.image.configWord)) return true;
  return frame_.ui().AskYesNo({op_text::kCodeProtectionWarning, title::kQuorvi2Alert, MessageIcon::kCritical});
}

bool Writer::ReloadChangedImage() {
  if (!state_.imagePath.empty() && state_.imageTimeStamp) {
    const auto stamp = FileTimeStamp(state_.imagePath);
    if (stamp != state_.imageTimeStamp) {
      const LoadReport report =
          LoadImageFile(state_.imagePath, false, device_, state_.image, ImageLoadOptions(state_));
      if (!ShowLoadReport(state_, frame_.ui(), report)) return false;
      if (report.loaded) state_.imageTimeStamp = stamp;
    }
  }
  // A number that does not fit leaves the image as it is; the write goes on.
  if (SerialActive(state_.serial)) (void)ApplySerial(state_.serial, device_, state_.image, ClockSeededUniform());
  return true;
}

bool Writer::BlankTest(OpOutcome& ended) {
  frame_.ui().ShowStatus(op_text::kTestingBlank);
  const int32_t n = BlankCheckBound(device_);
  const int expected = device_.traits().blankWord;
  bool blank = true;
  for (int32_t i = 0; i <= n; ++i) {
    if (protocol_.ReadProgramWord() != expected) {
      blank = false;
      break;
    }
    protocol_.IncrementAddress();
  }
  if (!blank) {
    if (state_.quiet()) {
      ended = frame_.ReportFailure({op_text::kPicNotErased, title::kQuorvi2Error, MessageIcon::kExclamation},
                                   op_text::quiet::kEraseFailed);
      return false;
    }
    frame_.PowerDown();
    if (!frame_.ui().AskYesNo({op_text::kPicNotErasedContinue, title::kQuorvi2Error, MessageIcon::kExclamation})) {
      ended = OpOutcome::kCancelled;
      return false;
    }
  }
  // The test has moved the address counter: start again from the reset position.
  job_.Reenter();
  return true;
}

void Writer::EraseFirst() {
  frame_.PowerDown();
  (void)cmdFill(state_, frame_.ui(), false, false);
  frame_.ResumeEventPump();
  frame_.Wait(kAfterEraseMs);
  frame_.PowerUp(WritePlan(state_));
}

OpResult Writer::Fail(OpOutcome outcome) {
  if (outcome != OpOutcome::kTerminated) frame_.End();
  return frame_.Finish(outcome);
}

OpResult Writer::Run() {
  UiHost& ui = frame_.ui();
  if (!AskCodeProtection()) return frame_.Finish(OpOutcome::kCancelled);
  if (!ReloadChangedImage()) return frame_.Finish(OpOutcome::kTerminated);
  frame_.Begin(op_text::kWritingData);
  std::fill(state_.cycleTable.begin(), state_.cycleTable.end(), int16_t{0});
  if (std::optional<OpResult> stopped = PowerUpIdentifiedChip(frame_, WritePlan(state_))) return *stopped;
  const bool pic18 = device_.core() == Core::kPic18;

  if (!pic18 && state_.options.chkTestBlank) {
    OpOutcome ended = OpOutcome::kOk;
    if (!BlankTest(ended)) return Fail(ended);
  }
  if (state_.options.chkErase && device_.traits().flash14) EraseFirst();
  ui.ShowStatus(op_text::kWritingData);

  std::optional<WriteError> error = family_.WriteProgram(job_);
  if (!error && frame_.is12Bit()) error = family_.WriteIds(job_);
  if (!error) error = family_.WriteData(job_);
  if (!error && !frame_.is12Bit()) error = family_.WriteIds(job_);
  if (error) {
    frame_.PowerDown();
    return Fail(frame_.ReportFailure(
        {op_text::kWritingErrorAt + AddressText(error->address), title::kQuorvi2Error, MessageIcon::kCritical},
        op_text::quiet::kWriteFailed));
  }

  if (!WriteConfiguration(frame_)) {
    frame_.PowerDown();
    return Fail(frame_.ReportFailure({op_text::kErrorWritingFuses, title::kQuorvi2Error, MessageIcon::kCritical},
                                     op_text::quiet::kFuseWriteFailed));
  }
  frame_.PowerDown();

  const auto pass = [this](OperationFrame& f, VddLevel level) { return family_.ComparePass(f, level); };
  if (state_.productionMode()) {
    for (const VddLevel level : {VddLevel::kMin, VddLevel::kMax}) {
      const OpOutcome outcome = pass(frame_, level);
      if (outcome == OpOutcome::kTerminated) return frame_.Finish(outcome);
      if (outcome != OpOutcome::kOk) return Fail(OpOutcome::kFailed);
    }
  } else {
    const OpOutcome outcome = pass(frame_, VddLevel::kNormal);
    if (outcome == OpOutcome::kTerminated) return frame_.Finish(outcome);
    if (outcome != OpOutcome::kOk) return Fail(OpOutcome::kFailed);
  }
  if (state_.operationFailed != kFalse) return Fail(OpOutcome::kFailed);

  OpResult result;
  if (SerialActive(state_.serial)) {
    // A companion file that cannot be written leaves the number where it was.
    (void)AdvanceSerialAfterWrite(state_.serial, state_.imagePath, device_, state_.image, ClockSeededUniform());
    result.refreshProgramListing = true;
  }
  frame_.PowerDown();
  frame_.PlayCompletionSound();
  ui.SetStatusBar(op_text::kOperationOk);
  frame_.End();
  const OpResult finished = frame_.Finish(OpOutcome::kOk);
  result.outcome = finished.outcome;
  result.durationNs = finished.durationNs;
  return result;
}

}  // namespace

bool CodeProtectionSelected(const DeviceDescriptor& device, int32_t configWord) {
  const ConfigDisplay display = ShowConfigWord(device, configWord, {}, 0);
  return std::any_of(display.choices.begin(), display.choices.end(),
                     [](const FuseChoice& c) { return c.button == "CP0_ON" || c.button == "CP1_ON"; });
}

OpResult cmdWrite(AppState& state, UiHost& ui) {
  OperationFrame frame(state, ui);
  if (state.device.core() == Core::kSerialEeprom) return RunSerialEepromOperation(EepromOperation::kWrite, frame);
  if (!frame.CheckDevice({op_text::kSelectProcessor, title::kQuorvi2Error, MessageIcon::kExclamation})) {
    return frame.Finish(OpOutcome::kNoDevice);
  }
  return Writer(frame).Run();
}

}  // namespace quorvi
