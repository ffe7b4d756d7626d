// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "util/result.h"

namespace quorvi {

/// Where a trace's text goes.
class TraceSink {
 public:
  virtual ~TraceSink() = default;
  /// A failure is kept for Close to report.
  virtual void Write(std::string_view text) = 0;
  /// Ends the file; false when anything could not be written.
  virtual bool Close() = 0;
};

/// A new file at `path`, replacing any there; compressed when the name ends in ".zst"
/// (zstd) or ".gz" (gzip).
Result<std::unique_ptr<TraceSink>> OpenTraceSink(const std::string& path);

}  // namespace quorvi
