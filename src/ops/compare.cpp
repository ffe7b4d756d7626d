// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/compare.h"

#include <optional>
#include <string>
#include <vector>

#include "ops/chip_family.h"
#include "ops/config_write.h"
#include "ops/op_texts.h"
#include "ops/pic18_config_bytes.h"
#include "ops/serial_eeprom_handover.h"
#include "protocol/pic18_protocol.h"

namespace quorvi {

namespace {

constexpr int kIdWords = 4;
constexpr int kIncrementsToConfig = 7;
constexpr int kIncrementsAfterIds = 3;
constexpr int32_t kIdAddress = 0x2000;
constexpr float kAfterPassMs = 500.0F;
constexpr float kSupplySettleMs = 250.0F;
constexpr int kWord16Mask = 0xFFFF;
constexpr float kNominalVolts = 5.0F;

const char* PassText(VddLevel level) {
  switch (level) {
    case VddLevel::kMin: return op_text::kPassAtVddMin;
    case VddLevel::kMax: return op_text::kPassAtVddMax;
    case VddLevel::kNormal: break;
  }
  return op_text::kPassNormal;
}

const char* FusePassText(VddLevel level) {
  switch (level) {
    case VddLevel::kMin: return op_text::kFusePassAtVddMin;
    case VddLevel::kMax: return op_text::kFusePassAtVddMax;
    case VddLevel::kNormal: break;
  }
  return op_text::kFusePassNormal;
}

UserMessage NotEqualAt(int32_t address, int expected, int found) {
  return {.text = op_text::kPicNotEqualAt + AddressText(address),
          .title = title::kQuorvi2Error,
          .icon = MessageIcon::kNone,
          .detail = DifferenceText(expected, found, kWordDigits)};
}

void CleanUp(OperationFrame& frame) {
  frame.PowerDown();
  frame.ui().ShowProgress(0.0);
  frame.ui().HideProgress();
}

// The start of either program pass; false, after the message, when no
// device is selected.
bool StartProgramPass(OperationFrame& frame, VddLevel level) {
  AppState& state = frame.state();
  if (state.device.programSize == 0) {
    frame.ui().ShowMessage({op_text::kSelectProcessor, title::kQuorvi2Error, MessageIcon::kExclamation});
    CleanUp(frame);
    return false;
  }
  // Start from an unpowered target.
  frame.PowerDown();
  frame.ui().ShowProgress(0.0);
  state.operationFailed = kFalse;
  frame.ui().ShowStatus(PassText(level));
  return true;
}

// A program word that differs ends the pass. In quiet mode the port is left
// as it stands; otherwise the box comes first and the target is powered
// down once it is closed.
OpOutcome ReportProgramDifference(OperationFrame& frame, int32_t address, int expected, int found) {
  const OpOutcome outcome =
      frame.ReportFailure(NotEqualAt(address, expected, found), op_text::quiet::kCompareFailed);
  if (outcome != OpOutcome::kTerminated) CleanUp(frame);
  return outcome;
}

// Reads the configuration where the family keeps it; the detail of the
// difference from the image, if there is one.
std::optional<std::string> ConfigurationDifference(OperationFrame& frame) {
  const AppState& state = frame.state();
  const DeviceDescriptor& device = state.device;
  SerialProtocol& protocol = frame.protocol();
  const int configWord = state.image.configWord;
  if (device.core() == Core::kPic18) {
    Pic18Protocol pic18(protocol);
    const std::optional<Mismatch> byte = FirstDifferingConfigByte18(pic18, device, state.image);
    if (!byte) return std::nullopt;
    return DifferenceText(byte->expected, byte->found, kByteDigits, byte->at);
  }
  // Bits the part does not implement read back as the silicon chooses.
  const int mask = ConfigCompareMask(device);
  const auto differs = [&](int read) -> std::optional<std::string> {
    if ((read & mask) == (configWord & mask)) return std::nullopt;
    return DifferenceText(configWord & mask, read & mask, kWordDigits);
  };
  if (frame.is12Bit()) {
    if (std::optional<std::string> detail = differs(protocol.ReadProgramWord())) return detail;
    // An equal 12-bit word is followed by the walk to 2007h, where nothing is read.
    for (int k = 0; k < kIncrementsToConfig + 2; ++k) protocol.IncrementAddress();
    return std::nullopt;
  }
  protocol.LoadConfiguration(0);
  for (int k = 0; k < kIncrementsToConfig; ++k) protocol.IncrementAddress();
  return differs(protocol.ReadProgramWord());
}

// The end of a program-and-ID pass once the ID words are read.
OpOutcome FinishIdCompare(OperationFrame& frame, const std::optional<Mismatch>& differingWord) {
  frame.PowerDown();
  OpOutcome outcome = OpOutcome::kOk;
  if (differingWord) {
    outcome = frame.ReportFailure(NotEqualAt(kIdAddress + differingWord->at, differingWord->expected,
                                             differingWord->found),
                                  op_text::quiet::kIdCompareFailed);
    if (outcome == OpOutcome::kTerminated) return outcome;
  } else {
    frame.Wait(kAfterPassMs);
  }
  CleanUp(frame);
  return outcome;
}

}  // namespace

OpOutcome CompareProgramPass(OperationFrame& frame, VddLevel level) {
  AppState& state = frame.state();
  const DeviceDescriptor& device = state.device;
  if (!StartProgramPass(frame, level)) return OpOutcome::kNoDevice;
  int32_t n = WordBound(device);
  frame.PowerUp(ComparePlan(level, device.vddMin, device.vddMax));

  // The calibration word of these parts is the chip's own, never the image's.
  if (device.rules.compareSparesLastWord) n = n - 1;
  SerialProtocol& protocol = frame.protocol();
  const int32_t stride = ProgressStride(n);
  for (int32_t i = 0; i <= n; ++i) {
    if (i % stride == 0) frame.Progress(i, n);
    const int read = protocol.ReadProgramWord();
    const int32_t expected = state.image.programBuffer[static_cast<size_t>(i)];
    if (read != expected) return ReportProgramDifference(frame, i, expected, read);
    protocol.IncrementAddress();
  }

  if (frame.is12Bit()) {
    protocol.IncrementAddress();
  } else {
    protocol.LoadConfiguration(0);
  }
  std::optional<Mismatch> differingId;
  for (int k = 0; k < kIdWords; ++k) {
    // The last differing word is the one reported.
    const int read = protocol.ReadProgramWord();
    const int expected = state.image.idWords[static_cast<size_t>(k)];
    if (read != expected) differingId = Mismatch{.at = k, .expected = expected, .found = read};
    protocol.IncrementAddress();
  }
  for (int k = 0; k < kIncrementsAfterIds; ++k) protocol.IncrementAddress();
  return FinishIdCompare(frame, differingId);
}

OpOutcome CompareProgramPass18(OperationFrame& frame, VddLevel level) {
  AppState& state = frame.state();
  const DeviceDescriptor& device = state.device;
  if (!StartProgramPass(frame, level)) return OpOutcome::kNoDevice;
  const int32_t n = device.programSize;
  if (level == VddLevel::kMin) frame.SetSupply(device.vddMin);
  if (level == VddLevel::kMax) frame.SetSupply(device.vddMax);
  frame.Wait(kSupplySettleMs);
  // The 18F read enters programming mode itself and ends with the supplies off.
  const int32_t stride = ProgressStride(n);
  Pic18Protocol pic18(frame.protocol());
  const std::vector<int> words = pic18.ReadProgramMemory(n, [&](int address) {
    if (address == n || address % stride == 0) frame.Progress(address, n);
    return true;
  });
  for (int32_t i = 0; i <= n; ++i) {
    const auto index = static_cast<size_t>(i);
    const int read = index < words.size() ? words[index] : -1;
    // The image keeps 18F words from 8000h on as negative 16-bit numbers.
    const int expected = state.image.programBuffer[index] & kWord16Mask;
    if (read != expected) return ReportProgramDifference(frame, i, expected, read);
  }
  frame.protocol().EnterProgrammingMode();
  return FinishIdCompare(frame, LastDifferingIdWord18(pic18, state.image));
}

OpOutcome CompareConfigPass(OperationFrame& frame, VddLevel level) {
  AppState& state = frame.state();
  UiHost& ui = frame.ui();
  const DeviceDescriptor& device = state.device;
  if (device.programSize == 0) {
    ui.ShowMessage({op_text::kSelectProcessor, title::kQuorvi2Error, MessageIcon::kNone});
    CleanUp(frame);
    frame.SetSupply(kNominalVolts);
    return OpOutcome::kNoDevice;
  }
  frame.PowerDown();
  ui.ShowProgress(0.0);
  ui.ShowStatus(FusePassText(level));
  PowerUpPlan plan = ComparePlan(level, device.vddMin, device.vddMax);
  // The 12-bit configuration word is read where the counter stands at entry.
  plan.incrementFor12Bit = false;
  frame.PowerUp(plan);

  const std::optional<std::string> difference = ConfigurationDifference(frame);
  frame.PowerDown();

  OpOutcome outcome = OpOutcome::kOk;
  if (difference) {
    // The configuration compare reports without marking the operation failed.
    const Flag failedBefore = state.operationFailed;
    const UserMessage message{.text = op_text::kFusesNotEqual,
                              .title = title::kQuorvi2Error,
                              .icon = MessageIcon::kNone,
                              .detail = *difference};
    outcome = frame.ReportFailure(message, op_text::quiet::kFuseCompareFailed);
    if (outcome == OpOutcome::kTerminated) return outcome;
    state.operationFailed = failedBefore;
  }
  frame.Wait(kAfterPassMs);
  CleanUp(frame);
  frame.SetSupply(kNominalVolts);
  return outcome;
}

OpResult cmdCompare(AppState& state, UiHost& ui) {
  OperationFrame frame(state, ui);
  if (state.device.core() == Core::kSerialEeprom) {
    return RunSerialEepromOperation(EepromOperation::kCompare, frame);
  }
  ui.ShowStatus(op_text::kComparing);
  ui.SetStatusBar("");
  const ChipFamily& family = FamilyOf(state.device);
  const auto programPass = [&family](OperationFrame& f, VddLevel level) { return family.ComparePass(f, level); };

  bool failed = false;
  const auto run = [&](OpOutcome outcome) {
    if (outcome != OpOutcome::kOk) failed = true;
    return outcome;
  };
  const bool production = state.productionMode();
  OpOutcome outcome = OpOutcome::kOk;
  if (production) {
    ui.ShowStatus(op_text::kComparingAtVddMin);
    outcome = run(programPass(frame, VddLevel::kMin));
    if (outcome == OpOutcome::kTerminated) return frame.Finish(outcome);
    if (outcome == OpOutcome::kNoDevice) {
      frame.End();
      return frame.Finish(outcome);
    }
    ui.ShowStatus(op_text::kComparingAtVddMax);
    outcome = run(programPass(frame, VddLevel::kMax));
  } else {
    outcome = run(programPass(frame, VddLevel::kNormal));
  }
  if (outcome == OpOutcome::kTerminated) return frame.Finish(outcome);
  if (outcome == OpOutcome::kNoDevice) {
    frame.End();
    return frame.Finish(outcome);
  }

  if (production) {
    ui.ShowStatus(op_text::kComparingFusesVddMin);
    outcome = run(CompareConfigPass(frame, VddLevel::kMin));
    if (outcome == OpOutcome::kTerminated) return frame.Finish(outcome);
    ui.ShowStatus(op_text::kComparingFusesVddMax);
    outcome = run(CompareConfigPass(frame, VddLevel::kMax));
  } else {
    outcome = run(CompareConfigPass(frame, VddLevel::kNormal));
  }
  if (outcome == OpOutcome::kTerminated) return frame.Finish(outcome);
  frame.End();
  return frame.Finish(failed ? OpOutcome::kFailed : OpOutcome::kOk);
}

}  // namespace quorvi
