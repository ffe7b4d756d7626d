// SPDX-License-Identifier: GPL-3.0-or-later
// What every harness shares: the fuzzer's bytes as a file the readers open,
// and the devices they read for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "device/device_descriptor.h"

namespace quorvi::fuzz {

/// Writes `data` to a file named `name` in a folder of this process's own
/// and returns its path; the next call replaces it.
std::string AsFile(const uint8_t* data, size_t size, std::string_view name);

/// One device of each kind the readers tell apart, picked by `selector`.
DeviceDescriptor DeviceFor(uint8_t selector);

}  // namespace quorvi::fuzz
