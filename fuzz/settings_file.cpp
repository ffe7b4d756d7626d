// SPDX-License-Identifier: GPL-3.0-or-later
// The settings file reader.
#include <cstdint>

#include "app/settings.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = quorvi::fuzz::AsFile(data, size, "quorvi2.ini");
  (void)quorvi::LoadSettings(path, "/home/somebody");
  return 0;
}
