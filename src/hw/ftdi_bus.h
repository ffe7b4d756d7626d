// SPDX-License-Identifier: GPL-3.0-or-later
// The few calls of an FTDI chip in synchronous bit-bang mode that the FTDI
// port needs, behind an interface so that tests can put a fake there.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/result.h"

namespace quorvi {

enum class FtdiChip { kFt232r, kFt232h, kFt2232h, kOther };

/// Which device to open: FTDI's vendor ID and, unless given, any product ID
/// of the bit-bang capable chips; optionally its serial number; the index-th
/// match (0: the first).
struct FtdiAddress {
  int vendor = 0x0403;
  int product = 0;  // 0: any of the bit-bang capable chips
  std::string serial;
  int index = 0;
};

class FtdiBus {
 public:
  virtual ~FtdiBus() = default;
  virtual FtdiChip Chip() const = 0;
  /// "FT232R serial A9XK3L1T", for the user.
  virtual std::string Describe() const = 0;
  /// Enters synchronous bit-bang with `outputs` driven; they show `levels`
  /// from the moment they become outputs.
  virtual Status Start(uint8_t outputs, uint8_t levels) = 0;
  /// Clocks `out` onto the pins, one byte per tick of the bit-bang clock,
  /// and returns the pins as they were just before each byte went out.
  virtual Result<std::vector<uint8_t>> Transfer(std::span<const uint8_t> out) = 0;
};

/// The address in a port name after "ftdi": "" (the first bit-bang capable
/// chip), ":SERIAL", or ":VID:PID" with an optional ":INDEX", in hex.
Result<FtdiAddress> ParseFtdiAddress(std::string_view text);

/// Opens the device through libftdi; the error says what to do about it.
Result<std::unique_ptr<FtdiBus>> OpenFtdiBus(const FtdiAddress& address);

}  // namespace quorvi
