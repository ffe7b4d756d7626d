// SPDX-License-Identifier: GPL-3.0-or-later
// The old numeric rules the behaviour depends on, each in one place.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvi {

/// Rounds to the nearest integer, halves to even (2.5 -> 2, 3.5 -> 4).
int64_t RoundHalfEven(double value);

/// A 16-bit flag: True is -1 and False is 0; other values mean neither.
using Flag = int16_t;
inline constexpr Flag kTrue = -1;
inline constexpr Flag kFalse = 0;

/// Text read as hexadecimal the old way ("&h" put in front): blanks, tabs
/// and line feeds are ignored, the leading hex digits count, reading stops at
/// the first other character, no digits give 0. A value that fits in four hex digits is a signed 16-bit number, so
/// "8000".."FFFF" come out negative; longer values are signed 32-bit.
int32_t HexVal(std::string_view text);

/// The numeric value of `text` as the old Val() read it. Blanks, tabs and
/// line feeds anywhere are ignored. "&H" (or "&O") reads hexadecimal (octal)
/// as `HexVal` does. Otherwise a decimal number with optional sign, fraction
/// and exponent (E or D); reading stops at the first character that does not
/// fit; no number is 0.
double VbVal(std::string_view text);

/// Digits of upper-case hex text, by value.
inline constexpr char kHexDigits[] = "0123456789ABCDEF";

/// A hex digit's value, either case; -1 for any other character. A table:
/// the HEX readers look up every digit of a file.
inline constexpr std::array<int8_t, 256> kHexDigitValues = [] {
  std::array<int8_t, 256> values{};
  values.fill(-1);
  for (size_t i = 0; i < 10; ++i) values['0' + i] = static_cast<int8_t>(i);
  for (size_t i = 0; i < 6; ++i) values['A' + i] = values['a' + i] = static_cast<int8_t>(10 + i);
  return values;
}();

constexpr int HexDigitValue(char c) { return kHexDigitValues[static_cast<unsigned char>(c)]; }

/// Two characters read as one byte of a HEX file: 0..255 when both are hex
/// digits; any other pair reads as 0 (malformed digits are not diagnosed).
inline int32_t HexPairVal(std::string_view pair) {
  if (pair.size() != 2) return 0;
  const int high = HexDigitValue(pair[0]);
  const int low = HexDigitValue(pair[1]);
  return high < 0 || low < 0 ? 0 : high * 16 + low;
}

/// Two such pairs, high then low, as a signed 16-bit number ("8000" and up
/// come out negative).
inline int32_t HexWordVal(std::string_view high, std::string_view low) {
  return static_cast<int16_t>(static_cast<uint16_t>(HexPairVal(high) * 256 + HexPairVal(low)));
}

/// Upper-case hex text without leading zeros of a 32-bit value; a negative
/// value shows all eight digits of its two's complement ("FFFFFFFF").
std::string HexText(int32_t value);

/// The same for a 16-bit value: a negative one shows four digits ("FFFF").
std::string HexText16(int16_t value);

/// `text` left-padded with `fill` to `width`; longer text is kept whole.
std::string PadLeft(std::string text, size_t width, char fill = '0');

/// A whole number divided by two, rounded halves to even (1 -> 0, 3 -> 2, 5 -> 2).
int32_t HalveHalfEven(int32_t value);

/// Drops the fraction, toward zero (-1.7 -> -1).
double TruncateTowardZero(double value);

/// A number as a 32-bit integer, rounding halves to even; nothing when it
/// does not fit (the old overflow error).
std::optional<int32_t> ToInt32(double value);

/// The same for a 16-bit integer.
std::optional<int16_t> ToInt16(double value);

/// The same for an unsigned byte.
std::optional<uint8_t> ToByte(double value);

/// A whole text read as a decimal number, blanks around it allowed; nothing
/// when it is not a number (the old conversion error).
std::optional<double> ParseNumber(std::string_view text);

}  // namespace quorvi
