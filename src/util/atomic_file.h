// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "util/result.h"

namespace quorvi {

/// Writes `content` to a temporary file beside `path` and renames it into
/// place, so a crash leaves the old file or the new one, never half of one.
Status WriteFileAtomically(const std::string& path, const std::string& content);

}  // namespace quorvi
