// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/arith.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace quorvi {

int64_t RoundHalfEven(double value) {
  const double floor = std::floor(value);
  const double fraction = value - floor;
  auto whole = static_cast<int64_t>(floor);
  if (fraction > 0.5 || (fraction == 0.5 && (whole % 2) != 0)) ++whole;
  return whole;
}

namespace {

int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string HexOfUnsigned(uint32_t value) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  char text[8];
  size_t used = 0;
  do {
    text[used++] = kDigits[value & 0xFU];
    value >>= 4U;
  } while (value != 0);
  std::string result(used, '0');
  for (size_t i = 0; i < used; ++i) result[i] = text[used - 1 - i];
  return result;
}

}  // namespace

int32_t HexVal(std::string_view text) {
  uint32_t value = 0;
  for (const char c : text) {
    const int digit = HexDigitValue(c);
    if (digit < 0) break;
    value = (value << 4U) | static_cast<uint32_t>(digit);
  }
  if (value <= 0xFFFFU) return static_cast<int16_t>(static_cast<uint16_t>(value));
  return static_cast<int32_t>(value);
}

int32_t HexPairVal(std::string_view pair) {
  if (pair.size() != 2) return 0;
  const int high = HexDigitValue(pair[0]);
  const int low = HexDigitValue(pair[1]);
  return high < 0 || low < 0 ? 0 : high * 16 + low;
}

int32_t HexWordVal(std::string_view high, std::string_view low) {
  return static_cast<int16_t>(static_cast<uint16_t>(HexPairVal(high) * 256 + HexPairVal(low)));
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

double DecimalVal(std::string_view text) {
  size_t i = 0;
  const auto digitAt = [&](size_t at) { return at < text.size() && text[at] >= '0' && text[at] <= '9'; };
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  const size_t start = i;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t end = i;
  while (digitAt(end)) ++end;
  if (end < text.size() && text[end] == '.') {
    ++end;
    while (digitAt(end)) ++end;
  }
  if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
    size_t exponent = end + 1;
    if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
    if (digitAt(exponent)) {
      while (digitAt(exponent)) ++exponent;
      end = exponent;
    }
  }
  std::string number(text.substr(start, end - start));
  if (!number.empty() && number.front() == '+') number.erase(0, 1);
  double value = 0.0;
  const auto [stop, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  (void)stop;
  return error == std::errc() && std::isfinite(value) ? value : 0.0;
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
