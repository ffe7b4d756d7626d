// SPDX-License-Identifier: GPL-3.0-or-later
// Names typed on a command line: a production script must get the part it
// names or a refusal, never a neighbour that happens to share a prefix.
#pragma once

#include <string>
#include <vector>

#include "util/result.h"

namespace quorvi {

/// The catalogue's spelling of `typed`, equal to it but for case and
/// trailing blanks. Fails, listing the nearest names, when there is none.
Result<std::string> ExactDeviceName(const std::vector<std::string>& names, const std::string& typed);

/// Up to `count` names closest to `typed` by edit distance, ignoring case;
/// nothing when none is close enough to be a likely typing slip.
std::vector<std::string> NearestDeviceNames(const std::vector<std::string>& names, const std::string& typed,
                                            size_t count = 5);

}  // namespace quorvi
