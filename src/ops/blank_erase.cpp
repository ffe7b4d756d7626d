// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/blank_erase.h"

#include <optional>

#include "ops/chip_family.h"
#include "ops/chip_id.h"
#include "ops/config_write.h"
#include "ops/op_texts.h"
#include "ops/serial_eeprom_handover.h"

namespace quorvi {

namespace {

constexpr float kNominalVolts = 5.0F;

}  // namespace

int32_t BlankCheckBound(const DeviceDescriptor& device) {
  int32_t n = device.programSize;
  if (device.rules.blankSparesLastWord) n = n - 1;
  if (device.rules.calibrationBlock) n = kCalibrationBlockBound;
  return n;
}

OpResult cmdBlank(AppState& state, UiHost& ui) {
  OperationFrame frame(state, ui);
  if (state.device.core() == Core::kSerialEeprom) {
    return RunSerialEepromOperation(EepromOperation::kBlank, frame);
  }
  const int32_t n = BlankCheckBound(state.device);
  if (!frame.CheckDevice({op_text::kSelectProcessor, title::kQuorviError, MessageIcon::kExclamation})) {
    return frame.Finish(OpOutcome::kNoDevice);
  }
  frame.Begin(op_text::kTestingBlank);
  // An empty socket reads as erased: only the ID tells it from a blank chip.
  if (std::optional<OpResult> stopped = PowerUpIdentifiedChip(frame, BlankPlan(state))) return *stopped;
  const std::optional<Mismatch> firstWritten = FamilyOf(state.device).FirstWrittenWord(frame, n);
  frame.PowerDown();
  if (state.productionMode()) frame.SetSupply(kNominalVolts);
  OpOutcome outcome = OpOutcome::kOk;
  if (firstWritten) {
    UserMessage message{op_text::kPicNotErased, title::kQuorviError, MessageIcon::kExclamation};
    message.detail = DifferenceText(firstWritten->expected, firstWritten->found, kWordDigits, firstWritten->at);
    outcome = frame.ReportFailure(message, nullptr);
  }
  frame.End();
  return frame.Finish(outcome);
}

OpResult cmdFill(AppState& state, UiHost& ui, bool blankCalibration, bool checkChip) {
  OperationFrame frame(state, ui);
  if (state.device.core() == Core::kSerialEeprom) {
    return RunSerialEepromOperation(EepromOperation::kErase, frame);
  }
  if (!frame.CheckDevice({op_text::kSelectProcessor, title::kQuorviError, MessageIcon::kExclamation})) {
    return frame.Finish(OpOutcome::kNoDevice);
  }
  frame.Begin(op_text::kErasing);
  if (!checkChip) {
    frame.PowerUp(ErasePlan(state));
  } else if (std::optional<OpResult> stopped = PowerUpIdentifiedChip(frame, ErasePlan(state))) {
    return *stopped;
  }

  FamilyOf(state.device).Erase(frame, blankCalibration);

  frame.PowerDown();
  frame.End();
  OpResult result = frame.Finish(OpOutcome::kOk);
  result.refreshConfig = true;
  return result;
}

}  // namespace quorvi
