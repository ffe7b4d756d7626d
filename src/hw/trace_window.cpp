// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/trace_window.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string>

namespace quorvi {

namespace {

// Milliseconds (a decimal fraction allowed) in nanoseconds; none when not a time.
std::optional<int64_t> Nanoseconds(std::string_view ms) {
  double value = 0;
  const auto [end, error] = std::from_chars(ms.data(), ms.data() + ms.size(), value, std::chars_format::fixed);
  // A day is far longer than any operation; the bound keeps the product an integer.
  if (error != std::errc() || end != ms.data() + ms.size() || !(value >= 0 && value <= 86'400'000.0)) {
    return std::nullopt;
  }
  return std::llround(value * 1e6);
}

}  // namespace

Result<TraceWindow> ParseTraceWindow(std::string_view text) {
  const size_t colon = text.find(':');
  std::optional<int64_t> start = TraceWindow{}.startNs;
  std::optional<int64_t> end = TraceWindow{}.endNs;
  if (colon != std::string_view::npos) {
    if (colon > 0) start = Nanoseconds(text.substr(0, colon));
    if (colon + 1 < text.size()) end = Nanoseconds(text.substr(colon + 1));
  }
  if (colon == std::string_view::npos || !start || !end || *end < *start) {
    return Status::Fail("not a trace window: " + std::string(text) +
                        " (START:END in milliseconds, such as 120:135.5, 250: or :40)");
  }
  return TraceWindow{*start, *end};
}

}  // namespace quorvi
