// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/read.h"

#include <algorithm>
#include <vector>

#include "ops/chip_family.h"
#include "ops/chip_id.h"
#include "ops/op_texts.h"
#include "ops/write.h"
#include "protocol/pic18_protocol.h"
#include "ops/serial_eeprom_handover.h"
#include "util/arith.h"

namespace quorvi {

namespace {

constexpr int kRevisionMask = 0x1F;
constexpr int kBandgapReadMask = 0x01FF;
constexpr int kIdWords = 4;

}  // namespace

// The program read leaves programming mode: the ID, configuration (table
// reads) and data EEPROM (EECON1) reads need it entered again (DS39576,
// "Reading the Device").
OpResult Read18F(OperationFrame& frame, int16_t readMode, OpResult result) {
  AppState& state = frame.state();
  const DeviceDescriptor& device = state.device;
  MemoryImage& image = state.image;
  Pic18Protocol pic18(frame.protocol());
  const bool everything = readMode != read_mode::kConfigurationOnly;
  if (everything) {
    const int32_t n = device.programSize;
    const int32_t stride = ProgressStride(n);
    const std::vector<int> words = pic18.ReadProgramMemory(n, [&](int address) {
      if (address == n || address % stride == 0) frame.Progress(address, n);
      return true;
    });
    for (size_t i = 0; i < words.size() && i < image.programBuffer.size(); ++i) image.programBuffer[i] = words[i];
    frame.protocol().EnterProgrammingMode();
  }
  const std::vector<int> ids = pic18.ReadBytes(addr18::kIdLocations, 2 * kIdWords);
  for (size_t k = 0; k < static_cast<size_t>(kIdWords); ++k) image.idWords[k] = ids[2 * k] | (ids[2 * k + 1] << 8);
  const std::vector<int> config = pic18.ReadBytes(addr18::kConfigBytes, MemoryImage::kConfig18Bytes);
  for (size_t i = 0; i < config.size(); ++i) image.config18Bytes[i] = static_cast<uint8_t>(config[i]);
  const int32_t dataBytes = std::min<int32_t>(device.dataBytes, MemoryImage::kDataSlots);
  if (everything && dataBytes >= 1) {
    for (int32_t j = 0; j < dataBytes; ++j) {
      image.dataBuffer[static_cast<size_t>(j)] = static_cast<int16_t>(pic18.ReadDataEeprom(j));
    }
    result.refreshDataListing = true;
  }
  state.link.SetDataLine(kFalse);
  frame.PowerDown();
  frame.End();
  result.durationNs = frame.Finish(OpOutcome::kOk).durationNs;
  return result;
}

std::string CalibrationText(int32_t word) { return op_text::kCalibrationPrefix + PadLeft(HexText(word), 2); }

OpResult cmdRead(AppState& state, UiHost& ui, int16_t readMode) {
  OperationFrame frame(state, ui);
  const DeviceDescriptor& device = state.device;
  if (!frame.CheckDevice({op_text::kSelectProcessorFirst, title::kQuorviError, MessageIcon::kExclamation})) {
    return frame.Finish(OpOutcome::kNoDevice);
  }
  frame.Begin(op_text::kReading);
  if (device.core() == Core::kSerialEeprom) {
    state.link.SetDataLine(kTrue);
    state.link.SetClockLine(kTrue);
    return RunSerialEepromOperation(EepromOperation::kRead, frame);
  }

  // An empty socket reads as all ones (or zeros): the ID says so before the image is overwritten.
  if (std::optional<OpResult> stopped = PowerUpIdentifiedChip(frame, ReadPlan())) return *stopped;
  OpResult result;
  result.refreshConfig = true;
  result.refreshProgramListing = true;
  return FamilyOf(device).Read(frame, readMode, result);
}

OpResult ReadPic(OperationFrame& frame, int16_t readMode, OpResult result) {
  AppState& state = frame.state();
  const DeviceDescriptor& device = state.device;
  const int32_t n = device.programSize;
  SerialProtocol& protocol = frame.protocol();
  MemoryImage& image = state.image;
  if (readMode != read_mode::kConfigurationOnly) {
    if (frame.is12Bit()) {
      // The 12-bit counter starts on the configuration word, before address 0.
      image.configWord = protocol.ReadProgramWord();
      protocol.IncrementAddress();
    }
    const int32_t stride = ProgressStride(n);
    for (int32_t first = 0; first <= n; first += kWordsPerTake) {
      const int32_t count = std::min(kWordsPerTake, n + 1 - first);
      for (int32_t i = first; i < first + count; ++i) {
        if (i == n || i % stride == 0) frame.Progress(i, n);
      }
      const std::vector<int> words = protocol.ReadProgramWords(count);
      std::copy(words.begin(), words.end(), image.programBuffer.begin() + first);
    }
    const int32_t m = device.dataBytes;
    if (m >= 1) {
      for (int32_t j = 0; j <= m && j < MemoryImage::kDataSlots; ++j) {
        image.dataBuffer[static_cast<size_t>(j)] = static_cast<int16_t>(protocol.ReadDataMemory());
        protocol.IncrementAddress();
      }
      result.refreshDataListing = true;
    }
  }

  protocol.LoadConfiguration(0);
  for (int k = 0; k < kIdWords; ++k) {
    image.idWords[static_cast<size_t>(k)] = protocol.ReadProgramWord();
    protocol.IncrementAddress();
  }
  protocol.IncrementAddress();
  protocol.IncrementAddress();
  if (device.rules.readShowsRevision) {
    const int deviceId = protocol.ReadProgramWord();
    state.txtCal = op_text::kRevisionPrefix + HexText(deviceId & kRevisionMask);
    result.refreshCalibrationText = true;
  }
  protocol.IncrementAddress();
  if (!frame.is12Bit()) {
    image.configWord = protocol.ReadProgramWord();
    if (readMode == read_mode::kFull && device.rules.bandgap) image.configWord &= kBandgapReadMask;
  }

  state.link.SetDataLine(kFalse);
  frame.PowerDown();
  if (device.rules.readShowsCalibration) {
    state.txtCal = CalibrationText(image.programBuffer[static_cast<size_t>(n)]);
    result.refreshCalibrationText = true;
  }
  OpOutcome outcome = OpOutcome::kOk;
  if (readMode != read_mode::kConfigurationOnly && CodeProtectionSelected(device, image.configWord)) {
    outcome = frame.ReportFailure({op_text::kReadProtected, title::kQuorvi2Alert, MessageIcon::kExclamation}, nullptr);
  }
  frame.End();
  result.durationNs = frame.Finish(outcome).durationNs;
  result.outcome = outcome;
  return result;
}

}  // namespace quorvi
