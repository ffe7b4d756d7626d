// SPDX-License-Identifier: GPL-3.0-or-later
// Wiring as data: which pin of a bit-bang adapter drives each line of the
// programmer board, which pin reads DataIn, and which of them the wiring
// inverts. The board's own line values (line::k*) stay as they are; a map
// only moves and flips them on the way to the adapter.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "util/result.h"

namespace quorvi {

/// The board's seven outputs and its one input, in the data byte's bit order.
enum class BoardLine { kDataOut, kClock, kVdd, kVpp1, kVpp2, kVpp3, kVddStep, kDataIn };
inline constexpr size_t kBoardLines = 8;

/// The name a map file and the messages use for `line` ("DataOut", "Vpp1", ...).
std::string_view BoardLineName(BoardLine line);

/// An adapter and the names of the pins it can drive and read, by pin number.
struct Adapter {
  std::string_view name;
  std::span<const std::string_view> pins;
};

/// The adapters a map may name: "ft232r" (TXD..RI), "ft232h" and "ft2232h"
/// (ADBUS0..ADBUS7), "rpi" (GPIO2..GPIO27 of the 40-pin header).
std::span<const Adapter> Adapters();

struct PinAssignment {
  int pin = -1;
  bool inverted = false;
};

struct PinMap {
  const Adapter* adapter = nullptr;
  std::array<PinAssignment, kBoardLines> lines;

  /// The adapter's pin levels for the board's data byte (bit n: pin n).
  uint64_t PinLevels(uint8_t boardByte) const;
  /// Every pin the map drives (bit n: pin n); DataIn's pin is not among them.
  uint64_t OutputPins() const;
  /// DataIn as the board gives it (the status bit's sense), from the adapter's pin levels.
  bool DataIn(uint64_t pinLevels) const;
};

/// Reads a map: an "adapter NAME" line, then one "LINE PIN [inverted]" line
/// for each board line; "#" starts a comment. A map that names a pin twice,
/// leaves a line out or names a pin the adapter lacks is refused, with
/// `source` and the line number.
Result<PinMap> ParsePinMap(std::string_view text, std::string_view source);

/// The map shipped for an adapter ("ft232r", "ft232h", "ft2232h", "rpi").
Result<PinMap> PresetPinMap(std::string_view adapter);

/// A preset by its adapter's name, or else the map file at `nameOrPath`.
Result<PinMap> LoadPinMap(const std::string& nameOrPath);

}  // namespace quorvi
