// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "util/result.h"

namespace quorvi {

/// Replaces the file at `path` with `content`: writes a temporary file in the
/// same folder, then renames it over the old one, so a crash leaves either
/// the old file or the new one, never half of one.
Status WriteFileAtomically(const std::string& path, std::string_view content);

}  // namespace quorvi
