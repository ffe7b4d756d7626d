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

int EepromBus::ReadBit() { return link_.ReadDataLine(WithWaitMargin(timing().lowNs), WithWaitMargin(timing().highNs)); }

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
  for (int bit = 7; bit >= 0; --bit) BusWriteBit((value >> bit) & 1);
  return ReadBit();
}

int EepromBus::BusReadByte() {
  int value = 0;
  for (int i = 0; i < 8; ++i) value = value * 2 + ReadBit();
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

int EepromBus::SendAddressing(int32_t address) {
  const EepromAddressing addressing = AddressingFor(target_, address);
  int ack = BusWriteByte(addressing.control);
  if (target_.size < kTwoAddressBytesFrom) {
    ack |= BusWriteByte(addressing.address & 0xFF);
  } else {
    const int32_t high = addressing.address / 256;
    ack |= BusWriteByte(high);
    ack |= BusWriteByte(addressing.address - 256 * high);
  }
  return ack;
}

int EepromBus::EepromWriteByte(int32_t address, int data) {
  BusStart();
  int ack = SendAddressing(address);
  ack |= BusWriteByte(data);
  BusStop();
  return ack;
}

int EepromBus::EepromReadByte(int32_t address) {
  BusStart();
  int ack = SendAddressing(address);
  BusStart();
  ack |= BusWriteByte(AddressingFor(target_, address).control | kReadBit);
  return ack;
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
  int ack = SendAddressing(address);
  ack |= BusWriteByte(first);
  return ack;
}

int EepromBus::WritePage(int32_t address, std::span<const uint8_t> bytes) {
  if (bytes.empty()) return 0;
  int ack = StartPageWrite(address, bytes[0]);
  for (size_t i = 1; i < bytes.size(); ++i) ack |= BusWriteByte(bytes[i]);
  BusStop();
  return ack;
}

std::vector<int> EepromBus::ReadSequential(int32_t address, int count, int& ack) {
  std::vector<int> bytes;
  ack = EepromReadByte(address);
  for (int i = 0; i < count; ++i) {
    bytes.push_back(BusReadByte());
    if (i + 1 < count) AcknowledgeByte();
  }
  NotAcknowledgeByte();
  BusStop();
  return bytes;
}

}  // namespace quorvi
