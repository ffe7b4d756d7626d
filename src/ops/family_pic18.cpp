// SPDX-License-Identifier: GPL-3.0-or-later
// The 18F parts (DS39576): 4-bit commands, table writes through the panel
// buffers, data EEPROM through EECON1, configuration in bytes of their own.
#include <algorithm>
#include <array>
#include <vector>

#include "ops/compare.h"
#include "ops/families.h"
#include "ops/op_texts.h"
#include "ops/pic18_config_bytes.h"
#include "ops/read.h"
#include "protocol/pic18_protocol.h"

namespace quorvi {

namespace {

constexpr int kByteMask = 0xFF;
constexpr int kErased18 = 0xFFFF;
constexpr int32_t kMaxDataBytes = 256;

class Pic18 final : public ChipFamily {
 public:
  void Erase(OperationFrame& frame, bool /*blankCalibration*/) const override {
    Pic18Protocol(frame.protocol()).BulkErase();
  }

  // After the preparation, single-panel writes of eight bytes (four words)
  // each, every one started by its last table write and the P9 hold.
  std::optional<WriteError> WriteProgram(WriteJob& job) const override {
    Pic18Protocol pic18(job.protocol());
    // The flash cells only go from 1 to 0: the erase the option asks for comes first.
    if (job.state().options.chkErase) pic18.BulkErase();
    pic18.PrepareWrite();
    job.frame().ui().ShowStatus(op_text::kWritingData);
    const int32_t n = job.device().programSize;
    const int32_t stride = ProgressStride(n);
    constexpr int32_t kWordsPerWrite = static_cast<int32_t>(kPanelBufferBytes / 2);
    for (int32_t w = 0; w <= n; w += kWordsPerWrite) {
      std::array<uint8_t, kPanelBufferBytes> bytes{};
      bool erased = true;
      for (int32_t k = 0; k < kWordsPerWrite; ++k) {
        if ((w + k) % stride == 0 || w + k == n) job.frame().Progress(w + k, n);
        const int word = w + k <= n ? job.Word(w + k) & kErased18 : kErased18;
        if (word != kErased18) erased = false;
        bytes[static_cast<size_t>(2 * k)] = static_cast<uint8_t>(word & kByteMask);
        bytes[static_cast<size_t>(2 * k + 1)] = static_cast<uint8_t>(word >> 8);
      }
      if (erased) continue;
      const auto address = static_cast<uint32_t>(w) * 2U;
      TablePointer pointer;
      pic18.BeginBlock(address, pointer);
      pic18.LoadPanelBuffer(address, bytes, true, pointer);
      for (int32_t k = 0; k < kWordsPerWrite; ++k) job.Cycles(w + k, 1);
    }
    return std::nullopt;
  }

  std::optional<WriteError> WriteData(WriteJob& job) const override {
    const AppState& state = job.state();
    const int32_t bytes = std::min<int32_t>(job.device().dataBytes, kMaxDataBytes);
    if (!state.options.opEEdata || bytes < 1) return std::nullopt;
    Pic18Protocol pic18(job.protocol());
    job.frame().ui().ShowStatus(op_text::kWritingEeData);
    for (int32_t j = 0; j < bytes; ++j) {
      const int value = state.image.dataBuffer[static_cast<size_t>(j)] & kByteMask;
      if (!pic18.WriteDataEeprom(j, value) || pic18.ReadDataEeprom(j) != value) return WriteError{j};
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
