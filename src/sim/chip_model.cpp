// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/chip_model.h"

#include "sim/eeprom24_chip.h"
#include "sim/eprom_chip.h"
#include "sim/pic18_chip.h"
#include "sim/flash14_chip.h"

namespace quorvi::sim {

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
