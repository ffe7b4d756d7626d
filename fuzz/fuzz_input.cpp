// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz_input.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace quorvi::fuzz {

namespace {

// The process's own folder for the inputs, gone when the process ends.
class Scratch {
 public:
  Scratch() : path_(std::filesystem::temp_directory_path() / ("quorvi-fuzz-" + std::to_string(getpid()))) {
    std::filesystem::create_directories(path_);
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

const std::filesystem::path& Folder() {
  static const Scratch scratch;
  return scratch.path();
}

struct Kind {
  const char* name;
  int32_t programSize;
  int16_t family;
  int16_t dataBytes;
  int16_t fuseMap;
};

constexpr std::array<Kind, 7> kKinds{{
    {"16F84A", 0x3FF, 1, 64, 1},
    {"16F877A", 0x1FFF, 8, 256, 9},
    {"12C508A", 0x1FF, 4, 0, 11},
    {"12F675", 0x3FF, 1, 128, 21},
    {"14000", 0xFFF, 3, 0, 14},
    {"18F452", 0x3FFF, 7, 256, 0},
    {"24LC515", 0xFFFF, 5, 0, 0},
}};

}  // namespace

std::string AsFile(const uint8_t* data, size_t size, std::string_view name) {
  const std::filesystem::path path = Folder() / std::string(name);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  return path.string();
}

DeviceDescriptor DeviceFor(uint8_t selector) {
  const Kind& kind = kKinds[selector % kKinds.size()];
  DeviceDescriptor device;
  device.name = kind.name;
  device.programSize = kind.programSize;
  device.family = static_cast<Family>(kind.family);
  device.dataBytes = kind.dataBytes;
  device.fuseMap = kind.fuseMap;
  ApplyPartRules(device);
  device.oscList = 1;
  return device;
}

}  // namespace quorvi::fuzz
