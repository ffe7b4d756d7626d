// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "hw/trace_sink.h"

namespace quorvi {

/// A one-bit wire of a VCD file and its one-character identifier.
struct VcdWire {
  const char* name;
  char id;
};

/// The text of a VCD file of up to 16 one-bit wires, nanoseconds apart, made
/// without a formatting library: a trace writes millions of changes. Levels
/// are a word whose bit i is wire i.
class VcdWriter {
 public:
  /// Writes the header.
  VcdWriter(std::unique_ptr<TraceSink> sink, std::span<const VcdWire> wires);

  /// The levels every wire starts with, at `ns`.
  void Start(int64_t ns, uint16_t levels);
  /// The wires whose levels differ from `before`, at `ns`; after Start.
  void Change(int64_t ns, uint16_t levels, uint16_t before);
  /// Whether Start was called.
  bool started() const { return lastStamp_ >= 0; }
  int64_t lastStamp() const { return lastStamp_; }
  /// Ends the file with a stamp at `ns`, or just after the last, so that
  /// viewers show the last levels for a moment; false when anything could
  /// not be written.
  bool Close(int64_t ns);

 private:
  void Put(std::string_view text);
  void Stamp(int64_t ns);
  void Level(uint16_t levels, size_t wire);
  /// Hands the text so far to the sink.
  void Hand();

  std::unique_ptr<TraceSink> sink_;
  std::span<const VcdWire> wires_;
  std::vector<char> text_;  // not yet handed to the sink: up to `end_`
  char* end_;
  int64_t lastStamp_ = -1;
  int64_t stampMs_ = -1;  // the milliseconds of the last stamp, in digits
  std::array<char, 20> msDigits_{};
  size_t msDigitCount_ = 0;
};

}  // namespace quorvi
