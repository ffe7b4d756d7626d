// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/config_write.h"

#include <optional>

#include "device/part_facts.h"
#include "hw/delay.h"
#include "ops/chip_family.h"
#include "ops/chip_id.h"
#include "ops/op_texts.h"

namespace quorvi {

namespace {

constexpr int16_t kCycleLimit = 26;
constexpr int16_t kCore12CycleLimit = 8;
constexpr float kPowerOffMs = 250.0F;
constexpr float kInternalCycleMs = 10.0F;
constexpr float kExternalCycleMs = 1.0F;

}  // namespace

bool ConfigReadsBack(OperationFrame& frame, int expected) {
  const int mask = ConfigCompareMask(frame.device());
  return (frame.protocol().ReadProgramWord() & mask) == (expected & mask);
}

int ConfigCompareMask(const DeviceDescriptor& device) { return FactsFor(device).configMask; }

int16_t ProgramWord(SerialProtocol& protocol, PulseMode mode, int word, int mask) {
  const ProgrammingTiming& timing = protocol.timing();
  int16_t count = 0;
  std::optional<int> last;  // nothing read yet: at least one cycle
  while (count < kCycleLimit && (!last || (*last & mask) != (word & mask))) {
    protocol.LoadProgramData(word);
    if (protocol.target().programOnlyCycles) {
      protocol.SendCommand(cmd::kBeginProgrammingOnly);
      protocol.WaitAtLeast(kExternalCycleMs, timing.programOnly);
      protocol.SendCommand(cmd::kEndProgramming2);
    } else {
      protocol.BeginProgramming();
      switch (mode) {
        case PulseMode::kShort:
          protocol.WaitAtLeast(kOneUnitMs, timing.pulse);
          protocol.EndProgramming();
          break;
        case PulseMode::kLong: protocol.WaitAtLeast(kInternalCycleMs, timing.program); break;
        case PulseMode::kMedium:
          protocol.WaitAtLeast(kExternalCycleMs, timing.programOnly);
          protocol.EndProgramming();
          break;
      }
    }
    last = protocol.ReadProgramWord();
    ++count;
    if (protocol.target().core12 && count > kCore12CycleLimit) break;
  }
  return count;
}

bool WriteConfiguration(OperationFrame& frame) {
  AppState& state = frame.state();
  UiHost& ui = frame.ui();
  ui.ShowProgress(0.0);
  ui.ShowStatus(op_text::kWritingFuses);
  state.link.SetDataLine(kFalse);
  frame.PowerDown();
  frame.Wait(kPowerOffMs);
  frame.PowerUp(ConfigWritePlan());
  return FamilyOf(state.device).WriteConfiguration(frame);
}

OpResult cmdWriteFuse(AppState& state, UiHost& ui) {
  OperationFrame frame(state, ui);
  // A 24Cxx has no configuration word.
  if (state.device.core() == Core::kSerialEeprom) return frame.Finish(OpOutcome::kUnavailable);
  if (!frame.CheckDevice({op_text::kSelectProcessor, title::kQuorviError, MessageIcon::kExclamation})) {
    return frame.Finish(OpOutcome::kNoDevice);
  }
  if (std::optional<OpResult> stopped = StopForChipIdentity(frame, ConfigWritePlan())) return *stopped;
  const bool ok = WriteConfiguration(frame);
  frame.PowerDown();
  ui.HideProgress();
  ui.HideStatus();
  ui.SetStatusBar("");
  if (!ok) {
    const OpOutcome outcome = frame.ReportFailure(
        {op_text::kErrorWritingFuses, title::kQuorvi2Error, MessageIcon::kCritical}, op_text::quiet::kFuseWriteFailed);
    if (outcome == OpOutcome::kTerminated) return frame.Finish(outcome);
    ui.SetStatusBar(op_text::kFuseError);
    return frame.Finish(outcome);
  }
  ui.SetStatusBar(op_text::kFuseOk);
  return frame.Finish(OpOutcome::kOk);
}

}  // namespace quorvi
