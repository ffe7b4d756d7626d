// SPDX-License-Identifier: GPL-3.0-or-later
// Loading and saving a 64K-word (128 KiB) INHX32 file, standard and legacy
// meaning (argument 0 and 1). Goal: each under 10 ms. The whole program
// against srec_cat: bench/convert_vs_srec_cat.sh.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "image/image_reader.h"
#include "image/image_writer.h"
#include "util/atomic_file.h"

namespace quorvi {
namespace {

DeviceDescriptor BigDevice() {
  DeviceDescriptor device;
  device.name = "18F6720";
  device.programSize = 0xFFFF;
  device.family = Family::kPic18;
  return device;
}

/// An INHX32 file of 65,536 words in 16-byte records, in two 64 KB segments.
std::string BigHexText() {
  std::string text;
  char record[64];
  for (unsigned segment = 0; segment < 2; ++segment) {
    std::snprintf(record, sizeof record, ":02000004%04X%02X\r\n", segment, (0x100 - 6 - segment) & 0xFF);
    text += record;
    for (unsigned address = 0; address < 0x10000; address += 16) {
      unsigned sum = 16 + (address >> 8) + (address & 0xFF);
      std::snprintf(record, sizeof record, ":10%04X00", address);
      text += record;
      for (unsigned i = 0; i < 16; ++i) {
        const unsigned byte = (address + i + segment) & 0xFF;
        std::snprintf(record, sizeof record, "%02X", byte);
        text += record;
        sum += byte;
      }
      std::snprintf(record, sizeof record, "%02X\r\n", (0x100 - (sum & 0xFF)) & 0xFF);
      text += record;
    }
  }
  return text + ":00000001FF\r\n";
}

FileFormat FormatOf(const benchmark::State& state) {
  return state.range(0) == 0 ? FileFormat::kStandard : FileFormat::kLegacy;
}

/// Every word different, as a load in that format leaves them: the old
/// reader makes words from 8000h on negative.
MemoryImage BigImage(FileFormat format) {
  MemoryImage image;
  for (size_t a = 0; a < image.programBuffer.size(); ++a) {
    const auto word = static_cast<uint16_t>(a);
    image.programBuffer[a] = format == FileFormat::kLegacy ? static_cast<int16_t>(word) : word;
  }
  return image;
}

std::filesystem::path BenchFolder() {
  auto folder = std::filesystem::temp_directory_path() / "quorvi-bench-image";
  std::filesystem::create_directories(folder);
  return folder;
}

void BM_LoadHex64KWords(benchmark::State& state) {
  const std::string path = (BenchFolder() / "load.hex").string();
  if (!WriteFileAtomically(path, BigHexText())) {
    state.SkipWithError("cannot write the input file");
    return;
  }
  const DeviceDescriptor device = BigDevice();
  MemoryImage image;
  LoadOptions options;
  options.format = FormatOf(state);
  for (auto _ : state) {
    const LoadReport report = LoadImageFile(path, false, device, image, options);
    if (!report.loaded) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(image.programBuffer.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(std::filesystem::file_size(path)));
}
BENCHMARK(BM_LoadHex64KWords)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_SaveHex64KWords(benchmark::State& state) {
  const std::string path = (BenchFolder() / "save.hex").string();
  const DeviceDescriptor device = BigDevice();
  const MemoryImage image = BigImage(FormatOf(state));
  for (auto _ : state) {
    int32_t end = device.programSize + 1;
    if (!SaveImageFile(path, 0, end, device, image, SaveIdAnswer::kYes, FormatOf(state))) {
      state.SkipWithError("save failed");
    }
  }
}
BENCHMARK(BM_SaveHex64KWords)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_FormatHex64KWords(benchmark::State& state) {
  const DeviceDescriptor device = BigDevice();
  const MemoryImage image = BigImage(FormatOf(state));
  for (auto _ : state) {
    int32_t end = device.programSize + 1;
    auto text = FormatHexImage(0, end, device, image, SaveIdAnswer::kYes, FormatOf(state));
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_FormatHex64KWords)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvi
