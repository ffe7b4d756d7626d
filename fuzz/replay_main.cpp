// SPDX-License-Identifier: GPL-3.0-or-later
// Without libFuzzer: runs a harness over every file of the folders or files
// it is given, so the saved corpus (and every crash once fixed) is replayed
// by the ordinary test run.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void Replay(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path given(argv[i]);
    if (std::filesystem::is_directory(given)) {
      for (const auto& entry : std::filesystem::directory_iterator(given)) {
        if (!entry.is_regular_file()) continue;
        Replay(entry.path());
        ++files;
      }
    } else {
      Replay(given);
      ++files;
    }
  }
  std::printf("replayed %d inputs\n", files);
  return files > 0 ? 0 : 1;
}
