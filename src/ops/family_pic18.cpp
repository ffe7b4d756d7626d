// SPDX-License-Identifier: GPL-3.0-or-later
// The 18F parts (DS39576): 4-bit commands, table writes through the panel
// buffers, data EEPROM through EECON1, configuration in bytes of their own.
#include <algorithm>
#include <vector>

#include "ops/compare.h"
#include "ops/families.h"
#include "ops/op_texts.h"
#include "ops/pic18_config_bytes.h"
#include "ops/pic18_program_write.h"
#include "ops/read.h"
#include "protocol/pic18_protocol.h"

namespace quorvi {

namespace {

constexpr int kByteMask = 0xFF;
constexpr int kErased18 = 0xFFFF;
constexpr int32_t kMaxDataBytes = 256;

// The write erases the whole chip, data EEPROM included, when the option asks.
bool ErasesFirst(WriteJob& job) { return job.state().options.chkErase; }

class Pic18 final : public ChipFamily {
 public:
  void Erase(OperationFrame& frame, bool /*blankCalibration*/) const override {
    Pic18Protocol(frame.protocol()).BulkErase();
  }

  // After the preparation, the groups that hold data, in multi-panel cycles
  // where two or more panels hold data at one offset. A group of FFFFh words
  // needs no cycle: programming leaves erased cells as they are and cannot
  // erase the others, which the verify then finds.
  std::optional<WriteError> WriteProgram(WriteJob& job) const override {
    Pic18Protocol pic18(job.protocol());
    // The flash cells only go from 1 to 0: the erase the option asks for comes first.
    if (ErasesFirst(job)) pic18.BulkErase();
    pic18.PrepareWrite();
    job.frame().ui().ShowStatus(op_text::kWritingData);
    std::vector<int> words(static_cast<size_t>(job.device().programSize) + 1);
    for (size_t i = 0; i < words.size(); ++i) words[i] = job.Word(static_cast<int32_t>(i)) & kErased18;
    const std::vector<PanelCycle> cycles = PlanPanelCycles(words);
    const auto total = static_cast<int32_t>(cycles.size());
    const int32_t stride = ProgressStride(total);
    WritePanelCycles(pic18, words, cycles, [&](size_t i) {
      for (const uint32_t group : cycles[i].groups) {
        for (uint32_t k = 0; k < kPanelBufferBytes / 2; ++k) job.Cycles(static_cast<int32_t>(group / 2 + k), 1);
      }
      job.StepProgress(static_cast<int32_t>(i) + 1, total, stride);
    });
    return std::nullopt;
  }

  std::optional<WriteError> WriteData(WriteJob& job) const override {
    const AppState& state = job.state();
    const int32_t bytes = std::min<int32_t>(job.device().dataBytes, kMaxDataBytes);
    if (!state.options.opEEdata || bytes < 1) return std::nullopt;
    Pic18Protocol pic18(job.protocol());
    job.frame().ui().ShowStatus(op_text::kWritingEeData);
    const bool erased = ErasesFirst(job);
    for (int32_t j = 0; j < bytes; ++j) {
      const int value = state.image.dataBuffer[static_cast<size_t>(j)] & kByteMask;
      // The bulk erase left FFh in every byte: those are only read back.
      const bool write = !erased || value != kByteMask;
      if ((write && !pic18.WriteDataEeprom(j, value)) || pic18.ReadDataEeprom(j) != value) return WriteError{j};
    }
    return std::nullopt;
  }

  std::optional<WriteError> WriteIds(WriteJob& job) const override {
    Pic18Protocol pic18(job.protocol());
    WriteIdBytes18(pic18, job.state().image);
    return std::nullopt;
  }

  bool WriteConfiguration(OperationFrame& frame) const override {
    Pic18Protocol pic18(frame.protocol());
    return WriteConfigBytes18(pic18, frame.device(), frame.state().image);
  }

  OpResult Read(OperationFrame& frame, int16_t readMode, OpResult result) const override {
    return Read18F(frame, readMode, result);
  }

  // The words come through the 18F read; an erased word reads FFFFh.
  std::optional<Mismatch> FirstWrittenWord(OperationFrame& frame, int32_t n) const override {
    const std::vector<int> words = Pic18Protocol(frame.protocol()).ReadProgramMemory(n, [&](int address) {
      if (address % kBlankProgressStep == 0) frame.Progress(address, n);
      return true;
    });
    const auto written = std::find_if(words.begin(), words.end(), [](int word) { return word != kErased18; });
    if (written == words.end()) return std::nullopt;
    return Mismatch{.at = static_cast<int32_t>(written - words.begin()), .expected = kErased18, .found = *written};
  }

  OpOutcome ComparePass(OperationFrame& frame, VddLevel level) const override {
    return CompareProgramPass18(frame, level);
  }

 protected:
  int16_t WriteIdWord(WriteJob& /*job*/, int /*word*/) const override { return 0; }  // the IDs go as bytes
};

}  // namespace

const ChipFamily& Pic18Family() {
  static const Pic18 family;
  return family;
}

}  // namespace quorvi
