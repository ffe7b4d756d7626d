// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/frame.h"

#include <algorithm>
#include <cstdio>

#include "device/part_facts.h"
#include "hw/delay.h"
#include "util/arith.h"
#include "util/atomic_file.h"
#include "util/input_fields.h"

namespace quorvi {

namespace {

constexpr float kNominalVolts = 5.0F;
constexpr float kEighteenPinSettleMs = 100.0F;
constexpr float kBlankSupplySettleMs = 500.0F;
constexpr float kWriteSupplySettleMs = 250.0F;
constexpr float kCompareSupplySettleMs = 250.0F;
constexpr float kReadVppSettleMs = 150.0F;
constexpr float kConfigWriteVppSettleMs = 50.0F;
constexpr int32_t kStrideParts = 20;
constexpr int kQuietExitCode = 1;

}  // namespace

ProtocolTarget TargetOf(const DeviceDescriptor& device, WaitPlanner plan) {
  const PartFacts facts = FactsFor(device);
  return {.core12 = device.core() == Core::k12Bit,
          .programOnlyCycles = device.traits().programOnlyCycles,
          .pairFlag = device.pairFlag,
          .pinCount = device.pinCount,
          .mclrOnVpp3 = device.rules.calibrationBlock,
          .timing = facts.timing,
          .vppFirst = facts.vppFirst,
          .settlesBeforeVpp = device.rules.settlesBeforeVpp,
          .plan = std::move(plan)};
}

PowerUpPlan ReadPlan() {
  PowerUpPlan plan;
  plan.icspWait = true;
  plan.vppSettleMs = kReadVppSettleMs;
  return plan;
}

PowerUpPlan BlankPlan(const AppState& state) {
  PowerUpPlan plan;
  plan.incrementFor12Bit = true;
  if (state.productionMode()) {
    plan.supplyBeforeVdd = state.workingVdd;
    plan.waitBeforeVdd = kBlankSupplySettleMs;
  }
  return plan;
}

PowerUpPlan ErasePlan(const AppState& state) {
  PowerUpPlan plan;
  // An erase always runs at the nominal supply.
  plan.nominalSupplyAfterVdd = state.productionMode();
  plan.dataLowAfterVpp = false;
  return plan;
}

PowerUpPlan WritePlan(const AppState& state) {
  PowerUpPlan plan;
  plan.icspWait = true;
  plan.incrementFor12Bit = true;
  if (state.productionMode()) {
    plan.supplyBeforeVdd = state.workingVdd;
    plan.waitBeforeVdd = kWriteSupplySettleMs;
  }
  return plan;
}

PowerUpPlan ComparePlan(VddLevel level, float vddMin, float vddMax) {
  PowerUpPlan plan;
  plan.waitBeforeVdd = kCompareSupplySettleMs;
  plan.icspWait = true;
  plan.incrementFor12Bit = true;
  if (level == VddLevel::kMin) plan.supplyBeforeVdd = vddMin;
  if (level == VddLevel::kMax) plan.supplyBeforeVdd = vddMax;
  return plan;
}

PowerUpPlan ConfigWritePlan() {
  PowerUpPlan plan;
  plan.icspWait = true;
  plan.vppSettleMs = kConfigWriteVppSettleMs;
  plan.dataLowAfterVpp = false;
  return plan;
}

std::string AddressText(int32_t address) { return HexText(address) + "h"; }

std::string DifferenceText(int expected, int found, int digits, std::optional<int32_t> at) {
  // `digits` is a width, not a mask: a wider value (a PIC word where a byte
  // belongs) shows whole, or two different values could read the same.
  const auto hex = [digits](int value) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*Xh", digits, static_cast<unsigned>(value));
    return std::string(text);
  };
  return (at ? "at " + AddressText(*at) + ": " : "") + "expected " + hex(expected) + ", found " + hex(found);
}

int32_t ProgressStride(int32_t n) {
  const int64_t stride = RoundHalfEven(static_cast<double>(n) / kStrideParts);
  return stride < 1 ? 1 : static_cast<int32_t>(stride);
}

int32_t WordBound(const DeviceDescriptor& device) {
  return device.rules.calibrationBlock ? kCalibrationBlockBound : device.programSize;
}

Status WriteErrorLog(const AppState& state, std::string_view line) {
  // An empty line leaves the log empty: the missing image file's old behaviour.
  std::string content(line);
  std::replace(content.begin(), content.end(), '\n', ' ');
  if (!content.empty()) content += '\n';
  return WriteFileAtomically(state.paths.ErrorLog(), content);
}

bool EndQuietRun(const AppState& state, UiHost& ui, std::string_view logLine, const std::string& reason) {
  if (!state.quiet()) return false;
  // A log that cannot be written cannot be reported either; the exit code still says it.
  (void)WriteErrorLog(state, logLine);
  ui.Terminate(kQuietExitCode, reason);
  return true;
}

bool EndQuietRun(const AppState& state, UiHost& ui, std::string_view text) {
  return EndQuietRun(state, ui, text, std::string(text));
}

bool ShowLoadReport(AppState& state, UiHost& ui, const LoadReport& report) {
  for (const UserMessage& message : report.messages) ui.ShowMessage(message);
  for (const std::string& note : report.notes) ui.SetStatusBar(note);
  if (!report.quietEnd) return true;
  state.operationFailed = kTrue;
  (void)WriteErrorLog(state, *report.quietEnd);
  ui.Terminate(kQuietExitCode, report.failure);
  return false;
}

OperationFrame::OperationFrame(AppState& state, UiHost& ui)
    : state_(state),
      ui_(ui),
      batch_(state.link),
      protocol_(state.link, TargetOf(state.device, state.waitPlanner)),
      startNs_(state.clock->Nanoseconds()) {
  state_.clock->SetEventPump([this] { ui_.PumpEvents(); });
}

void OperationFrame::ResumeEventPump() {
  state_.clock->SetEventPump([this] { ui_.PumpEvents(); });
}

OperationFrame::~OperationFrame() { state_.clock->SetEventPump(nullptr); }

bool OperationFrame::CheckDevice(const UserMessage& noDevice) {
  if (state_.device.programSize > 0) return true;
  if (EndQuietRun(state_, ui_, noDevice.text)) return false;
  ui_.ShowMessage(noDevice);
  return false;
}

void OperationFrame::Begin(const std::string& statusText) {
  ui_.ShowProgress(0.0);
  ui_.ShowStatus(statusText);
  ui_.SetStatusBar("");
}

void OperationFrame::Wait(float ms) { DelayMs(state_.link.clock(), ms); }

void OperationFrame::SetSupply(float volts) {
  // A refused level leaves the counter where it was; the operation goes on.
  (void)state_.link.SetVddLevel(volts);
}

void OperationFrame::PowerUp(const PowerUpPlan& plan) {
  const DeviceDescriptor& dev = state_.device;
  PortLink& link = state_.link;
  link.SetDataLine(kFalse);
  if (plan.supplyBeforeVdd) SetSupply(*plan.supplyBeforeVdd);
  if (plan.waitBeforeVdd > 0.0F) Wait(plan.waitBeforeVdd);
  // Parts that may run their own code at power-up see Vpp first, in every
  // operation: an entry that works for the write but not for the read would
  // read a running chip.
  if (protocol_.target().vppFirst) {
    protocol_.PowerVppFirst();
  } else {
    link.SetVdd("on");
  }
  if (dev.rules.settlesBeforeVpp) {
    Wait(kEighteenPinSettleMs);
  }
  if (plan.nominalSupplyAfterVdd) {
    SetSupply(kNominalVolts);
    Wait(kWriteSupplySettleMs);
  }
  if (plan.icspWait && state_.options.chkICSP) {
    Wait(static_cast<float>(VbVal(state_.options.cmbICSP)));
  }
  if (!protocol_.target().vppFirst) protocol_.Hold(IcspTiming().vddBeforeVppNs);
  link.SetProgrammingVoltage(kTrue, dev.pinCount, dev.rules.calibrationBlock);
  Wait(plan.vppSettleMs);
  if (plan.dataLowAfterVpp) link.SetDataLine(kFalse);
  if (plan.incrementFor12Bit && is12Bit()) protocol_.IncrementAddress();
}

void OperationFrame::PowerDown() {
  state_.link.SetProgrammingVoltage(kFalse, state_.device.pinCount, state_.device.rules.calibrationBlock);
  state_.link.SetVdd("off");
}

void OperationFrame::End() {
  ui_.ShowProgress(0.0);
  ui_.HideProgress();
  ui_.HideStatus();
}

void OperationFrame::Progress(int32_t i, int32_t n) {
  ui_.ShowProgress(n == 0 ? 0.0 : static_cast<double>(i) / static_cast<double>(n) * 100.0);
}

OpOutcome OperationFrame::ReportFailure(const UserMessage& message, const char* quietLine) {
  state_.operationFailed = kTrue;
  if (EndQuietRun(state_, ui_, quietLine != nullptr ? std::string_view(quietLine) : message.text, message.Line())) {
    return OpOutcome::kTerminated;
  }
  ui_.ShowMessage(message);
  return OpOutcome::kFailed;
}

void OperationFrame::PlayCompletionSound() {
  if (state_.options.chkSound) ui_.PlaySound(state_.paths.Sound());
}

OpResult OperationFrame::Finish(OpOutcome outcome) {
  return {.outcome = outcome, .durationNs = state_.clock->Nanoseconds() - startNs_};
}

}  // namespace quorvi
