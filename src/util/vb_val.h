// SPDX-License-Identifier: GPL-3.0-or-later
// How the old program read numbers out of text: catalogue columns, typed
// values, file fields. Its quirks are part of the behaviour.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvi {

/// The numeric value of `text`. Blanks, tabs and line feeds anywhere are
/// ignored. "&H" (or "&O") reads hexadecimal (octal): a value up to FFFF is a
/// signed 16-bit number (FFFF is -1), a larger one a signed 32-bit number.
/// Otherwise a decimal number with optional sign, fraction and exponent (E or
/// D). Reading stops at the first character that does not fit; no number is 0.
double VbVal(std::string_view text);

/// `VbVal` of "&h" followed by `text`: how typed and file hex is read.
double HexVal(std::string_view text);

/// A value stored into a 16-bit integer: rounded half to even; nothing when
/// it does not fit (the old overflow error).
std::optional<int16_t> ToInt16(double value);
/// The same for a 32-bit integer.
std::optional<int32_t> ToInt32(double value);
/// The same for an unsigned byte.
std::optional<uint8_t> ToByte(double value);

/// Upper-case hexadecimal without leading zeros, as the old Hex() gave it
/// (a negative value shows its 32-bit two's complement).
std::string VbHex(int32_t value);

}  // namespace quorvi
