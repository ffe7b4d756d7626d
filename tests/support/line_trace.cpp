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

std::vector<Frame> DecodeFrames(const std::vector<int>& bits, bool pairFlag) {
  std::vector<Frame> frames;
  size_t i = 0;
  while (i + 6 <= bits.size()) {
    Frame frame;
    for (int b = 0; b < 6; ++b) frame.code |= bits[i + static_cast<size_t>(b)] << b;
    i += 6;
    const bool load = frame.code == 0 || frame.code == 2 || frame.code == 3;
    const bool read = frame.code == 4 || frame.code == 5;
    if (load || read) {
      const bool checked = pairFlag && frame.code != 3;
      const size_t length = checked ? 18 : 16;
      if (i + length > bits.size()) break;
      if (load) {
        const size_t first = i + (checked ? 3 : 1);
        int word = 0;
        for (size_t b = 0; b < 14; ++b) word |= bits[first + b] << b;
        frame.word = word;
      }
      i += length;
    }
    frames.push_back(frame);
  }
  return frames;
}

std::string ToString(const std::vector<Frame>& frames) {
  std::string text;
  for (const Frame& f : frames) {
    char part[32];
    if (f.word) {
      std::snprintf(part, sizeof part, "%d(%04X) ", f.code, *f.word);
    } else {
      std::snprintf(part, sizeof part, "%d ", f.code);
    }
    text += part;
  }
  return text;
}

}  // namespace quorvi::test
