// SPDX-License-Identifier: GPL-3.0-or-later
// The 14-bit flash families: 16F8x and 16F62x (erase-and-program cycle per
// word, DS30262, DS30034, DS41191), 16F7x (two words a cycle, DS30324),
// 16F87xA (chip erase, program-only cycles, DS39589) and 16F81x (chip erase,
// four-word latches, DS39603).
#include <algorithm>

#include "ops/config_write.h"
#include "ops/families.h"
#include "ops/op_texts.h"

namespace quorvi {

namespace {

constexpr int kBlank14 = 0x3FFF;
constexpr int kBandgapBits = 0x3000;
constexpr int kBandgapConfigValue = 0x01FF;
constexpr int kByteMask = 0xFF;
constexpr int32_t kMaxDataBytes = 256;
constexpr int32_t kLatchWords = 4;
constexpr int kIdleConfigLatch = 0x3FFF;
constexpr float kPowerOffMs = 250.0F;
constexpr float kInternalCycleMs = 10.0F;
constexpr float kExternalCycleMs = 1.0F;

// Program-only cycles (011000 ... 010111) until the word reads back.
int16_t ProgramOnly(SerialProtocol& protocol, int word) {
  int16_t count = 0;
  int last = -1;
  while (count <= kMaxProgramCycles && last != word) {
    protocol.LoadProgramData(word);
    protocol.SendCommand(cmd::kBeginProgrammingOnly);
    protocol.WaitAtLeast(kExternalCycleMs, protocol.timing().programOnly);
    protocol.SendCommand(cmd::kEndProgramming2);
    last = protocol.ReadProgramWord();
    ++count;
  }
  return count;
}

// The code-protection erase of data memory.
void CodeProtectEraseData(OperationFrame& frame) {
  SerialProtocol& protocol = frame.protocol();
  protocol.LoadDataMemory(kBlank14);
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
  const int32_t n = state.device.programSize;

  for (int32_t i = 0; i < n; ++i) protocol.IncrementAddress();
  state.savedCalibration = static_cast<int16_t>(protocol.ReadProgramWord());
  protocol.GoToConfigurationWord(0);
  state.savedBandgap = static_cast<int16_t>(protocol.ReadProgramWord() & kBandgapBits);

  protocol.LoadConfiguration(kBlank14);
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
  ProgramWord(protocol, PulseMode::kLong, blankCalibration ? kBlank14 : state.savedCalibration);

  // Only the saved band-gap bits are set, whatever the image holds.
  const int32_t imageConfig = state.image.configWord;
  state.image.configWord = kBandgapConfigValue;
  WriteConfiguration(frame);
  state.image.configWord = imageConfig;
  frame.ui().HideProgress();
}

// One erase-and-program cycle per word that is not blank.
std::optional<WriteError> WordByWord(WriteJob& job) {
  const DeviceDescriptor& device = job.device();
  SerialProtocol& protocol = job.protocol();
  int32_t n = device.programSize;
  // The calibrated parts' last word is the factory's.
  if (device.rules.writeSparesLastWord) n = n - 1;
  if (device.rules.writesOneWordFurther) n = n + 1;
  const int32_t stride = ProgressStride(n);
  for (int32_t i = 0; i <= n; ++i) {
    job.StepProgress(i, n, stride);
    const int word = job.Word(i);
    int16_t count = 0;
    if (i == n && device.rules.writesLastWordWhenBlank) {
      if (protocol.ReadProgramWord() == kBlank14) count = ProgramWord(protocol, PulseMode::kLong, word);
    } else if (word != kBlank14) {
      count = ProgramWord(protocol, PulseMode::kLong, word);
    }
    job.Cycles(i, count);
    if (count > kMaxProgramCycles) return WriteError{i};
    protocol.IncrementAddress();
  }
  if (device.rules.stepsPastLastWord) protocol.IncrementAddress();
  return std::nullopt;
}

// The data EEPROM, byte by byte, each read back.
std::optional<WriteError> DataBytes(WriteJob& job, bool selfTimed) {
  AppState& state = job.state();
  SerialProtocol& protocol = job.protocol();
  const int32_t bytes = std::min<int32_t>(job.device().dataBytes, kMaxDataBytes);
  if (!state.options.opEEdata || bytes < 1) return std::nullopt;
  // Data addresses follow the low bits of the counter: start from its reset position.
  job.Reenter();
  job.frame().ui().ShowStatus(op_text::kWritingEeData);
  for (int32_t j = 0; j < bytes; ++j) {
    const int value = state.image.dataBuffer[static_cast<size_t>(j)] & kByteMask;
    protocol.LoadDataMemory(value);
    if (selfTimed) {
      protocol.BeginProgramming();
      protocol.WaitAtLeast(kInternalCycleMs, protocol.timing().data);
    } else {
      protocol.SendCommand(cmd::kBeginProgrammingOnly);
      protocol.WaitAtLeast(kExternalCycleMs, protocol.timing().programOnly);
      protocol.SendCommand(cmd::kEndProgramming2);
    }
    if ((protocol.ReadDataMemory() & kByteMask) != value) return WriteError{j};
    protocol.IncrementAddress();
  }
  return std::nullopt;
}

// The cycles that program a loaded configuration word.
enum class ConfigCycle {
  kSelfTimed,    // Begin Programming; the chip ends the cycle
  kExternal,     // Begin Programming ... End Programming
  kProgramOnly,  // Begin Programming Only ... End Programming (DS39603 knows no 001110)
};

// The configuration word in one cycle; `keepBandgap` puts the factory's
// band-gap bits the erase saved back in. No EPROM pulses after it: on a
// part without End Programming 001110 each would clock into a self-timed
// cycle and could spoil the word.
bool WriteConfigWord(OperationFrame& frame, ConfigCycle cycle, bool keepBandgap) {
  SerialProtocol& protocol = frame.protocol();
  const AppState& state = frame.state();
  const int configWord = state.image.configWord;
  protocol.GoToConfigurationWord(kIdleConfigLatch);
  protocol.LoadProgramData(keepBandgap && state.device.rules.bandgap ? (configWord | state.savedBandgap) : configWord);
  switch (cycle) {
    case ConfigCycle::kSelfTimed:
      protocol.BeginProgramming();
      protocol.WaitAtLeast(kInternalCycleMs, protocol.timing().program);
      break;
    case ConfigCycle::kExternal:
      protocol.BeginProgramming();
      protocol.WaitAtLeast(kExternalCycleMs, protocol.timing().programOnly);
      protocol.EndProgramming();
      break;
    case ConfigCycle::kProgramOnly:
      protocol.SendCommand(cmd::kBeginProgrammingOnly);
      protocol.WaitAtLeast(kExternalCycleMs, protocol.timing().programOnly);
      protocol.SendCommand(cmd::kEndProgramming2);
      break;
  }
  // The band-gap bits are the factory's and outside the compared mask.
  return ConfigReadsBack(frame, configWord);
}

// What every 14-bit flash family shares: a band-gap part's erase keeps its
// factory calibration, whatever the family's own erase.
class Flash14 : public ChipFamily {
 public:
  void Erase(OperationFrame& frame, bool blankCalibration) const final {
    if (frame.device().rules.bandgap) {
      EraseKeepingCalibration(frame, blankCalibration);
    } else {
      EraseAll(frame);
    }
  }

 protected:
  virtual void EraseAll(OperationFrame& frame) const = 0;
};

void ChipErase(OperationFrame& frame) {
  SerialProtocol& protocol = frame.protocol();
  protocol.LoadConfiguration(0);
  protocol.SendCommand(cmd::kChipErase);
  protocol.WaitAtLeast(5.0F, protocol.timing().chipErase);
}

class Flash16F8x final : public Flash14 {
 public:
  std::optional<WriteError> WriteProgram(WriteJob& job) const override { return WordByWord(job); }
  std::optional<WriteError> WriteData(WriteJob& job) const override { return DataBytes(job, true); }
  bool WriteConfiguration(OperationFrame& frame) const override {
    return WriteConfigWord(frame, ConfigCycle::kSelfTimed, true);
  }

 protected:
  void EraseAll(OperationFrame& frame) const override { BulkEraseWithCodeProtect(frame); }
  int16_t WriteIdWord(WriteJob& job, int word) const override {
    return ProgramWord(job.protocol(), PulseMode::kLong, word);
  }
};

// Two words loaded, one externally timed cycle; no data memory.
class Flash16F7x final : public Flash14 {
 public:
  std::optional<WriteError> WriteProgram(WriteJob& job) const override {
    SerialProtocol& protocol = job.protocol();
    const int32_t n = job.device().programSize;
    const int32_t stride = ProgressStride(n);
    for (int32_t i = 0; i <= n; i += 2) {
      job.StepProgress(i, n, stride);
      if (job.Word(i) != kBlank14 || job.Word(i + 1) != kBlank14) {
        protocol.LoadProgramData(job.Word(i));
        protocol.IncrementAddress();
        const int16_t count = ProgramWord(protocol, PulseMode::kMedium, job.Word(i + 1));
        job.Cycles(i, count);
        job.Cycles(i + 1, count);
        if (count > kMaxProgramCycles) return WriteError{i + 1};
      } else {
        protocol.IncrementAddress();
      }
      protocol.IncrementAddress();
    }
    return std::nullopt;
  }
  bool WriteConfiguration(OperationFrame& frame) const override {
    return WriteConfigWord(frame, ConfigCycle::kExternal, true);
  }

 protected:
  void EraseAll(OperationFrame& frame) const override {
    SerialProtocol& protocol = frame.protocol();
    protocol.SendCommand(cmd::kBulkEraseProgram);
    protocol.WaitAtLeast(40.0F, protocol.timing().bulkErase);
  }
  int16_t WriteIdWord(WriteJob& job, int word) const override {
    return ProgramWord(job.protocol(), PulseMode::kMedium, word);
  }
};

// Word cycles are program-only (the protocol target says so); the
// configuration word takes the self-timed cycle.
class Flash16F87xA final : public Flash14 {
 public:
  std::optional<WriteError> WriteProgram(WriteJob& job) const override { return WordByWord(job); }
  std::optional<WriteError> WriteData(WriteJob& job) const override { return DataBytes(job, false); }
  bool WriteConfiguration(OperationFrame& frame) const override {
    return WriteConfigWord(frame, ConfigCycle::kSelfTimed, false);
  }

 protected:
  void EraseAll(OperationFrame& frame) const override { ChipErase(frame); }
  int16_t WriteIdWord(WriteJob& job, int word) const override {
    return ProgramWord(job.protocol(), PulseMode::kLong, word);
  }
};

// Four words at a time from the latches: a program-only cycle per block
// leaves the block's other words as loaded, where an erase-and-program
// cycle per word would erase them.
class Flash16F81x final : public Flash14 {
 public:
  std::optional<WriteError> WriteProgram(WriteJob& job) const override {
    SerialProtocol& protocol = job.protocol();
    const int32_t n = job.device().programSize;
    const int32_t stride = ProgressStride(n);
    for (int32_t block = 0; block <= n; block += kLatchWords) {
      const int32_t last = block + kLatchWords - 1;
      bool blank = true;
      for (int32_t i = block; i <= last; ++i) {
        if (i % stride == 0 || i == n) job.frame().Progress(i, n);
        if (job.Word(i) != kBlank14) blank = false;
      }
      if (blank) {
        for (int32_t i = block; i <= last; ++i) protocol.IncrementAddress();
        continue;
      }
      for (int32_t i = block; i < last; ++i) {
        protocol.LoadProgramData(job.Word(i));
        protocol.IncrementAddress();
      }
      const int16_t count = ProgramOnly(protocol, job.Word(last));
      for (int32_t i = block; i <= last; ++i) job.Cycles(i, count);
      if (count > kMaxProgramCycles) return WriteError{last};
      protocol.IncrementAddress();
    }
    return std::nullopt;
  }
  std::optional<WriteError> WriteData(WriteJob& job) const override { return DataBytes(job, false); }
  bool WriteConfiguration(OperationFrame& frame) const override {
    return WriteConfigWord(frame, ConfigCycle::kProgramOnly, false);
  }

 protected:
  void EraseAll(OperationFrame& frame) const override { ChipErase(frame); }
  int16_t WriteIdWord(WriteJob& job, int word) const override { return ProgramOnly(job.protocol(), word); }
};

}  // namespace

void BulkEraseWithCodeProtect(OperationFrame& frame) {
  SerialProtocol& protocol = frame.protocol();
  protocol.LoadConfiguration(0);
  protocol.SendCommand(cmd::kBulkEraseProgram);
  protocol.WaitAtLeast(40.0F, protocol.timing().bulkErase);
  protocol.SendCommand(cmd::kBulkEraseData);
  protocol.WaitAtLeast(40.0F, protocol.timing().bulkErase);
  protocol.CodeProtectEraseConfigPath();
  CodeProtectEraseData(frame);
}

const ChipFamily& Flash16F8xFamily() {
  static const Flash16F8x family;
  return family;
}

const ChipFamily& Flash16F7xFamily() {
  static const Flash16F7x family;
  return family;
}

const ChipFamily& Flash16F87xAFamily() {
  static const Flash16F87xA family;
  return family;
}

const ChipFamily& Flash16F81xFamily() {
  static const Flash16F81x family;
  return family;
}

}  // namespace quorvi
