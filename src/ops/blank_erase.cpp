// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/blank_erase.h"

#include <optional>
#include <vector>

#include "ops/chip_family.h"
#include "ops/chip_id.h"
#include "ops/config_write.h"
#include "ops/op_texts.h"
#include "ops/serial_eeprom_handover.h"
#include "protocol/pic18_protocol.h"

namespace quorvi {

namespace {

constexpr int kErased18 = 0xFFFF;
constexpr int32_t kBlankProgressStep = 100;
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
  if (std::optional<OpResult> stopped = StopForChipIdentity(frame, BlankPlan(state))) return *stopped;
  frame.PowerUp(BlankPlan(state));
  SerialProtocol& protocol = frame.protocol();
  int32_t good = 0;
  std::optional<Mismatch> firstWritten;
  if (state.device.core() == Core::kPic18) {
    // The 18F words come through the 18F read; an erased word reads FFFFh.
    Pic18Protocol pic18(protocol);
    const std::vector<int> words = pic18.ReadProgramMemory(n, [&](int address) {
      if (address % kBlankProgressStep == 0) frame.Progress(address, n);
      return true;
    });
    while (static_cast<size_t>(good) < words.size() && words[static_cast<size_t>(good)] == kErased18) ++good;
    if (static_cast<size_t>(good) < words.size()) {
      firstWritten = Mismatch{.at = good, .expected = kErased18, .found = words[static_cast<size_t>(good)]};
    }
  } else {
    const int expected = state.device.traits().blankWord;
    for (int32_t i = 0; i <= n; ++i) {
      if (i % kBlankProgressStep == 0) frame.Progress(i, n);
      const int read = protocol.ReadProgramWord();
      if (read != expected) {
        firstWritten = Mismatch{.at = i, .expected = expected, .found = read};
        break;
      }
      ++good;
      protocol.IncrementAddress();
    }
  }
  frame.PowerDown();
  if (state.productionMode()) frame.SetSupply(kNominalVolts);
  OpOutcome outcome = OpOutcome::kOk;
  if (good != n + 1) {
    UserMessage message{op_text::kPicNotErased, title::kQuorviError, MessageIcon::kExclamation};
    if (firstWritten) {
      message.detail = DifferenceText(firstWritten->expected, firstWritten->found, kWordDigits, firstWritten->at);
    }
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
  if (checkChip) {
    if (std::optional<OpResult> stopped = StopForChipIdentity(frame, ErasePlan(state))) return *stopped;
  }
  frame.Begin(op_text::kErasing);
  frame.PowerUp(ErasePlan(state));

  FamilyOf(state.device).Erase(frame, blankCalibration);

  frame.PowerDown();
  frame.End();
  OpResult result = frame.Finish(OpOutcome::kOk);
  result.refreshConfig = true;
  return result;
}

}  // namespace quorvi
