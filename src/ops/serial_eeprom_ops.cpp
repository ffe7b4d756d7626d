// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/serial_eeprom_ops.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "device/part_facts.h"
#include "hw/delay.h"
#include "protocol/eeprom_bus.h"
#include "util/arith.h"

namespace quorvi {

namespace {

// Reads and writes wait longer for the memory to power up than the checks do.
constexpr float kSlowStartMs = 250.0F;
constexpr float kQuickStartMs = 100.0F;
constexpr int kProgressEvery = 100;

// The address in messages that end in "at ": hex with "h", or (for a
// polling time-out) decimal as the old number-to-text gave it, with the
// blank it kept for the sign.
std::string HexAt(int32_t address) { return HexText(address) + "h"; }
std::string DecimalAt(int32_t address) { return (address < 0 ? "" : " ") + std::to_string(address); }

class EepromSession {
 public:
  EepromSession(OperationFrame& frame, const std::string& status, float startMs)
      : frame_(frame),
        link_(frame.state().link),
        bus_(link_, {.control = frame.state().device.rules.eepromControl,
                     .size = frame.state().device.programSize,
                     .speed = FactsFor(frame.state().device).bus}) {
    link_.SetDataLine(kTrue);
    link_.SetClockLine(kTrue);
    // The memory's supply comes through the switch of the large sockets.
    link_.SetVpp2(kTrue);
    link_.SetVdd("on");
    frame_.Wait(startMs);
    frame_.ui().ShowProgress(0.0);
    frame_.ui().ShowStatus(status);
  }

  EepromBus& bus() { return bus_; }
  int32_t last() const { return frame_.state().device.programSize; }

  void Progress(int32_t address) { frame_.Progress(address, last()); }

  /// Reads every byte from 0 to the last address in bursts that restart at
  /// the block boundaries; `visit` returns false to stop. An addressing that
  /// no memory acknowledges ends the walk with the message to show: with no
  /// chip the bus floats high and would read as all FFh.
  std::optional<UserMessage> ReadAll(const std::function<bool(int32_t, int)>& visit) {
    const int32_t n = last();
    for (int32_t a = 0; a <= n; ++a) {
      if (a == 0 || a == 256 || a == 32768) {
        if (a != 0) bus_.BusStop();
        burstOpen_ = true;
        if (bus_.EepromReadByte(a) != 0) {
          return UserMessage{eeprom_text::kNoAnswerAt + HexAt(a) + eeprom_text::kNoAnswerHint, title::kQuorvi2Error,
                             MessageIcon::kCritical};
        }
      }
      const int value = bus_.BusReadByte();
      if (a % kProgressEvery == 0 || a == n) Progress(a);
      // The bytes before a boundary end their burst without an acknowledge.
      if (a != 255 && a != 32767) bus_.AcknowledgeByte();
      if (!visit(a, value)) return std::nullopt;
    }
    return std::nullopt;
  }

  /// Writes `byteAt(a)` into every address, a page at a time. Returns the
  /// failure message, if any.
  std::optional<UserMessage> WriteAll(const std::function<int(int32_t)>& byteAt, bool erasing) {
    const int32_t n = last();
    const int page = frame_.state().device.pageSize;
    if (page <= 0) return UserMessage{"The catalogue gives this memory no page size", title::kQuorvi2Error};
    // The catalogue gives the highest address, so the last page starts at
    // n + 1 - page: every byte is written.
    for (int32_t a = 0; a <= n + 1 - page; ++a) {
      bus_.StartPageWrite(a, byteAt(a));
      burstOpen_ = true;
      for (int k = 2; k <= page; ++k) {
        ++a;
        if (bus_.BusWriteByte(byteAt(a)) != 0) {
          return erasing ? UserMessage{eeprom_text::kErasingErrorByteAt + HexAt(a), title::kQuorvi2,
                                       MessageIcon::kCritical}
                         : UserMessage{eeprom_text::kWritingErrorAt + HexAt(a), title::kQuorvi2Error,
                                       MessageIcon::kNone};
        }
      }
      bus_.BusStop();
      burstOpen_ = false;
      if (erasing) DelayUnit(*frame_.state().clock);
      if (bus_.WaitForAcknowledge(a) != 0) {
        return erasing ? UserMessage{eeprom_text::kErasingErrorPollAt + DecimalAt(a), title::kQuorvi2,
                                     MessageIcon::kCritical}
                       : UserMessage{eeprom_text::kWritingErrorAt + DecimalAt(a), title::kQuorvi2Error,
                                     MessageIcon::kNone};
      }
      Progress(a);
      frame_.ui().PumpEvents();
    }
    return std::nullopt;
  }

  OpResult End(OpOutcome outcome) {
    if (burstOpen_) bus_.BusStop();
    link_.SetVpp2(kFalse);
    link_.SetVdd("off");
    frame_.End();
    return frame_.Finish(outcome);
  }

 private:
  OperationFrame& frame_;
  PortLink& link_;
  EepromBus bus_;
  bool burstOpen_ = false;
};

// A missing chip is shown and fails the command; the checks' own findings
// have already been shown by the visit.
OpOutcome Outcome(OperationFrame& frame, const std::optional<UserMessage>& noAnswer, OpOutcome found) {
  if (!noAnswer) return found;
  frame.ui().ShowMessage(*noAnswer);
  return OpOutcome::kFailed;
}

}  // namespace

OpResult SerialEepromRead(OperationFrame& frame) {
  EepromSession session(frame, "reading...", kSlowStartMs);
  MemoryImage& image = frame.state().image;
  // The image changes only once every byte has been read.
  std::vector<int32_t> bytes = image.programBuffer;
  const std::optional<UserMessage> noAnswer = session.ReadAll([&](int32_t a, int value) {
    bytes[static_cast<size_t>(a)] = value;
    return true;
  });
  if (!noAnswer) image.programBuffer = std::move(bytes);
  OpResult result = session.End(Outcome(frame, noAnswer, OpOutcome::kOk));
  result.refreshProgramListing = !noAnswer;
  return result;
}

OpResult SerialEepromBlank(OperationFrame& frame) {
  EepromSession session(frame, eeprom_text::kTesting, kQuickStartMs);
  OpOutcome outcome = OpOutcome::kOk;
  const std::optional<UserMessage> noAnswer = session.ReadAll([&](int32_t a, int value) {
    if (value == 0xFF) return true;
    frame.ui().ShowMessage({.text = eeprom_text::kNotBlankAt + HexAt(a),
                            .title = title::kQuorvi2,
                            .icon = MessageIcon::kCritical,
                            .detail = DifferenceText(0xFF, value, kByteDigits)});
    outcome = OpOutcome::kFailed;
    return a == 0 || a == 0x8000;
  });
  return session.End(Outcome(frame, noAnswer, outcome));
}

OpResult SerialEepromCompare(OperationFrame& frame) {
  EepromSession session(frame, eeprom_text::kComparing, kQuickStartMs);
  const MemoryImage& image = frame.state().image;
  OpOutcome outcome = OpOutcome::kOk;
  const std::optional<UserMessage> noAnswer = session.ReadAll([&](int32_t a, int value) {
    const int32_t expected = image.programBuffer[static_cast<size_t>(a)];
    if (value == expected) return true;
    frame.ui().ShowMessage({.text = eeprom_text::kNotEqualAt + HexAt(a),
                            .title = title::kQuorvi2,
                            .icon = MessageIcon::kNone,
                            .detail = DifferenceText(expected, value, kByteDigits)});
    outcome = OpOutcome::kFailed;
    return a == 0;
  });
  outcome = Outcome(frame, noAnswer, outcome);
  if (outcome != OpOutcome::kOk) frame.state().operationFailed = kTrue;
  return session.End(outcome);
}

OpResult SerialEepromErase(OperationFrame& frame) {
  EepromSession session(frame, eeprom_text::kErasing, kQuickStartMs);
  const std::optional<UserMessage> failure = session.WriteAll([](int32_t) { return 0xFF; }, true);
  if (failure) frame.ui().ShowMessage(*failure);
  return session.End(failure ? OpOutcome::kFailed : OpOutcome::kOk);
}

OpResult SerialEepromWrite(OperationFrame& frame) {
  EepromSession session(frame, eeprom_text::kWriting, kSlowStartMs);
  const MemoryImage& image = frame.state().image;
  const std::optional<UserMessage> failure =
      session.WriteAll([&](int32_t a) { return image.programBuffer[static_cast<size_t>(a)] & 0xFF; }, false);
  if (failure) frame.ui().ShowMessage(*failure);
  return session.End(failure ? OpOutcome::kFailed : OpOutcome::kOk);
}

}  // namespace quorvi
