// SPDX-License-Identifier: GPL-3.0-or-later
// What a chip family does its own way. The operations keep the flow every
// family shares and ask the selected device's family for the rest; each
// family is a file of its own, found through one registry.
#pragma once

#include <cstdint>
#include <optional>

#include "ops/frame.h"

namespace quorvi {

/// Where a write stopped: the address that did not program.
struct WriteError {
  int32_t address = 0;
};

/// The running write as a family sees it.
class WriteJob {
 public:
  explicit WriteJob(OperationFrame& frame);

  OperationFrame& frame() { return frame_; }
  AppState& state() { return state_; }
  SerialProtocol& protocol() { return protocol_; }
  const DeviceDescriptor& device() const { return device_; }

  /// Program word `i` of the image.
  int Word(int32_t i) const;
  /// Keeps the cycles word `i` took for the cycle table.
  void Cycles(int32_t i, int16_t count);
  /// Moves the progress bar every `stride` words and at the last.
  void StepProgress(int32_t i, int32_t n, int32_t stride);
  /// Powers down and up again: the address counter back at its reset position.
  void Reenter();

 private:
  OperationFrame& frame_;
  AppState& state_;
  SerialProtocol& protocol_;
  const DeviceDescriptor& device_;
};

class ChipFamily {
 public:
  virtual ~ChipFamily() = default;

  /// Erases the powered chip, keeping what the family must keep.
  virtual void Erase(OperationFrame& frame, bool blankCalibration) const = 0;
  /// Writes program memory from address 0.
  virtual std::optional<WriteError> WriteProgram(WriteJob& job) const = 0;
  /// Writes the data EEPROM when the options ask for it; none by default.
  virtual std::optional<WriteError> WriteData(WriteJob& job) const;
  /// Writes the ID words: 2000h..2003h on a 14-bit core, right after
  /// program memory (where the program loop leaves the counter) on a 12-bit one.
  virtual std::optional<WriteError> WriteIds(WriteJob& job) const;
  /// Programs the image's configuration into the powered chip; true when it was taken.
  virtual bool WriteConfiguration(OperationFrame& frame) const = 0;
  /// Reads the chip into the image (`readMode` as cmdRead takes it).
  virtual OpResult Read(OperationFrame& frame, int16_t readMode, OpResult result) const;
  /// The first of program words 0..`n` that is not erased, if any; the
  /// progress bar moves every 100 words.
  virtual std::optional<Mismatch> FirstWrittenWord(OperationFrame& frame, int32_t n) const;
  /// One compare of program memory at `level` (and the rest the pass compares).
  virtual OpOutcome ComparePass(OperationFrame& frame, VddLevel level) const;

 protected:
  /// Programs one ID word at the counter; the cycles it took (0: left as it is).
  virtual int16_t WriteIdWord(WriteJob& job, int word) const = 0;
};

/// The family of `device`, from the one registry. A 24Cxx is handed over to
/// its own operations before any of these are asked for.
const ChipFamily& FamilyOf(const DeviceDescriptor& device);

}  // namespace quorvi
