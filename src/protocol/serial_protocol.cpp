// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/serial_protocol.h"

#include <utility>

#include "hw/delay.h"

namespace quorvi {

namespace {

constexpr int kWordBits = 14;
constexpr int kCommandBits = 6;
constexpr int kWordMask = 0x3FFF;
constexpr int kTopBit = 0x2000;
constexpr float kLoadProgramSettleMs = 1.0F;
constexpr float kSupplySettleMs = 100.0F;
constexpr int kIncrementsToConfigWord = 7;

}  // namespace

std::string ToBitText(int value) {
  std::string text(kWordBits, '0');
  for (int bit = 0; bit < kWordBits; ++bit) {
    if ((value >> bit) & 1) text[static_cast<size_t>(kWordBits - 1 - bit)] = '1';
  }
  return text;
}

int CommandCodeFromText(std::string_view text) {
  int value = 0;
  for (const char digit : text) value = value * 2 + (digit == '1' ? 1 : 0);
  return value;
}

CheckBits CheckBitsFor(int word) {
  int odd = 0;
  int even = 0;
  for (int bit = 0; bit < kWordBits; ++bit) {
    if (((word >> bit) & 1) == 0) continue;
    if (bit % 2 == 1) {
      ++odd;
    } else {
      ++even;
    }
  }
  return {.first = odd % 2 == 1, .second = even % 2 == 0};
}

SerialProtocol::SerialProtocol(PortLink& link, ProtocolTarget target) : link_(link), target_(std::move(target)) {}

void SerialProtocol::Wait(float ms) { DelayMs(link_.clock(), ms); }

void SerialProtocol::WaitAtLeast(float requestedMs, const MinimumWait& minimum) {
  Wait(target_.plan ? target_.plan(requestedMs, minimum) : requestedMs);
}

void SerialProtocol::Hold(int64_t minimumNs) {
  link_.HoldSinceLastAccess(WithWaitMargin(minimumNs));
}

void SerialProtocol::Pulse() {
  // A fast port must not outrun the chip: DS39025 p.18 Table 6-1 (setup, tdly2).
  Hold(afterCommand_ ? IcspTiming().commandToDataNs : IcspTiming().setupNs);
  afterCommand_ = false;
  link_.PulseClock();
}

void SerialProtocol::SendBit(bool bit) {
  Hold(IcspTiming().holdNs);
  link_.SetDataLine(bit ? kTrue : kFalse);
  Pulse();
}

void SerialProtocol::SendBits(int value, int count) {
  // Taken from the bit text from its last character backwards: LSB first.
  const std::string text = ToBitText(value);
  for (int i = 0; i < count; ++i) SendBit(text[static_cast<size_t>(kWordBits - 1 - i)] == '1');
}

void SerialProtocol::SendCommand(int code) {
  SendBits(code, kCommandBits);
  afterCommand_ = true;
}

void SerialProtocol::SendCommandForRead(int code) {
  SendCommand(code);
  Hold(IcspTiming().holdNs);
  link_.SetDataLine(kTrue);
}

void SerialProtocol::SendWord16(uint32_t value) {
  for (int bit = 0; bit < 16; ++bit) SendBit(((value >> bit) & 1U) != 0);
  Hold(IcspTiming().holdNs);
  link_.SetDataLine(kFalse);
}

void SerialProtocol::SendDataFrame(int word, bool withCheckBits) {
  SendBit(false);  // start bit
  if (withCheckBits && target_.pairFlag) {
    const CheckBits check = CheckBitsFor(word & kWordMask);
    SendBit(check.first);
    SendBit(check.second);
  }
  SendBits(word & kWordMask, kWordBits);
  SendBit(false);  // stop bit
  Hold(IcspTiming().holdNs);
  link_.SetDataLine(kFalse);
}

void SerialProtocol::LoadConfiguration(int word) {
  SendCommand(cmd::kLoadConfiguration);
  DelayUnit(link_.clock());
  SendDataFrame(word, true);
}

void SerialProtocol::LoadProgramData(int word) {
  SendCommand(cmd::kLoadDataProgram);
  Wait(kLoadProgramSettleMs);
  SendDataFrame(word, true);
  DelayUnit(link_.clock());
}

void SerialProtocol::LoadDataMemory(int value) {
  SendCommand(cmd::kLoadDataData);
  DelayUnit(link_.clock());
  SendDataFrame(value, false);
}

int SerialProtocol::ReadFrame() {
  MarkFrame();
  return WordFrom(link_.TakeSamples(), 0);
}

void SerialProtocol::MarkFrame() {
  Hold(IcspTiming().holdNs);
  link_.SetDataLine(kTrue);  // releases the line for the chip
  if (target_.core12) DelayUnit(link_.clock());
  Pulse();  // start bit
  if (target_.pairFlag) {
    Pulse();  // check bits: the chip's, not ours to keep
    Pulse();
  }
  for (int i = 0; i < kWordBits; ++i) {
    Pulse();
    link_.MarkSample();
  }
  Pulse();  // stop bit
  Hold(IcspTiming().holdNs);
  link_.SetDataLine(kFalse);
}

int SerialProtocol::WordFrom(const std::vector<bool>& bits, size_t first) {
  // LSB first: each bit read moves the word down and enters at the top.
  int word = 0;
  for (size_t i = first; i < first + kWordBits; ++i) word = (word >> 1) + (bits[i] ? kTopBit : 0);
  return word;
}

int SerialProtocol::ReadProgramWord() {
  SendCommand(cmd::kReadDataProgram);
  return ReadFrame();
}

std::vector<int> SerialProtocol::ReadProgramWords(int count) {
  for (int i = 0; i < count; ++i) {
    SendCommand(cmd::kReadDataProgram);
    MarkFrame();
    IncrementAddress();
  }
  const std::vector<bool> bits = link_.TakeSamples();
  std::vector<int> words;
  for (size_t first = 0; first + kWordBits <= bits.size(); first += kWordBits) words.push_back(WordFrom(bits, first));
  return words;
}

int SerialProtocol::ReadDataMemory() {
  SendCommand(cmd::kReadDataData);
  return ReadFrame();
}

void SerialProtocol::IncrementAddress() { SendCommand(cmd::kIncrementAddress); }

void SerialProtocol::BeginProgramming() {
  SendCommand(cmd::kBeginProgramming);
  Hold(IcspTiming().holdNs);
  link_.SetDataLine(kFalse);
}

void SerialProtocol::GoToConfigurationWord(int data) {
  LoadConfiguration(data);
  for (int i = 0; i < kIncrementsToConfigWord; ++i) IncrementAddress();
}

void SerialProtocol::EndProgramming() {
  SendCommand(cmd::kEndProgramming);
  Hold(IcspTiming().holdNs);
  link_.SetDataLine(kFalse);
}

void SerialProtocol::PowerVppFirst() {
  link_.SetProgrammingVoltage(kTrue, target_.pinCount, target_.mclrOnVpp3);
  // DS41196, DS41191 (TPPDP): MCLR settles at Vpp before Vdd rises.
  Hold(IcspTiming().vppBeforeVddNs);
  link_.SetVdd("on");
}

void SerialProtocol::EnterProgrammingMode() {
  link_.SetProgrammingVoltage(kFalse, target_.pinCount, target_.mclrOnVpp3);
  link_.SetVdd("off");
  Wait(kSupplySettleMs);
  if (target_.vppFirst) {
    PowerVppFirst();
  } else {
    link_.SetVdd("on");
  }
  // Parts that may run their own code at power-up must see Vpp at once.
  if (target_.settlesBeforeVpp) {
    Wait(kSupplySettleMs);
  }
  if (!target_.vppFirst) Hold(IcspTiming().vddBeforeVppNs);
  link_.SetProgrammingVoltage(kTrue, target_.pinCount, target_.mclrOnVpp3);
  Wait(kSupplySettleMs);
}

void SerialProtocol::LeaveProgrammingMode() {
  link_.SetProgrammingVoltage(kFalse, target_.pinCount, target_.mclrOnVpp3);
  link_.SetVdd("off");
}

void SerialProtocol::CodeProtectEraseConfigPath() {
  GoToConfigurationWord(kWordMask);
  SendCommand(cmd::kEraseSetup1);
  SendCommand(cmd::kEraseSetup2);
  SendCommand(cmd::kBeginProgramming);
  WaitAtLeast(15.0F, timing().protectErase);
  SendCommand(cmd::kEraseSetup1);
  SendCommand(cmd::kEraseSetup2);
}

}  // namespace quorvi
