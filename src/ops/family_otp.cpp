// SPDX-License-Identifier: GPL-3.0-or-later
// The one-time-programmable parts, 14-bit (DS30228) and 12-bit (DS40152):
// short pulses until a word reads back, then over-programming.
#include "ops/config_write.h"
#include "ops/families.h"

namespace quorvi {

namespace {

constexpr int kBlank14 = 0x3FFF;
constexpr int kBlank12 = 0xFFF;
constexpr int kMovlwBits = 0xC00;
constexpr int kOverProgramFactor = 3;
constexpr int kConfigRounds = 100;

// The short-pulse routine, then three times as many runs again unless turbo.
int16_t ProgramOtp(WriteJob& job, int word) {
  SerialProtocol& protocol = job.protocol();
  const int16_t count = ProgramWord(protocol, PulseMode::kShort, word);
  if (count > kMaxProgramCycles || job.state().options.chkTurbo) return count;
  for (int extra = 0; extra < kOverProgramFactor * count; ++extra) ProgramWord(protocol, PulseMode::kShort, word);
  return count;
}

class Otp final : public ChipFamily {
 public:
  // Nothing erases these cells but UV light; the sequence is the bulk erase
  // the flash parts take, which an EPROM ignores.
  void Erase(OperationFrame& frame, bool /*blankCalibration*/) const override { BulkEraseWithCodeProtect(frame); }

  std::optional<WriteError> WriteProgram(WriteJob& job) const override {
    SerialProtocol& protocol = job.protocol();
    const DeviceDescriptor& device = job.device();
    const int32_t n = WordBound(device);
    const int32_t stride = ProgressStride(n);
    const bool core12 = job.frame().is12Bit();
    for (int32_t i = 0; i <= n; ++i) {
      job.StepProgress(i, n, stride);
      const int word = job.Word(i);
      bool program = false;
      if (core12) {
        if (i == n) {
          // The calibration word: only into an unprogrammed cell, and only a MOVLW.
          program = protocol.ReadProgramWord() == kBlank12 && (word & kMovlwBits) >= kMovlwBits;
        } else {
          program = word != kBlank12;
        }
      } else {
        program = word != kBlank14 || device.pairFlag;
      }
      if (program) {
        const int16_t count = ProgramOtp(job, word);
        job.Cycles(i, count);
        if (count > kMaxProgramCycles) return WriteError{i};
      }
      protocol.IncrementAddress();
    }
    return std::nullopt;
  }

  bool WriteConfiguration(OperationFrame& frame) const override {
    SerialProtocol& protocol = frame.protocol();
    const MemoryImage& image = frame.state().image;
    const int mask = ConfigCompareMask(frame.device());
    if (!frame.is12Bit()) protocol.GoToConfigurationWord(image.idWords[0]);
    protocol.LoadProgramData(image.configWord);
    protocol.LoadProgramData(image.configWord);
    // The first round programs the word; each later one adds at least one pulse.
    for (int round = 0; round < kConfigRounds; ++round) {
      if (ProgramWord(protocol, PulseMode::kShort, image.configWord, mask) > kMaxProgramCycles) return false;
    }
    return true;
  }

 protected:
  int16_t WriteIdWord(WriteJob& job, int word) const override {
    const int blank = job.frame().is12Bit() ? kBlank12 : kBlank14;
    return word != blank ? ProgramOtp(job, word) : int16_t{0};
  }
};

}  // namespace

const ChipFamily& OtpFamily() {
  static const Otp family;
  return family;
}

}  // namespace quorvi
