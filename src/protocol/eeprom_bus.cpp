// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/eeprom_bus.h"

#include <utility>
#include <vector>

#include "hw/delay.h"

namespace quorvi {

namespace {

constexpr int kBlockBitsMask = 0x1E;
constexpr int kBlockShift = 7;

int BaseControl(const EepromTarget& target) {
  return target.control == EepromControl::kPinsLow ? kControlWriteLow : kControlWrite;
}

}  // namespace

EepromAddressing AddressingFor(const EepromTarget& target, int32_t address) {
  int control = BaseControl(target);
  if (address >= kUpperHalf) {
    // The 24LC515's upper half; applied to every device.
    control = kControlWrite;
    address -= kUpperHalf;
  }
  const int blockBits = (address >> kBlockShift) & kBlockBitsMask;
  if (target.control == EepromControl::kBlockBitsPinsHigh) control = kControlWrite | blockBits;
  if (target.control == EepromControl::kBlockBitsPinsLow) control = kControlWriteLow | blockBits;
  return {.control = control, .address = address};
}

EepromBus::EepromBus(PortLink& link, EepromTarget target) : link_(link), target_(std::move(target)) {}

// The memory's data sheet sets the pace, not the port: a fast port would
// clock a 100 kHz part out of its specification.
void EepromBus::Hold(int64_t minimumNs) { link_.HoldSinceLastAccess(WithWaitMargin(minimumNs)); }

int EepromBus::ReadBit() {
  MarkBit();
  return TakeOr();
}

void EepromBus::MarkBit() { link_.MarkDataLine(WithWaitMargin(timing().lowNs), WithWaitMargin(timing().highNs)); }

int EepromBus::TakeOr() {
  int any = 0;
  for (const bool high : link_.TakeSamples()) any |= high ? 1 : 0;
  return any;
}

void EepromBus::ClockBit() {
  Hold(timing().lowNs);
  link_.SetClockLine(kTrue);
  Hold(timing().highNs);
  link_.SetClockLine(kFalse);
}

void EepromBus::BusStart() {
  link_.SetDataLine(kTrue);
  Hold(timing().lowNs);
  link_.SetClockLine(kTrue);
  DelayUnit(link_.clock());  // also tSU:STA and tBUF
  link_.SetDataLine(kFalse);
  Hold(timing().startHoldNs);
  link_.SetClockLine(kFalse);
}

void EepromBus::BusStop() {
  link_.SetClockLine(kFalse);
  link_.SetDataLine(kFalse);
  DelayUnit(link_.clock());  // also tLOW
  link_.SetClockLine(kTrue);
  Hold(timing().stopSetupNs);
  link_.SetDataLine(kTrue);
}

void EepromBus::BusWriteBit(int bit) {
  link_.SetDataLine(bit == 1 ? kTrue : kFalse);
  ClockBit();
}

int EepromBus::BusWriteByte(int value) {
  MarkWriteByte(value);
  return TakeOr();
}

void EepromBus::MarkWriteByte(int value) {
  for (int bit = 7; bit >= 0; --bit) BusWriteBit((value >> bit) & 1);
  MarkBit();
}

int EepromBus::BusReadByte() {
  for (int i = 0; i < 8; ++i) MarkBit();
  return ByteFrom(link_.TakeSamples(), 0);
}

int EepromBus::ByteFrom(const std::vector<bool>& bits, size_t first) {
  int value = 0;
  for (size_t i = first; i < first + 8; ++i) value = value * 2 + (bits[i] ? 1 : 0);
  return value;
}

int EepromBus::WaitForAcknowledge(int32_t address) {
  const uint32_t t0 = link_.clock().Milliseconds();
  int control = BaseControl(target_);
  if (address >= kUpperHalf) control = kControlWrite;
  int ack = 1;
  do {
    BusStart();
    ack = BusWriteByte(control);
  } while (ack != 0 && link_.clock().Milliseconds() - t0 < kPollTimeoutMs);
  // Leaves the bus free: a repeated start after an acknowledged control
  // byte reads as the first half of a random read to a bus analyser.
  BusStop();
  return ack;
}

void EepromBus::MarkAddressing(int32_t address) {
  const EepromAddressing addressing = AddressingFor(target_, address);
  MarkWriteByte(addressing.control);
  if (target_.size < kTwoAddressBytesFrom) {
    MarkWriteByte(addressing.address & 0xFF);
  } else {
    const int32_t high = addressing.address / 256;
    MarkWriteByte(high);
    MarkWriteByte(addressing.address - 256 * high);
  }
}

int EepromBus::EepromWriteByte(int32_t address, int data) {
  BusStart();
  MarkAddressing(address);
  MarkWriteByte(data);
  BusStop();
  return TakeOr();
}

int EepromBus::EepromReadByte(int32_t address) {
  MarkReadAddressing(address);
  return TakeOr();
}

void EepromBus::MarkReadAddressing(int32_t address) {
  BusStart();
  MarkAddressing(address);
  BusStart();
  MarkWriteByte(AddressingFor(target_, address).control | kReadBit);
}

void EepromBus::AcknowledgeByte() {
  link_.SetDataLine(kFalse);
  ClockBit();
}

void EepromBus::NotAcknowledgeByte() {
  link_.SetDataLine(kTrue);
  ClockBit();
}

int EepromBus::StartPageWrite(int32_t address, int first) {
  BusStart();
  MarkAddressing(address);
  MarkWriteByte(first);
  return TakeOr();
}

int EepromBus::WritePage(int32_t address, std::span<const uint8_t> bytes) {
  if (bytes.empty()) return 0;
  BusStart();
  MarkAddressing(address);
  for (const uint8_t byte : bytes) MarkWriteByte(byte);
  BusStop();
  return TakeOr();
}

std::vector<int> EepromBus::ReadSequential(int32_t address, int count, int& ack) {
  MarkReadAddressing(address);
  for (int i = 0; i < count; ++i) {
    for (int bit = 0; bit < 8; ++bit) MarkBit();
    if (i + 1 < count) AcknowledgeByte();
  }
  NotAcknowledgeByte();
  BusStop();
  // One answer for the whole read: the addressing's acknowledges, then the bytes.
  const std::vector<bool> bits = link_.TakeSamples();
  const size_t acks = bits.size() - static_cast<size_t>(count) * 8;
  ack = 0;
  for (size_t i = 0; i < acks; ++i) ack |= bits[i] ? 1 : 0;
  std::vector<int> bytes;
  for (size_t first = acks; first < bits.size(); first += 8) bytes.push_back(ByteFrom(bits, first));
  return bytes;
}

}  // namespace quorvi
