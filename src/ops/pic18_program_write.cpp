// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/pic18_program_write.h"

#include <algorithm>
#include <array>

namespace quorvi {

namespace {

constexpr int kErasedWord = 0xFFFF;
constexpr uint32_t kWordsPerGroup = kPanelBufferBytes / 2;
// The write loop's block: the 64-byte row (512 of them on a 32 KB part).
constexpr uint32_t kBlockBytes = 64;
constexpr uint32_t kNoBlock = ~0U;

uint32_t ProgramBytes(std::span<const int> words) { return static_cast<uint32_t>(words.size()) * 2; }

// The group at `address`; words past the end read erased.
std::array<uint8_t, kPanelBufferBytes> GroupBytes(std::span<const int> words, uint32_t address) {
  std::array<uint8_t, kPanelBufferBytes> bytes{};
  for (uint32_t k = 0; k < kWordsPerGroup; ++k) {
    const size_t i = address / 2 + k;
    const int word = i < words.size() ? words[i] : kErasedWord;
    bytes[2 * k] = static_cast<uint8_t>(word & 0xFF);
    bytes[2 * k + 1] = static_cast<uint8_t>((word >> 8) & 0xFF);
  }
  return bytes;
}

bool HoldsData(std::span<const int> words, uint32_t address) {
  const auto bytes = GroupBytes(words, address);
  return std::any_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b != 0xFF; });
}

}  // namespace

std::vector<PanelCycle> PlanPanelCycles(std::span<const int> words) {
  const uint32_t bytes = ProgramBytes(words);
  std::vector<PanelCycle> multi;
  std::vector<PanelCycle> single;
  for (uint32_t offset = 0; offset < std::min(bytes, kPanelSpan); offset += kPanelBufferBytes) {
    PanelCycle cycle;
    for (uint32_t address = offset; address < bytes; address += kPanelSpan) {
      if (HoldsData(words, address)) cycle.groups.push_back(address);
    }
    if (cycle.groups.size() > 1) {
      cycle.multiPanel = true;
      multi.push_back(cycle);
    } else if (!cycle.groups.empty()) {
      single.push_back(cycle);
    }
  }
  std::sort(single.begin(), single.end(),
            [](const PanelCycle& a, const PanelCycle& b) { return a.groups[0] < b.groups[0]; });
  multi.insert(multi.end(), single.begin(), single.end());
  return multi;
}

void WritePanelCycles(Pic18Protocol& pic18, std::span<const int> words, const std::vector<PanelCycle>& cycles,
                      const std::function<void(size_t)>& done) {
  const uint32_t bytes = ProgramBytes(words);
  TablePointer pointer;
  bool multiPanel = false;
  uint32_t openBlock = kNoBlock;
  for (size_t i = 0; i < cycles.size(); ++i) {
    const PanelCycle& cycle = cycles[i];
    if (cycle.multiPanel != multiPanel) {
      multiPanel = cycle.multiPanel;
      pic18.SetPanelMode(multiPanel, pointer);
      openBlock = kNoBlock;  // the mode left configuration memory selected
    }
    // A multi-panel cycle starts in the first panel, at its offset.
    const uint32_t first = multiPanel ? cycle.groups[0] % kPanelSpan : cycle.groups[0];
    if (openBlock != first / kBlockBytes) {
      pic18.BeginBlock(first, pointer);
      openBlock = first / kBlockBytes;
    }
    if (multiPanel) {
      for (uint32_t address = first; address < bytes; address += kPanelSpan) {
        pic18.LoadPanelBuffer(address, GroupBytes(words, address), address + kPanelSpan >= bytes, pointer);
      }
    } else {
      pic18.LoadPanelBuffer(first, GroupBytes(words, first), true, pointer);
    }
    if (done) done(i);
  }
  if (multiPanel) pic18.SetPanelMode(false, pointer);
}

}  // namespace quorvi
