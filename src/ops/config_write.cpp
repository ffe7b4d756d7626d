// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/config_write.h"

#include <optional>

#include "device/part_facts.h"
#include "hw/delay.h"
#include "ops/chip_id.h"
#include "ops/op_texts.h"
#include "ops/pic18_config_bytes.h"

namespace quorvi {

namespace {

constexpr int16_t kCycleLimit = 26;
constexpr int16_t kCore12CycleLimit = 8;
constexpr int kOtpRounds = 100;
constexpr float kPowerOffMs = 250.0F;
constexpr float kInternalCycleMs = 10.0F;
constexpr float kExternalCycleMs = 1.0F;
constexpr int kIdleConfigLatch = 0x3FFF;

bool OtpSequence(OperationFrame& frame) {
  SerialProtocol& protocol = frame.protocol();
  const MemoryImage& image = frame.state().image;
  const int mask = ConfigCompareMask(frame.device());
  if (!frame.is12Bit()) protocol.GoToConfigurationWord(image.idWords[0]);
  protocol.LoadProgramData(image.configWord);
  protocol.LoadProgramData(image.configWord);
  // The first round programs the word; each later one adds at least one pulse.
  for (int round = 0; round < kOtpRounds; ++round) {
    if (ProgramWord(protocol, PulseMode::kShort, image.configWord, mask) > kMaxProgramCycles) return false;
  }
  return true;
}

// True when the word at the counter reads back as `expected` in the bits the part implements.
bool ReadsBack(OperationFrame& frame, int expected) {
  const int mask = ConfigCompareMask(frame.device());
  return (frame.protocol().ReadProgramWord() & mask) == (expected & mask);
}

}  // namespace

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
  SerialProtocol& protocol = frame.protocol();
  ui.ShowProgress(0.0);
  ui.ShowStatus(op_text::kWritingFuses);
  state.link.SetDataLine(kFalse);
  frame.PowerDown();
  frame.Wait(kPowerOffMs);
  frame.PowerUp(ConfigWritePlan());

  const int configWord = state.image.configWord;
  const bool bandgapPart = state.device.rules.bandgap;
  const ProgrammingTiming& timing = protocol.timing();
  switch (state.device.traits().configWrite) {
    case ConfigWrite::kSelfTimed: {
      protocol.GoToConfigurationWord(kIdleConfigLatch);
      protocol.LoadProgramData(configWord);
      protocol.BeginProgramming();
      protocol.WaitAtLeast(kInternalCycleMs, timing.program);
      return ReadsBack(frame, configWord);
    }
    case ConfigWrite::kSelfTimedKeepingBandgap:
    case ConfigWrite::kExternalKeepingBandgap: {
      protocol.GoToConfigurationWord(kIdleConfigLatch);
      protocol.LoadProgramData(bandgapPart ? (configWord | state.savedBandgap) : configWord);
      protocol.BeginProgramming();
      if (state.device.traits().configWrite == ConfigWrite::kSelfTimedKeepingBandgap) {
        protocol.WaitAtLeast(kInternalCycleMs, timing.program);
      } else {
        protocol.WaitAtLeast(kExternalCycleMs, timing.programOnly);
        protocol.EndProgramming();
      }
      // The band-gap bits are the factory's and outside the compared mask.
      return ReadsBack(frame, configWord);
    }
    case ConfigWrite::kProgramOnly: {
      protocol.GoToConfigurationWord(kIdleConfigLatch);
      protocol.LoadProgramData(configWord);
      protocol.SendCommand(cmd::kBeginProgrammingOnly);
      protocol.WaitAtLeast(kExternalCycleMs, timing.programOnly);
      protocol.SendCommand(cmd::kEndProgramming2);
      // No EPROM pulses after it: DS39603 knows no End Programming 001110,
      // so each would clock into a self-timed cycle and could spoil the word.
      return ReadsBack(frame, configWord);
    }
    case ConfigWrite::kPic18: {
      Pic18Protocol pic18(protocol);
      return WriteConfigBytes18(pic18, state.device, state.image);
    }
    case ConfigWrite::kOtpPulses: break;
  }
  return OtpSequence(frame);
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
