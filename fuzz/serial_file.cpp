// SPDX-License-Identifier: GPL-3.0-or-later
// The serial-numbering companion file reader.
#include <cstdint>

#include "fuzz_input.h"
#include "image/serial_numbering.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = quorvi::fuzz::AsFile(data, size, "board.SQT");
  quorvi::SerialState state;
  (void)quorvi::ReadCompanionFile(path, state);
  return 0;
}
