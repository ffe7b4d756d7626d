// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "util/result.h"

namespace quorvi {

/// The stretch of a run a trace keeps, on the trace's own clock.
struct TraceWindow {
  int64_t startNs = 0;
  int64_t endNs = std::numeric_limits<int64_t>::max();
};

/// "START:END" in milliseconds, either side may be left out ("250:", ":40.5").
Result<TraceWindow> ParseTraceWindow(std::string_view text);

}  // namespace quorvi
