// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/chip_model.h"

#include <cstdio>

#include "sim/eeprom24_chip.h"
#include "sim/eprom_chip.h"
#include "sim/pic18_chip.h"
#include "sim/flash14_chip.h"

namespace quorvi::sim {

void ChipModel::Violate(int64_t nowNs, const std::string& rule) {
  // A stuck host would break the same rule millions of times; the first ones tell the story.
  constexpr size_t kKept = 20;
  if (violations_.size() >= kKept) return;
  char at[32];
  std::snprintf(at, sizeof at, "%.3f ms: ", static_cast<double>(nowNs) / 1e6);
  violations_.push_back(at + rule);
}

Result<std::unique_ptr<ChipModel>> MakeChip(ChipState state) {
  const Result<const ChipInfo*> found = FindChip(state.chip);
  if (!found) return found.status();
  const ChipInfo& info = *found.value();
  if (state.program.size() != static_cast<size_t>(info.programWords) ||
      state.data.size() != static_cast<size_t>(info.dataBytes)) {
    return Status::Fail("chip state for " + state.chip + " has the wrong memory sizes");
  }
  std::unique_ptr<ChipModel> chip;
  switch (info.kind) {
    case ChipClass::kFlash14: chip = std::make_unique<Flash14Chip>(info, std::move(state)); break;
    case ChipClass::kOtp14: chip = std::make_unique<Otp14Chip>(info, std::move(state)); break;
    case ChipClass::kOtp12: chip = std::make_unique<Otp12Chip>(info, std::move(state)); break;
    case ChipClass::kEeprom24: chip = std::make_unique<Eeprom24Chip>(info, std::move(state)); break;
    case ChipClass::kPic18: chip = std::make_unique<Pic18Chip>(info, std::move(state)); break;
  }
  return chip;
}

}  // namespace quorvi::sim
