// SPDX-License-Identifier: GPL-3.0-or-later
// The two-wire bus to 24Cxx serial EEPROMs over Clock and the data line;
// data goes most significant bit first, the ninth clock carries the
// acknowledge (0 = acknowledged).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hw/port_link.h"
#include "protocol/timing.h"

namespace quorvi {

/// How a 24Cxx takes its control byte: which address pins the socket ties
/// high, and whether the control byte carries block bits of the address.
enum class EepromControl { kPinsHigh, kPinsLow, kBlockBitsPinsHigh, kBlockBitsPinsLow };

/// What the bus needs of the selected memory.
struct EepromTarget {
  EepromControl control = EepromControl::kPinsHigh;
  int32_t size = 0;  // the catalogue's programSize; below 2048 one address byte
  BusSpeed speed = BusSpeed::kStandard;
};

/// The control byte (write form) for an address and what is left of the
/// address to send after it.
struct EepromAddressing {
  int control = 0;
  int32_t address = 0;
};

inline constexpr int kControlWrite = 0xA8;      // "10101000"
inline constexpr int kControlWriteLow = 0xA0;   // "10100000"
inline constexpr int kReadBit = 0x01;
inline constexpr int32_t kUpperHalf = 32768;
inline constexpr int32_t kTwoAddressBytesFrom = 2048;

/// Works out the control byte for `address` on the memory `target`.
EepromAddressing AddressingFor(const EepromTarget& target, int32_t address);

class EepromBus {
 public:
  /// The acknowledge poll gives up once this much has passed.
  static constexpr uint32_t kPollTimeoutMs = 501;

  EepromBus(PortLink& link, EepromTarget target);

  const EepromTarget& target() const { return target_; }

  void BusStart();
  void BusStop();
  /// 1 drives the line high; any other value low.
  void BusWriteBit(int bit);
  /// Sends the low 8 bits; returns the acknowledge bit.
  int BusWriteByte(int value);
  int BusReadByte();
  /// Polls with the write control byte until acknowledged or 501 ms passed,
  /// then stops; returns the last acknowledge (0 = ready, 1 = timed out).
  int WaitForAcknowledge(int32_t address);
  /// One byte write; returns the OR of all acknowledge bits.
  int EepromWriteByte(int32_t address, int data);
  /// Addresses the memory and restarts in read form; the caller reads the
  /// byte. Returns the OR of the acknowledge bits of this addressing.
  int EepromReadByte(int32_t address);

  /// Master acknowledge after a byte of a sequential read: data low, one clock.
  void AcknowledgeByte();
  /// Master not-acknowledge that ends a read: data high, one clock.
  void NotAcknowledgeByte();
  /// The minimums this bus keeps (the memory's speed class).
  const BusTiming& timing() const { return BusTimingFor(target_.speed); }

  /// Page write: start, control, address, the first byte; no stop. Returns
  /// the OR of the acknowledges. The caller sends the rest with
  /// BusWriteByte and ends with BusStop.
  int StartPageWrite(int32_t address, int first);
  /// A whole page from `address`: start, addressing, every byte, stop.
  /// Returns the OR of the acknowledges.
  int WritePage(int32_t address, std::span<const uint8_t> bytes);
  /// Random read at `address`, then `count` bytes read sequentially,
  /// acknowledging each but the last; ends with not-acknowledge and stop.
  /// Returns the OR of the acknowledges of the addressing in `ack`.
  std::vector<int> ReadSequential(int32_t address, int count, int& ack);

 private:
  // Bits are marked where the bus reads them and taken after the frame, so a
  // port that queues writes answers a whole frame in one round trip.
  void MarkAddressing(int32_t address);
  void MarkReadAddressing(int32_t address);
  void MarkWriteByte(int value);
  void MarkBit();
  /// The OR of the bits marked since the last take.
  int TakeOr();
  static int ByteFrom(const std::vector<bool>& bits, size_t first);
  /// Spins until `minimumNs` (with the margin) have passed since the last port access.
  void Hold(int64_t minimumNs);
  /// Clock high for tHIGH and low again, the data already set up for tLOW.
  void ClockBit();
  /// The clocked read of one bit, at the bus's pace.
  int ReadBit();

  PortLink& link_;
  EepromTarget target_;
};

}  // namespace quorvi
