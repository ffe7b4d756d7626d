// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/write.h"

#include <algorithm>
#include <array>
#include <optional>

#include "device/fuses.h"
#include "image/open_command.h"
#include "ops/blank_erase.h"
#include "ops/chip_id.h"
#include "ops/compare.h"
#include "ops/config_write.h"
#include "ops/op_texts.h"
#include "ops/pic18_config_bytes.h"
#include "ops/serial_eeprom_handover.h"
#include "protocol/pic18_protocol.h"
#include "util/atomic_file.h"

namespace quorvi {

namespace {

constexpr int kBlank14 = 0x3FFF;
constexpr int kBlank12 = 0xFFF;
constexpr int kMovlwBits = 0xC00;
constexpr int kByteMask = 0xFF;
constexpr int kIdWords = 4;
constexpr int32_t kIdAddress = 0x2000;
constexpr int32_t kMaxDataBytes = 256;
constexpr int kOverProgramFactor = 3;
constexpr int kFamily9BlockWords = 4;
constexpr float kAfterEraseMs = 750.0F;
constexpr float kPowerOffMs = 250.0F;
constexpr float kInternalCycleMs = 10.0F;
constexpr float kExternalCycleMs = 1.0F;

// Why a write stops early.
struct WriteError {
  int32_t address = 0;
};

class Writer {
 public:
  explicit Writer(OperationFrame& frame)
      : frame_(frame), state_(frame.state()), protocol_(frame.protocol()), device_(frame.state().device) {}

  OpResult Run();

 private:
  int Word(int32_t i) const { return state_.image.programBuffer[static_cast<size_t>(i)]; }
  void Cycles(int32_t i, int16_t count) {
    if (i >= 0 && static_cast<size_t>(i) < state_.cycleTable.size()) state_.cycleTable[static_cast<size_t>(i)] = count;
  }
  void StepProgress(int32_t i, int32_t n, int32_t stride) {
    if (i == n || i % stride == 0) frame_.Progress(i, n);
  }
  // A fresh entry: the address counter back at its reset position.
  void Reenter() {
    frame_.PowerDown();
    frame_.Wait(kPowerOffMs);
    frame_.PowerUp(WritePlan(state_));
  }

  bool AskCodeProtection();
  // False when quiet mode ends the program because the file is gone.
  bool ReloadChangedImage();
  // False when the command ends here (No, or quiet-mode termination in `ended`).
  bool BlankTest(OpOutcome& ended);
  void EraseFirst();
  std::optional<WriteError> FlashLoop();
  std::optional<WriteError> PairLoop();
  std::optional<WriteError> BlockLoop();
  std::optional<WriteError> OtpLoop();
  std::optional<WriteError> DataEeprom();
  std::optional<WriteError> Write18F();
  std::optional<WriteError> IdWords();
  int16_t ProgramOnly(int word);
  int16_t ProgramOtp(int word);
  OpResult Fail(OpOutcome outcome);

  OperationFrame& frame_;
  AppState& state_;
  SerialProtocol& protocol_;
  const DeviceDescriptor& device_;
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
  const int expected = frame_.is12Bit() ? kBlank12 : kBlank14;
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
  Reenter();
  return true;
}

void Writer::EraseFirst() {
  frame_.PowerDown();
  (void)cmdFill(state_, frame_.ui(), false, false);
  frame_.ResumeEventPump();
  frame_.Wait(kAfterEraseMs);
  frame_.PowerUp(WritePlan(state_));
}

std::optional<WriteError> Writer::FlashLoop() {
  int32_t n = device_.programSize;
  // The calibrated parts' last word is the factory's.
  if (device_.rules.writeSparesLastWord) n = n - 1;
  if (device_.rules.writesOneWordFurther) n = n + 1;
  const int32_t stride = ProgressStride(n);
  for (int32_t i = 0; i <= n; ++i) {
    StepProgress(i, n, stride);
    const int word = Word(i);
    int16_t count = 0;
    if (i == n && device_.rules.writesLastWordWhenBlank) {
      if (protocol_.ReadProgramWord() == kBlank14) count = ProgramWord(protocol_, PulseMode::kLong, word);
    } else if (word != kBlank14) {
      count = ProgramWord(protocol_, PulseMode::kLong, word);
    }
    Cycles(i, count);
    if (count > kMaxProgramCycles) return WriteError{i};
    protocol_.IncrementAddress();
  }
  if (device_.rules.stepsPastLastWord) protocol_.IncrementAddress();
  return std::nullopt;
}

std::optional<WriteError> Writer::PairLoop() {
  const int32_t n = device_.programSize;
  const int32_t stride = ProgressStride(n);
  for (int32_t i = 0; i <= n; i += 2) {
    StepProgress(i, n, stride);
    if (Word(i) != kBlank14 || Word(i + 1) != kBlank14) {
      protocol_.LoadProgramData(Word(i));
      protocol_.IncrementAddress();
      const int16_t count = ProgramWord(protocol_, PulseMode::kMedium, Word(i + 1));
      Cycles(i, count);
      Cycles(i + 1, count);
      if (count > kMaxProgramCycles) return WriteError{i + 1};
    } else {
      protocol_.IncrementAddress();
    }
    protocol_.IncrementAddress();
  }
  return std::nullopt;
}

// The 16F81x write four words at a time from their latches; a
// program-only cycle per block leaves the block's other words as loaded,
// where an erase-and-program cycle per word would erase them.
std::optional<WriteError> Writer::BlockLoop() {
  const int32_t n = device_.programSize;
  const int32_t stride = ProgressStride(n);
  for (int32_t block = 0; block <= n; block += kFamily9BlockWords) {
    const int32_t last = block + kFamily9BlockWords - 1;
    bool blank = true;
    for (int32_t i = block; i <= last; ++i) {
      if (i % stride == 0 || i == n) frame_.Progress(i, n);
      if (Word(i) != kBlank14) blank = false;
    }
    if (blank) {
      for (int32_t i = block; i <= last; ++i) protocol_.IncrementAddress();
      continue;
    }
    for (int32_t i = block; i < last; ++i) {
      protocol_.LoadProgramData(Word(i));
      protocol_.IncrementAddress();
    }
    const int16_t count = ProgramOnly(Word(last));
    for (int32_t i = block; i <= last; ++i) Cycles(i, count);
    if (count > kMaxProgramCycles) return WriteError{last};
    protocol_.IncrementAddress();
  }
  return std::nullopt;
}

// Program-only cycles (011000 ... 010111) until the word reads back.
int16_t Writer::ProgramOnly(int word) {
  int16_t count = 0;
  int last = -1;
  while (count <= kMaxProgramCycles && last != word) {
    protocol_.LoadProgramData(word);
    protocol_.SendCommand(cmd::kBeginProgrammingOnly);
    protocol_.WaitAtLeast(kExternalCycleMs, protocol_.timing().programOnly);
    protocol_.SendCommand(cmd::kEndProgramming2);
    last = protocol_.ReadProgramWord();
    ++count;
  }
  return count;
}

// The short-pulse routine, then three times as many runs again unless turbo.
int16_t Writer::ProgramOtp(int word) {
  const int16_t count = ProgramWord(protocol_, PulseMode::kShort, word);
  if (count > kMaxProgramCycles || state_.options.chkTurbo) return count;
  for (int extra = 0; extra < kOverProgramFactor * count; ++extra) ProgramWord(protocol_, PulseMode::kShort, word);
  return count;
}

std::optional<WriteError> Writer::OtpLoop() {
  const int32_t n = WordBound(device_);
  const int32_t stride = ProgressStride(n);
  const bool core12 = frame_.is12Bit();
  for (int32_t i = 0; i <= n; ++i) {
    StepProgress(i, n, stride);
    const int word = Word(i);
    bool program = false;
    if (core12) {
      if (i == n) {
        // The calibration word: only into an unprogrammed cell, and only a MOVLW.
        program = protocol_.ReadProgramWord() == kBlank12 && (word & kMovlwBits) >= kMovlwBits;
      } else {
        program = word != kBlank12;
      }
    } else {
      program = word != kBlank14 || device_.pairFlag;
    }
    if (program) {
      const int16_t count = ProgramOtp(word);
      Cycles(i, count);
      if (count > kMaxProgramCycles) return WriteError{i};
    }
    protocol_.IncrementAddress();
  }
  return std::nullopt;
}

std::optional<WriteError> Writer::DataEeprom() {
  const int32_t bytes = std::min<int32_t>(device_.dataBytes, kMaxDataBytes);
  if (!state_.options.opEEdata || bytes < 1) return std::nullopt;
  // Data addresses follow the low bits of the counter: start from its reset position.
  Reenter();
  frame_.ui().ShowStatus(op_text::kWritingEeData);
  for (int32_t j = 0; j < bytes; ++j) {
    const int value = state_.image.dataBuffer[static_cast<size_t>(j)] & kByteMask;
    protocol_.LoadDataMemory(value);
    if (device_.traits().dataWrite == DataWrite::kSelfTimed) {
      protocol_.BeginProgramming();
      protocol_.WaitAtLeast(kInternalCycleMs, protocol_.timing().data);
    } else {
      protocol_.SendCommand(cmd::kBeginProgrammingOnly);
      protocol_.WaitAtLeast(kExternalCycleMs, protocol_.timing().programOnly);
      protocol_.SendCommand(cmd::kEndProgramming2);
    }
    if ((protocol_.ReadDataMemory() & kByteMask) != value) return WriteError{j};
    protocol_.IncrementAddress();
  }
  return std::nullopt;
}

// After the preparation, single-panel writes of eight bytes (four words)
// each, every one started by its last table write and the P9 hold; the data
// EEPROM through EECON1; then the ID bytes. The configuration bytes follow
// with the other families' configuration write.
std::optional<WriteError> Writer::Write18F() {
  Pic18Protocol pic18(protocol_);
  // The flash cells only go from 1 to 0: the erase the option asks for comes first.
  if (state_.options.chkErase) pic18.BulkErase();
  pic18.PrepareWrite();
  frame_.ui().ShowStatus(op_text::kWritingData);
  const int32_t n = device_.programSize;
  const int32_t stride = ProgressStride(n);
  constexpr int32_t kWordsPerWrite = static_cast<int32_t>(kPanelBufferBytes / 2);
  constexpr int kErased18 = 0xFFFF;
  for (int32_t w = 0; w <= n; w += kWordsPerWrite) {
    std::array<uint8_t, kPanelBufferBytes> bytes{};
    bool erased = true;
    for (int32_t k = 0; k < kWordsPerWrite; ++k) {
      if ((w + k) % stride == 0 || w + k == n) frame_.Progress(w + k, n);
      const int word = w + k <= n ? Word(w + k) & kErased18 : kErased18;
      if (word != kErased18) erased = false;
      bytes[static_cast<size_t>(2 * k)] = static_cast<uint8_t>(word & kByteMask);
      bytes[static_cast<size_t>(2 * k + 1)] = static_cast<uint8_t>(word >> 8);
    }
    if (erased) continue;
    const auto address = static_cast<uint32_t>(w) * 2U;
    pic18.BeginBlock(address);
    pic18.LoadPanelBuffer(address, bytes, true);
    for (int32_t k = 0; k < kWordsPerWrite; ++k) Cycles(w + k, 1);
  }
  const int32_t bytesOfData = std::min<int32_t>(device_.dataBytes, kMaxDataBytes);
  if (state_.options.opEEdata && bytesOfData >= 1) {
    frame_.ui().ShowStatus(op_text::kWritingEeData);
    for (int32_t j = 0; j < bytesOfData; ++j) {
      const int value = state_.image.dataBuffer[static_cast<size_t>(j)] & kByteMask;
      if (!pic18.WriteDataEeprom(j, value) || pic18.ReadDataEeprom(j) != value) return WriteError{j};
    }
  }
  WriteIdBytes18(pic18, state_.image);
  return std::nullopt;
}

// The ID words sit at 2000h..2003h (14-bit core) or right after program
// memory (12-bit core, where the program loop leaves the counter).
std::optional<WriteError> Writer::IdWords() {
  const MemoryImage& image = state_.image;
  if (!frame_.is12Bit()) protocol_.LoadConfiguration(image.idWords[0]);
  const int blank = frame_.is12Bit() ? kBlank12 : kBlank14;
  for (int k = 0; k < kIdWords; ++k) {
    const int word = image.idWords[static_cast<size_t>(k)];
    int16_t count = 0;
    switch (device_.traits().wordProgramming) {
      case WordProgramming::kEraseProgramLong: count = ProgramWord(protocol_, PulseMode::kLong, word); break;
      case WordProgramming::kEraseProgramMedium: count = ProgramWord(protocol_, PulseMode::kMedium, word); break;
      case WordProgramming::kProgramOnly: count = ProgramOnly(word); break;
      case WordProgramming::kOtpPulses:
        if (word != blank) count = ProgramOtp(word);
        break;
    }
    if (count > kMaxProgramCycles) return WriteError{kIdAddress + k};
    protocol_.IncrementAddress();
  }
  return std::nullopt;
}

OpResult Writer::Fail(OpOutcome outcome) {
  if (outcome != OpOutcome::kTerminated) frame_.End();
  return frame_.Finish(outcome);
}

OpResult Writer::Run() {
  UiHost& ui = frame_.ui();
  if (!AskCodeProtection()) return frame_.Finish(OpOutcome::kCancelled);
  if (!ReloadChangedImage()) return frame_.Finish(OpOutcome::kTerminated);
  if (std::optional<OpResult> stopped = StopForChipIdentity(frame_, WritePlan(state_))) return *stopped;
  frame_.Begin(op_text::kWritingData);
  std::fill(state_.cycleTable.begin(), state_.cycleTable.end(), int16_t{0});
  frame_.PowerUp(WritePlan(state_));
  const FamilyTraits& family = device_.traits();
  const bool pic18 = family.core == Core::kPic18;

  if (!pic18 && state_.options.chkTestBlank) {
    OpOutcome ended = OpOutcome::kOk;
    if (!BlankTest(ended)) return Fail(ended);
  }
  if (state_.options.chkErase && family.flash14) EraseFirst();
  ui.ShowStatus(op_text::kWritingData);

  std::optional<WriteError> error;
  switch (family.programLoop) {
    case ProgramLoop::kWordByWord: error = FlashLoop(); break;
    case ProgramLoop::kPairs: error = PairLoop(); break;
    case ProgramLoop::kLatchBlocks: error = BlockLoop(); break;
    case ProgramLoop::kPic18: error = Write18F(); break;
    case ProgramLoop::kOtp: error = OtpLoop(); break;
    case ProgramLoop::kSerialEeprom: break;  // handed over before the write began
  }
  if (!error && frame_.is12Bit()) error = IdWords();
  if (!error && family.dataWrite != DataWrite::kNone) error = DataEeprom();
  if (!error && !frame_.is12Bit() && !pic18) error = IdWords();
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

  const auto pass = pic18 ? CompareProgramPass18 : CompareProgramPass;
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
