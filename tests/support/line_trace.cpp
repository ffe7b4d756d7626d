// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/line_trace.h"

#include <cstdio>

namespace quorvi::test {

std::vector<int> FallingEdgeBits(const std::vector<uint8_t>& writes) {
  std::vector<int> bits;
  bool clockHigh = false;
  for (const uint8_t byte : writes) {
    const bool high = (byte & 0x02) != 0;
    if (clockHigh && !high) bits.push_back(byte & 0x01);
    clockHigh = high;
  }
  return bits;
}

namespace {

// `count` bits from `first` on, the first the least significant.
int Value(const std::vector<int>& bits, size_t first, size_t count) {
  int v = 0;
  for (size_t b = 0; b < count; ++b) v |= bits[first + b] << b;
  return v;
}

}  // namespace

std::string Commands(const std::vector<uint8_t>& writes) {
  const std::vector<int> bits = FallingEdgeBits(writes);
  const auto value = [&bits](size_t first, size_t count) { return Value(bits, first, count); };
  std::string text;
  for (size_t i = 0; i + 6 <= bits.size();) {
    const int code = value(i, 6);
    i += 6;
    char word[32];
    std::snprintf(word, sizeof word, "%d ", code);
    if (code == 0 || code == 2 || code == 3 || code == 4 || code == 5) {
      if (i + 16 > bits.size()) break;
      if (code < 4) std::snprintf(word, sizeof word, "%d(%04X) ", code, value(i + 1, 14));
      i += 16;
    }
    text += word;
  }
  return text;
}

std::string Pic18Transfers(const std::vector<uint8_t>& writes) {
  const std::vector<int> bits = FallingEdgeBits(writes);
  std::string text;
  for (size_t i = 0; i + 20 <= bits.size(); i += 20) {
    const int command = Value(bits, i, 4);
    char transfer[16];
    const bool read = command == 2 || (command >= 8 && command <= 11);
    if (read) {
      std::snprintf(transfer, sizeof transfer, "%d/--", command);
    } else {
      std::snprintf(transfer, sizeof transfer, "%d/%04X", command, Value(bits, i + 4, 16));
    }
    text += text.empty() ? transfer : std::string(" ") + transfer;
  }
  return text;
}

}  // namespace quorvi::test
