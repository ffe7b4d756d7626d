// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "util/result.h"

namespace quorvi {

/// Replaces the file at `path` with `content`: writes a temporary file in the
/// same folder, flushes it to the disk, then renames it over the old one, so
/// a crash leaves either the old file or the new one, never half of one. A
/// file the user cannot write is refused, not replaced; a new file gets the
/// usual permissions less the umask, a replaced one keeps its own.
Status WriteFileAtomically(const std::string& path, std::string_view content);

/// Removes the temporaries a killed write of `path` left beside it (those
/// older than a minute: a younger one may belong to a run still writing).
void RemoveStaleTemporaries(const std::string& path);

}  // namespace quorvi
