// SPDX-License-Identifier: GPL-3.0-or-later
// The configuration word edited through named fuses. No bit position is
// built in: every fuse's bits come from the device's fuse map.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "device/device_descriptor.h"

namespace quorvi {

/// Puts fuse bits to the side that makes the positive-mask bits 1
/// (`toOnes`), or to the other side. A negative mask lists bits, by its
/// absolute value, whose 0 is that side. A zero mask changes nothing.
int32_t SetFuseBits(int32_t word, int16_t mask, int32_t blankWord, bool toOnes);

/// The word after a click on fuse button `button` ("WDT_ON", "CP0_ON",
/// "op42", ... or "cmbWRT:ON"); nothing for an unknown button.
std::optional<int32_t> ApplyFuseButton(const DeviceDescriptor& device, int32_t word, int32_t blankWord,
                                       std::string_view button);

/// The button that turns the feature `fuse` names on or off ("WDTE", true:
/// "WDT_ON"; "CP0", true: "CP0_ON"); nothing for a fuse no button sets.
std::optional<std::string_view> FuseButtonFor(std::string_view fuse, bool on);

/// The word after choosing oscillator entry `index` of a list of `entries`.
int32_t ApplyOscillator(int32_t word, int32_t blankWord, int oscList, int index, int entries);

/// The oscillator entry a word shows.
int OscillatorIndex(int oscList, int32_t word);

/// False for a list entry that stands for a value the part does not have
/// (the catalogue starts its text with "-"): it is shown, never chosen.
bool OscillatorEntryUsable(std::string_view entry);

/// " Fuse=" and the word in upper-case hexadecimal without leading zeros.
std::string FuseText(int32_t word);

/// One fuse frame's choice when a word is shown: the button that is selected.
struct FuseChoice {
  std::string fuse;
  std::string button;
  bool operator==(const FuseChoice&) const = default;
};

/// What the fuse controls show for a configuration word.
struct ConfigDisplay {
  std::string txtFuses;
  /// Nothing when the word's index falls outside the list (then left alone).
  std::optional<int> oscIndex;
  /// The selected button of each fuse frame the map names, in display order.
  std::vector<FuseChoice> choices;
  /// "ON" or "OFF" for a single write-protection fuse.
  std::optional<std::string> wrtText;
  /// "op25", "op27", "op42" or "op45" when the map has both brown-out fuses.
  std::optional<std::string> borvButton;
  std::array<std::string, 4> idTexts;
};

ConfigDisplay ShowConfigWord(const DeviceDescriptor& device, int32_t word, const std::array<int32_t, 5>& idWords,
                             int oscEntries);

/// A typed ID word: the value stored and the text the box keeps.
struct IdEntry {
  int32_t value;
  std::string text;
  bool operator==(const IdEntry&) const = default;
};

/// Reads an ID box as hexadecimal; above 3FFF it becomes 3FFF. Four-digit
/// values from 8000 on read as negative 16-bit numbers and pass.
IdEntry ParseIdEntry(std::string_view text);

}  // namespace quorvi
