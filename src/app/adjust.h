// SPDX-License-Identifier: GPL-3.0-or-later
// The voltage test and adjust dialog `frmAdjust`: which supply each button
// switches, what the user is told to measure, the supply level entry and
// the closing cycle. The dialog only shows these.
#pragma once

#include <string>
#include <variant>

#include "hw/port_link.h"
#include "util/message.h"

namespace quorvi {

inline constexpr const char* kAdjustVddPrompt = "Enter the new VDD";
inline constexpr const char* kCheckVdd = "Check for 5V on Textool pin 11";
inline constexpr const char* kCheckVpp1 = "Check for 13V on Textool pin 4";
inline constexpr const char* kCheckVpp2 = "Check for 13V on Textool pin 1";
inline constexpr const char* kCheckVpp3 = "Check for 13V on Textool pin 18";

enum class AdjustSupply { kVdd, kVpp1, kVpp2, kVpp3 };

/// A toggle button: switches the supply to `on` and returns the instruction
/// for the user when it went on ("" when it went off: the text stays).
std::string ToggleAdjustSupply(PortLink& link, AdjustSupply supply, bool on);

/// An accepted `ledVDD` entry: the text shown and the level it sets.
struct AdjustVddEntry {
  std::string text;
  float volts = 5.0F;
};

/// The `ledVDD` answer: one character gets ".0"; 10 or more is "Voltage to
/// high"; 0, anything not a number and (unreachable by the board) any
/// negative value are "wrong value".
std::variant<AdjustVddEntry, UserMessage> ReadAdjustVddEntry(std::string answer);

/// Steps the board's supply to an accepted entry's level.
void ApplyAdjustVdd(PortLink& link, const AdjustVddEntry& entry);

/// `cmdOk` on mouse release: with Shift held each supply comes and goes in
/// turn (Vpp1, Vpp2, Vpp3, then Vdd, 250 ms each way); then always Vpp1,
/// Vpp2 and Vdd off. Vpp3 is left as it is.
void CloseAdjust(PortLink& link, bool shiftHeld);

}  // namespace quorvi
