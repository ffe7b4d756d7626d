// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/vb_val.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <limits>

#include "util/arith.h"

namespace quorvi {

namespace {

std::string WithoutBlanks(std::string_view text) {
  std::string kept;
  kept.reserve(text.size());
  for (const char ch : text) {
    if (ch != ' ' && ch != '\t' && ch != '\n') kept.push_back(ch);
  }
  return kept;
}

double RadixValue(std::string_view digits, int radix) {
  uint64_t value = 0;
  for (const char ch : digits) {
    const int c = std::toupper(static_cast<unsigned char>(ch));
    int digit = -1;
    if (c >= '0' && c <= '9') digit = c - '0';
    if (radix == 16 && c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    if (digit < 0 || digit >= radix) break;
    value = value * static_cast<uint64_t>(radix) + static_cast<uint64_t>(digit);
    // Beyond 32 bits the old reader overflowed; keep the low 32 bits rather than fail.
    value &= 0xFFFFFFFFULL;
  }
  if (value <= 0xFFFF) return static_cast<double>(static_cast<int16_t>(static_cast<uint16_t>(value)));
  return static_cast<double>(static_cast<int32_t>(static_cast<uint32_t>(value)));
}

double DecimalValue(const std::string& s) {
  size_t i = 0;
  std::string number;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) number.push_back(s[i++]);
  bool digits = false;
  while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
    number.push_back(s[i++]);
    digits = true;
  }
  if (i < s.size() && s[i] == '.') {
    number.push_back(s[i++]);
    while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
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
    while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) exponent.push_back(s[j++]);
    if (j > first) number += exponent;
  }
  return std::strtod(number.c_str(), nullptr);
}

}  // namespace

double VbVal(std::string_view text) {
  const std::string s = WithoutBlanks(text);
  if (s.size() >= 2 && s[0] == '&') {
    const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(s[1])));
    if (kind == 'H') return RadixValue(std::string_view(s).substr(2), 16);
    if (kind == 'O') return RadixValue(std::string_view(s).substr(2), 8);
  }
  return DecimalValue(s);
}

double HexVal(std::string_view text) { return VbVal("&h" + std::string(text)); }

std::optional<int16_t> ToInt16(double value) {
  if (!std::isfinite(value) || std::fabs(value) > 1.0e6) return std::nullopt;
  const int64_t rounded = RoundHalfEven(value);
  if (rounded < std::numeric_limits<int16_t>::min() || rounded > std::numeric_limits<int16_t>::max()) {
    return std::nullopt;
  }
  return static_cast<int16_t>(rounded);
}

std::optional<int32_t> ToInt32(double value) {
  if (!std::isfinite(value) || std::fabs(value) > 4.0e9) return std::nullopt;
  const int64_t rounded = RoundHalfEven(value);
  if (rounded < std::numeric_limits<int32_t>::min() || rounded > std::numeric_limits<int32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<int32_t>(rounded);
}

std::optional<uint8_t> ToByte(double value) {
  const std::optional<int16_t> wide = ToInt16(value);
  if (!wide || *wide < 0 || *wide > 255) return std::nullopt;
  return static_cast<uint8_t>(*wide);
}

std::string VbHex(int32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "%X", static_cast<uint32_t>(value));
  return text;
}

}  // namespace quorvi
