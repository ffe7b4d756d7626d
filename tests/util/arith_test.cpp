// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/arith.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <map>

#include "support/golden.h"

namespace quorvi {
namespace {

using Args = std::vector<std::string>;

std::string Hex(int32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "%s0x%llX", value < 0 ? "-" : "", std::llabs(static_cast<long long>(value)));
  return text;
}

template <typename T>
std::string Narrowed(const std::optional<T>& value) {
  return value ? std::to_string(*value) : "none";
}

TEST(Arith, EachCallGivesWhatItsRowSays) {
  const auto d = [](const Args& a, size_t i) { return std::stod(a.at(i)); };
  const std::map<std::string, test::Call> calls = {
      {"RoundHalfEven", [&](const Args& a) { return std::to_string(RoundHalfEven(d(a, 0))); }},
      {"HalveHalfEven", [](const Args& a) { return std::to_string(HalveHalfEven(std::stoi(a.at(0)))); }},
      {"HexVal", [](const Args& a) { return Hex(HexVal(a.at(0))); }},
      {"HexPairVal", [](const Args& a) { return Hex(HexPairVal(a.at(0))); }},
      {"HexWordVal", [](const Args& a) { return Hex(HexWordVal(a.at(0), a.at(1))); }},
      {"HexText", [](const Args& a) { return HexText(std::stoi(a.at(0), nullptr, 0)); }},
      {"HexText16", [](const Args& a) { return HexText16(static_cast<int16_t>(std::stoi(a.at(0), nullptr, 0))); }},
      {"PadLeft", [](const Args& a) {
         return "\"" + PadLeft(a.at(0), std::stoul(a.at(1)), a.size() > 2 ? a[2].at(0) : '0') + "\"";
       }},
      {"ToInt32", [&](const Args& a) { return Narrowed(ToInt32(d(a, 0))); }},
      {"ToInt16", [&](const Args& a) { return Narrowed(ToInt16(d(a, 0))); }},
      {"ToByte", [&](const Args& a) { return Narrowed(ToByte(d(a, 0))); }},
      {"VbVal", [](const Args& a) { return test::Number(VbVal(a.at(0))); }},
      {"ParseNumber",
       [](const Args& a) {
         const auto number = ParseNumber(a.at(0));
         return number ? test::Number(*number) : "none";
       }},
  };
  EXPECT_EQ(test::TableMismatches("arith.txt", calls), "");
}

}  // namespace
}  // namespace quorvi
