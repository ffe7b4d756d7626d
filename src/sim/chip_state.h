// SPDX-License-Identifier: GPL-3.0-or-later
// What a simulated chip holds, and the faults it was given; saved as JSON.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/chip_info.h"
#include "util/result.h"

namespace quorvi::sim {

enum class DataInFault { kNone, kStuckLow, kStuckHigh };

/// A cell that reads with `xorMask` flipped when Vdd is below `belowVolts`
/// or above `aboveVolts`: a marginally programmed cell for margin verify.
struct MarginCell {
  int address = 0;  // socket address: program, 2000h.. configuration, 2100h.. data
  std::optional<double> belowVolts;
  std::optional<double> aboveVolts;
  int xorMask = 1;
  bool operator==(const MarginCell&) const = default;
};

struct Faults {
  bool noChip = false;               // the socket is empty
  DataInFault dataIn = DataInFault::kNone;
  std::vector<int> neverProgram;     // socket addresses whose cells never change
  std::vector<MarginCell> marginCells;
  std::vector<int> nackBytes;        // serial EEPROM: data bytes for these addresses are not acknowledged
  bool endlessWrite = false;         // serial EEPROM: a write cycle that never ends
  bool nackAddress = false;          // serial EEPROM: the word address is not acknowledged
  bool operator==(const Faults&) const = default;
};

/// How many programming pulses an EPROM word needs: drawn per address from
/// a generator seeded with `seed`, between `minPulses` and `maxPulses`.
struct PulseModel {
  uint64_t seed = 1;
  int minPulses = 1;
  int maxPulses = 8;
  bool operator==(const PulseModel&) const = default;
};

struct ChipState {
  std::string chip;                  // name in the simulator's table
  std::vector<int> program;          // programWords words
  std::vector<int> data;             // dataBytes bytes
  std::array<int, 4> ids{};
  int config = 0;
  std::vector<int> configBytes;      // 18F: 300000h..30000Dh; empty for other parts
  PulseModel pulses;
  /// The share of each documented time the chip insists on: 1 holds the host
  /// to the documents; a smaller value is an injected tolerance (a chip
  /// faster than its data sheet promises), a larger one a slow chip.
  double timingMargin = 1.0;
  Faults faults;
  bool operator==(const ChipState&) const = default;
};

/// Every cell erased: no calibration, no band-gap bits.
ChipState BlankState(const ChipInfo& info);
/// As the factory ships it: calibration word or block and band-gap bits
/// programmed with values drawn from `seed`.
ChipState FactoryState(const ChipInfo& info, uint64_t seed);
/// Clears the part's code-protect bits in the configuration word (protected).
void SetCodeProtection(const ChipInfo& info, ChipState& state, bool program, bool data);

/// The blank value of a word of this chip (3FFFh or FFFh).
int BlankWord(const ChipInfo& info);

/// A 64-bit mix of a seed and a key; the pulse counts and factory values come from it.
uint64_t MixSeed(uint64_t seed, uint64_t key);

std::string ChipStateToJson(const ChipState& state);
/// Checks every field against the chip's table entry and names what is wrong.
Result<ChipState> ChipStateFromJson(const std::string& text);
Status SaveChipState(const ChipState& state, const std::string& path);
Result<ChipState> LoadChipState(const std::string& path);

}  // namespace quorvi::sim
