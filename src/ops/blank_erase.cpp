// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/blank_erase.h"

#include <optional>
#include <vector>

#include "ops/chip_id.h"
#include "ops/config_write.h"
#include "ops/op_texts.h"
#include "ops/serial_eeprom_handover.h"
#include "protocol/pic18_protocol.h"

namespace quorvi {

namespace {

constexpr int kBandgapBits = 0x3000;
constexpr int kBandgapConfigValue = 0x01FF;
constexpr int kAllOnes14 = 0x3FFF;
constexpr int kErased18 = 0xFFFF;
constexpr int32_t kBlankProgressStep = 100;
constexpr float kNominalVolts = 5.0F;
constexpr float kPowerOffMs = 250.0F;

// The code-protection erase of data memory.
void CodeProtectEraseData(OperationFrame& frame) {
  SerialProtocol& protocol = frame.protocol();
  protocol.LoadDataMemory(kAllOnes14);
  protocol.SendCommand(cmd::kEraseSetup1);
  protocol.SendCommand(cmd::kEraseSetup2);
  protocol.SendCommand(cmd::kBeginProgramming);
  protocol.WaitAtLeast(20.0F, protocol.timing().protectErase);
  protocol.SendCommand(cmd::kEraseSetup1);
  protocol.SendCommand(cmd::kEraseSetup2);
  frame.Wait(20.0F);
}

// Parts whose last word and configuration bits 13:12 hold factory values:
// save both, erase, then put them back.
void EraseKeepingCalibration(OperationFrame& frame, bool blankCalibration) {
  AppState& state = frame.state();
  SerialProtocol& protocol = frame.protocol();
  const DeviceDescriptor& device = state.device;
  const int32_t n = device.programSize;

  for (int32_t i = 0; i < n; ++i) protocol.IncrementAddress();
  state.savedCalibration = static_cast<int16_t>(protocol.ReadProgramWord());
  protocol.GoToConfigurationWord(0);
  state.savedBandgap = static_cast<int16_t>(protocol.ReadProgramWord() & kBandgapBits);

  protocol.LoadConfiguration(kAllOnes14);
  protocol.SendCommand(cmd::kBulkEraseProgram);
  protocol.WaitAtLeast(10.0F, protocol.timing().bulkErase);
  protocol.SendCommand(cmd::kBulkEraseData);
  protocol.WaitAtLeast(10.0F, protocol.timing().bulkErase);

  // A fresh entry into programming mode resets the address counter to 0.
  // Vpp goes first and comes back with the part's entry order and settle
  // time (DS41191: Vpp before Vdd, 5 us before the first command).
  frame.PowerDown();
  frame.Wait(kPowerOffMs);
  PowerUpPlan reentry;
  reentry.dataLowAfterVpp = false;
  frame.PowerUp(reentry);

  for (int32_t i = 0; i < n; ++i) protocol.IncrementAddress();
  ProgramWord(protocol, PulseMode::kLong, blankCalibration ? kAllOnes14 : state.savedCalibration);

  // Only the saved band-gap bits are set, whatever the image holds.
  const int32_t imageConfig = state.image.configWord;
  state.image.configWord = kBandgapConfigValue;
  WriteConfiguration(frame);
  state.image.configWord = imageConfig;
  frame.ui().HideProgress();
}

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

  SerialProtocol& protocol = frame.protocol();
  const DeviceDescriptor& device = state.device;
  const EraseMethod method = device.traits().erase;
  if (method == EraseMethod::kPic18) {
    Pic18Protocol(protocol).BulkErase();
  } else if (device.rules.bandgap) {
    EraseKeepingCalibration(frame, blankCalibration);
  } else if (method == EraseMethod::kChipErase) {
    protocol.LoadConfiguration(0);
    protocol.SendCommand(cmd::kChipErase);
    protocol.WaitAtLeast(5.0F, protocol.timing().chipErase);
  } else if (method == EraseMethod::kBulkProgram) {
    protocol.SendCommand(cmd::kBulkEraseProgram);
    protocol.WaitAtLeast(40.0F, protocol.timing().bulkErase);
  } else {
    protocol.LoadConfiguration(0);
    protocol.SendCommand(cmd::kBulkEraseProgram);
    protocol.WaitAtLeast(40.0F, protocol.timing().bulkErase);
    protocol.SendCommand(cmd::kBulkEraseData);
    protocol.WaitAtLeast(40.0F, protocol.timing().bulkErase);
    protocol.CodeProtectEraseConfigPath();
    CodeProtectEraseData(frame);
  }

  frame.PowerDown();
  frame.End();
  OpResult result = frame.Finish(OpOutcome::kOk);
  result.refreshConfig = true;
  return result;
}

}  // namespace quorvi
