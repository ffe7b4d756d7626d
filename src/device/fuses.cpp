// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/fuses.h"

#include <cstdlib>

#include "device/catalogue.h"
#include "util/arith.h"

namespace quorvi {

namespace {

// Each two-button fuse: the button that puts the positive-mask bits to 1,
// and the one that puts them to 0. Protection fuses are "on" at 0.
struct FusePair {
  const char* fuse;
  const char* onesButton;
  const char* zerosButton;
  bool onesMeansOn;  // the feature the name stands for is on at the ones side
};

// In the order a shown word sets them (brown-out comes between BODEN and MPEEN).
constexpr FusePair kFusePairs[] = {
    {"WDTE", "WDT_ON", "WDT_OFF", true},          {"PWRTE", "PWRTE_ON", "PWRTE_OFF", true},
    {"CP0", "CP0_OFF", "CP0_ON", false},          {"CP1", "CP1_OFF", "CP1_ON", false},
    {"BODEN", "BODEN_ON", "BODEN_OFF", true},     {"MPEEN", "MPEEN_ON", "MPEEN_OFF", true},
    {"MCLRE", "MCLRE_EXT", "MCLRE_INT", true},    {"BKB", "DEBUG_OFF", "DEBUG_ON", false},
    {"WRT", "cmbWRT:OFF", "cmbWRT:ON", false},    {"CPD", "CPD_OFF", "CPD_ON", false},
    {"LVP", "LVP_ON", "LVP_OFF", true},
};

struct BrownOut {
  const char* button;
  bool borv1;
  bool borv0;
};

constexpr BrownOut kBrownOut[] = {{"op25", true, true}, {"op27", true, false}, {"op42", false, true},
                                  {"op45", false, false}};

// True when every bit of |mask| is 1 in the word, reversed for a negative mask.
bool ShowsOnesSide(int32_t word, int16_t mask) {
  const int32_t bits = std::abs(int32_t{mask});
  const bool allOnes = (word & bits) == bits;
  return mask > 0 ? allOnes : !allOnes;
}

}  // namespace


int32_t SetFuseBits(int32_t word, int16_t mask, int32_t blankWord, bool toOnes) {
  const int32_t m = mask;
  if (m == 0) return word;
  const bool orBits = (m > 0) == toOnes;
  const int32_t bits = std::abs(m);
  return orBits ? (word | bits) : (word & (blankWord - bits));
}

std::optional<int32_t> ApplyFuseButton(const DeviceDescriptor& device, int32_t word, int32_t blankWord,
                                       std::string_view button) {
  for (const FusePair& pair : kFusePairs) {
    if (button == pair.onesButton) return SetFuseBits(word, FuseMask(device, pair.fuse), blankWord, true);
    if (button == pair.zerosButton) return SetFuseBits(word, FuseMask(device, pair.fuse), blankWord, false);
  }
  for (const BrownOut& choice : kBrownOut) {
    if (button != choice.button) continue;
    word = SetFuseBits(word, FuseMask(device, "BORV1"), blankWord, choice.borv1);
    return SetFuseBits(word, FuseMask(device, "BORV0"), blankWord, choice.borv0);
  }
  return std::nullopt;
}

int32_t ApplyOscillator(int32_t word, int32_t blankWord, int oscList, int index, int entries) {
  if (oscList == 5 || oscList == 10) {
    // Index bit 2 lands on word bit 4.
    return (word & (blankWord - 0x13)) | ((index & 3) + (index & 4) * 4);
  }
  const int32_t field = entries - 1;
  return (word & (blankWord - field)) | index;
}

bool OscillatorEntryUsable(std::string_view entry) { return !entry.starts_with('-'); }

int OscillatorIndex(int oscList, int32_t word) {
  switch (oscList) {
    case 1:
    case 2:
      return word & 3;
    case 3:
    case 7:
      return word & 7;
    case 4:
      return word & 1;
    case 5:
    case 10:
      return (word & 3) + ((word & 0x10) != 0 ? 4 : 0);
    default:
      return 0;
  }
}

std::optional<std::string_view> FuseButtonFor(std::string_view fuse, bool on) {
  for (const FusePair& pair : kFusePairs) {
    if (fuse == pair.fuse) return on == pair.onesMeansOn ? pair.onesButton : pair.zerosButton;
  }
  return std::nullopt;
}

std::string FuseText(int32_t word) { return " Fuse=" + HexText(word); }

ConfigDisplay ShowConfigWord(const DeviceDescriptor& device, int32_t word, const std::array<int32_t, 5>& idWords,
                             int oscEntries) {
  ConfigDisplay display;
  display.txtFuses = FuseText(word);
  const int index = OscillatorIndex(device.oscList, word);
  if (index >= 0 && index < oscEntries) display.oscIndex = index;

  for (const FusePair& pair : kFusePairs) {
    const int16_t mask = FuseMask(device, pair.fuse);
    if (mask == 0) continue;
    const bool ones = ShowsOnesSide(word, mask);
    if (std::string_view(pair.fuse) == "WRT") {
      display.wrtText = ones ? "OFF" : "ON";
    } else {
      display.choices.push_back({pair.fuse, ones ? pair.onesButton : pair.zerosButton});
    }
  }

  const int16_t borv1 = FuseMask(device, "BORV1");
  const int16_t borv0 = FuseMask(device, "BORV0");
  if (borv1 != 0 && borv0 != 0) {
    auto allOnes = [&](int16_t mask) {
      const int32_t bits = std::abs(int32_t{mask});
      return (word & bits) == bits;
    };
    for (const BrownOut& choice : kBrownOut) {
      if (choice.borv1 == allOnes(borv1) && choice.borv0 == allOnes(borv0)) display.borvButton = choice.button;
    }
  }

  for (size_t i = 0; i < display.idTexts.size(); ++i) display.idTexts[i] = HexText(idWords[i]);
  return display;
}

IdEntry ParseIdEntry(std::string_view text) {
  const double value = HexVal(text);
  if (value > 0x3FFF) return {0x3FFF, "3FFF"};
  return {static_cast<int32_t>(value), std::string(text)};
}

}  // namespace quorvi
