// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/arith.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

namespace quorvi {

int64_t RoundHalfEven(double value) {
  const double floor = std::floor(value);
  const double fraction = value - floor;
  auto whole = static_cast<int64_t>(floor);
  if (fraction > 0.5 || (fraction == 0.5 && (whole % 2) != 0)) ++whole;
  return whole;
}

namespace {

std::string HexOfUnsigned(uint32_t value) {
  char text[8];
  size_t used = 0;
  do {
    text[used++] = kHexDigits[value & 0xFU];
    value >>= 4U;
  } while (value != 0);
  std::string result(used, '0');
  for (size_t i = 0; i < used; ++i) result[i] = text[used - 1 - i];
  return result;
}

std::string WithoutBlanks(std::string_view text) {
  std::string kept;
  kept.reserve(text.size());
  for (const char ch : text) {
    if (ch != ' ' && ch != '\t' && ch != '\n') kept.push_back(ch);
  }
  return kept;
}

int32_t RadixValue(std::string_view digits, int radix) {
  uint32_t value = 0;
  for (const char c : digits) {
    const int digit = HexDigitValue(c);
    if (digit < 0 || digit >= radix) break;
    // Beyond 32 bits the old reader overflowed; the low 32 bits are kept instead.
    value = value * static_cast<uint32_t>(radix) + static_cast<uint32_t>(digit);
  }
  if (value <= 0xFFFFU) return static_cast<int16_t>(static_cast<uint16_t>(value));
  return static_cast<int32_t>(value);
}

double DecimalValue(const std::string& s) {
  size_t i = 0;
  std::string number;
  const auto digit = [&](size_t at) { return at < s.size() && std::isdigit(static_cast<unsigned char>(s[at])); };
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) number.push_back(s[i++]);
  bool digits = false;
  while (digit(i)) {
    number.push_back(s[i++]);
    digits = true;
  }
  if (i < s.size() && s[i] == '.') {
    number.push_back(s[i++]);
    while (digit(i)) {
      number.push_back(s[i++]);
      digits = true;
    }
  }
  if (!digits) return 0.0;
  if (i < s.size() && (s[i] == 'E' || s[i] == 'e' || s[i] == 'D' || s[i] == 'd')) {
    std::string exponent = "e";
    size_t j = i + 1;
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exponent.push_back(s[j++]);
    const size_t first = j;
    while (digit(j)) exponent.push_back(s[j++]);
    if (j > first) number += exponent;
  }
  return std::strtod(number.c_str(), nullptr);
}

}  // namespace

int32_t HexVal(std::string_view text) { return RadixValue(WithoutBlanks(text), 16); }

double VbVal(std::string_view text) {
  const std::string s = WithoutBlanks(text);
  if (s.size() >= 2 && s[0] == '&') {
    const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(s[1])));
    if (kind == 'H') return RadixValue(std::string_view(s).substr(2), 16);
    if (kind == 'O') return RadixValue(std::string_view(s).substr(2), 8);
  }
  return DecimalValue(s);
}

std::string HexText(int32_t value) { return HexOfUnsigned(static_cast<uint32_t>(value)); }

std::string HexText16(int16_t value) { return HexOfUnsigned(static_cast<uint16_t>(value)); }

std::string PadLeft(std::string text, size_t width, char fill) {
  if (text.size() < width) text.insert(0, width - text.size(), fill);
  return text;
}

int32_t HalveHalfEven(int32_t value) { return static_cast<int32_t>(RoundHalfEven(value / 2.0)); }

double TruncateTowardZero(double value) { return std::trunc(value); }

std::optional<int32_t> ToInt32(double value) {
  if (!std::isfinite(value)) return std::nullopt;
  const double rounded = static_cast<double>(RoundHalfEven(std::clamp(value, -1e12, 1e12)));
  if (rounded < -2147483648.0 || rounded > 2147483647.0) return std::nullopt;
  return static_cast<int32_t>(rounded);
}

std::optional<int16_t> ToInt16(double value) {
  const auto wide = ToInt32(value);
  if (!wide || *wide < -32768 || *wide > 32767) return std::nullopt;
  return static_cast<int16_t>(*wide);
}

std::optional<uint8_t> ToByte(double value) {
  const auto wide = ToInt32(value);
  if (!wide || *wide < 0 || *wide > 255) return std::nullopt;
  return static_cast<uint8_t>(*wide);
}

std::optional<double> ParseNumber(std::string_view text) {
  const auto isBlank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace quorvi
