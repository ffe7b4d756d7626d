// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/chip_family.h"

#include <algorithm>
#include <array>

#include "ops/compare.h"
#include "ops/config_write.h"
#include "ops/families.h"
#include "ops/read.h"

namespace quorvi {

namespace {

constexpr int kIdWords = 4;
constexpr float kPowerOffMs = 250.0F;

}  // namespace

WriteJob::WriteJob(OperationFrame& frame)
    : frame_(frame), state_(frame.state()), protocol_(frame.protocol()), device_(frame.state().device) {}

int WriteJob::Word(int32_t i) const { return state_.image.programBuffer[static_cast<size_t>(i)]; }

void WriteJob::Cycles(int32_t i, int16_t count) {
  if (i >= 0 && static_cast<size_t>(i) < state_.cycleTable.size()) state_.cycleTable[static_cast<size_t>(i)] = count;
}

void WriteJob::StepProgress(int32_t i, int32_t n, int32_t stride) {
  if (i == n || i % stride == 0) frame_.Progress(i, n);
}

void WriteJob::Reenter() {
  frame_.PowerDown();
  frame_.Wait(kPowerOffMs);
  frame_.PowerUp(WritePlan(state_));
}

std::optional<WriteError> ChipFamily::WriteData(WriteJob& /*job*/) const { return std::nullopt; }

std::optional<WriteError> ChipFamily::WriteIds(WriteJob& job) const {
  const MemoryImage& image = job.state().image;
  SerialProtocol& protocol = job.protocol();
  if (!job.frame().is12Bit()) protocol.LoadConfiguration(image.idWords[0]);
  for (int k = 0; k < kIdWords; ++k) {
    if (WriteIdWord(job, image.idWords[static_cast<size_t>(k)]) > kMaxProgramCycles) {
      return WriteError{kIdAddress + k};
    }
    protocol.IncrementAddress();
  }
  return std::nullopt;
}

OpResult ChipFamily::Read(OperationFrame& frame, int16_t readMode, OpResult result) const {
  return ReadPic(frame, readMode, result);
}

std::optional<Mismatch> ChipFamily::FirstWrittenWord(OperationFrame& frame, int32_t n) const {
  SerialProtocol& protocol = frame.protocol();
  const int expected = frame.device().traits().blankWord;
  for (int32_t i = 0; i <= n; ++i) {
    if (i % kBlankProgressStep == 0) frame.Progress(i, n);
    const int read = protocol.ReadProgramWord();
    if (read != expected) return Mismatch{.at = i, .expected = expected, .found = read};
    protocol.IncrementAddress();
  }
  return std::nullopt;
}

OpOutcome ChipFamily::ComparePass(OperationFrame& frame, VddLevel level) const {
  return CompareProgramPass(frame, level);
}

// The one registry: a family not named here is one-time programmable.
const ChipFamily& FamilyOf(const DeviceDescriptor& device) {
  struct Row {
    Family family;
    const ChipFamily& (*get)();
  };
  static constexpr std::array kRegistry = {
      Row{Family::kFlash, &Flash16F8xFamily},         Row{Family::kFlashPairs, &Flash16F7xFamily},
      Row{Family::kFlashChipErase, &Flash16F87xAFamily}, Row{Family::kFlashLatches, &Flash16F81xFamily},
      Row{Family::kPic18, &Pic18Family},
  };
  const auto it = std::find_if(kRegistry.begin(), kRegistry.end(),
                               [&device](const Row& row) { return row.family == device.family; });
  return it != kRegistry.end() ? it->get() : OtpFamily();
}

}  // namespace quorvi
