// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/chip_state.h"

#include <nlohmann/json.hpp>

#include "sim/pic18_chip.h"
#include "util/atomic_file.h"
#include "util/file_check.h"

namespace quorvi::sim {

namespace {

using nlohmann::json;

constexpr std::string_view kFormat = "quorvi-chip-state";
constexpr int kVersion = 1;

const char* DataInName(DataInFault fault) {
  switch (fault) {
    case DataInFault::kStuckLow: return "stuck-low";
    case DataInFault::kStuckHigh: return "stuck-high";
    case DataInFault::kNone: break;
  }
  return "normal";
}

// Reads an integer field within [low, high]; `where` names it in the message.
Status ReadInt(const json& j, const std::string& where, int low, int high, int& out) {
  if (!j.is_number_integer()) return Status::Fail(where + " must be an integer");
  const auto value = j.get<int64_t>();
  if (value < low || value > high) {
    return Status::Fail(where + " = " + std::to_string(value) + " is outside " + std::to_string(low) + ".." +
                        std::to_string(high));
  }
  out = static_cast<int>(value);
  return Status::Ok();
}

Status ReadWords(const json& root, const char* key, size_t size, int maxValue, int blank, std::vector<int>& out) {
  out.assign(size, blank);
  if (!root.contains(key)) return Status::Ok();
  const json& array = root.at(key);
  if (!array.is_array()) return Status::Fail(std::string(key) + " must be an array");
  if (array.size() > size) {
    return Status::Fail(std::string(key) + " has " + std::to_string(array.size()) + " entries; the chip has " +
                        std::to_string(size));
  }
  for (size_t i = 0; i < array.size(); ++i) {
    if (Status s = ReadInt(array[i], std::string(key) + "[" + std::to_string(i) + "]", 0, maxValue, out[i]); !s) {
      return s;
    }
  }
  return Status::Ok();
}

std::optional<double> ReadVolts(const json& cell, const char* key, const std::string& where, Status& status) {
  if (!cell.contains(key) || cell.at(key).is_null()) return std::nullopt;
  if (!cell.at(key).is_number()) {
    status = Status::Fail(where + "." + key + " must be a number of volts");
    return std::nullopt;
  }
  return cell.at(key).get<double>();
}

Status ReadFaults(const json& root, ChipState& state) {
  if (!root.contains("faults")) return Status::Ok();
  const json& f = root.at("faults");
  if (!f.is_object()) return Status::Fail("faults must be an object");
  if (f.contains("noChip")) {
    if (!f.at("noChip").is_boolean()) return Status::Fail("faults.noChip must be true or false");
    state.faults.noChip = f.at("noChip").get<bool>();
  }
  if (f.contains("dataIn")) {
    const json& d = f.at("dataIn");
    const std::string text = d.is_string() ? d.get<std::string>() : "";
    if (text == "normal") {
      state.faults.dataIn = DataInFault::kNone;
    } else if (text == "stuck-low") {
      state.faults.dataIn = DataInFault::kStuckLow;
    } else if (text == "stuck-high") {
      state.faults.dataIn = DataInFault::kStuckHigh;
    } else {
      return Status::Fail("faults.dataIn must be \"normal\", \"stuck-low\" or \"stuck-high\"");
    }
  }
  if (f.contains("neverProgram")) {
    const json& list = f.at("neverProgram");
    if (!list.is_array()) return Status::Fail("faults.neverProgram must be an array of addresses");
    for (size_t i = 0; i < list.size(); ++i) {
      int address = 0;
      if (Status s = ReadInt(list[i], "faults.neverProgram[" + std::to_string(i) + "]", 0, 0x3FFFFF, address); !s) {
        return s;
      }
      state.faults.neverProgram.push_back(address);
    }
  }
  if (f.contains("nackBytes")) {
    const json& list = f.at("nackBytes");
    if (!list.is_array()) return Status::Fail("faults.nackBytes must be an array of addresses");
    for (size_t i = 0; i < list.size(); ++i) {
      int address = 0;
      if (Status s = ReadInt(list[i], "faults.nackBytes[" + std::to_string(i) + "]", 0, 0xFFFF, address); !s) {
        return s;
      }
      state.faults.nackBytes.push_back(address);
    }
  }
  for (const auto& [name, flag] : {std::pair{"endlessWrite", &state.faults.endlessWrite},
                                   std::pair{"nackAddress", &state.faults.nackAddress}}) {
    if (!f.contains(name)) continue;
    if (!f.at(name).is_boolean()) return Status::Fail(std::string("faults.") + name + " must be true or false");
    *flag = f.at(name).get<bool>();
  }
  if (f.contains("marginCells")) {
    const json& list = f.at("marginCells");
    if (!list.is_array()) return Status::Fail("faults.marginCells must be an array");
    for (size_t i = 0; i < list.size(); ++i) {
      const std::string where = "faults.marginCells[" + std::to_string(i) + "]";
      const json& c = list[i];
      if (!c.is_object() || !c.contains("address")) return Status::Fail(where + " needs an address");
      MarginCell cell;
      if (Status s = ReadInt(c.at("address"), where + ".address", 0, 0xFFFF, cell.address); !s) return s;
      Status volts = Status::Ok();
      cell.belowVolts = ReadVolts(c, "below", where, volts);
      cell.aboveVolts = ReadVolts(c, "above", where, volts);
      if (!volts) return volts;
      if (!cell.belowVolts && !cell.aboveVolts) return Status::Fail(where + " needs \"below\" or \"above\"");
      if (c.contains("xor")) {
        if (Status s = ReadInt(c.at("xor"), where + ".xor", 1, 0x3FFF, cell.xorMask); !s) return s;
      }
      state.faults.marginCells.push_back(cell);
    }
  }
  return Status::Ok();
}

}  // namespace

int BlankWord(const ChipInfo& info) {
  switch (info.kind) {
    case ChipClass::kOtp12: return 0xFFF;
    case ChipClass::kEeprom24: return 0xFF;
    case ChipClass::kPic18: return 0xFFFF;
    case ChipClass::kFlash14:
    case ChipClass::kOtp14: break;
  }
  return 0x3FFF;
}

uint64_t MixSeed(uint64_t seed, uint64_t key) {
  // splitmix64 over the pair: cheap, stable across platforms and runs.
  uint64_t z = seed + 0x9E3779B97F4A7C15ULL * (key + 1);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

ChipState BlankState(const ChipInfo& info) {
  ChipState state;
  state.chip = std::string(info.name);
  const int blank = BlankWord(info);
  state.program.assign(static_cast<size_t>(info.programWords), blank);
  state.data.assign(static_cast<size_t>(info.dataBytes), 0xFF);
  if (info.kind == ChipClass::kPic18) {
    for (int i = 0; i < kConfig18Bytes; ++i) state.configBytes.push_back(Config18Mask(info, i));
  }
  state.ids = {blank, blank, blank, blank};
  state.config = blank & info.configBits;
  return state;
}

ChipState FactoryState(const ChipInfo& info, uint64_t seed) {
  ChipState state = BlankState(info);
  state.pulses.seed = seed;
  const auto draw = [&](uint64_t key, uint64_t modulus) { return static_cast<int>(MixSeed(seed, key) % modulus); };
  const size_t last = static_cast<size_t>(info.programWords - 1);
  switch (info.calibration) {
    case Calibration::kRetlwLastWord: state.program[last] = 0x3400 | draw(1, 256); break;
    case Calibration::kMovlwLastWord: state.program[last] = 0x0C00 | draw(1, 256); break;
    case Calibration::kBlock:
      for (int a = info.calibrationFirst; a <= info.calibrationLast; ++a) {
        state.program[static_cast<size_t>(a)] = draw(static_cast<uint64_t>(a), 0x4000);
      }
      break;
    case Calibration::kNone: break;
  }
  if (info.bandgapMask != 0) {
    // Bits 13:12 hold one of four trim values; 11 is the most common.
    const int trim = draw(2, 4) << 12;
    state.config = (state.config & ~info.bandgapMask) | (trim & info.bandgapMask);
  }
  return state;
}

void SetCodeProtection(const ChipInfo& info, ChipState& state, bool program, bool data) {
  if (program) state.config &= ~info.cpMask;
  if (data) state.config &= ~info.cpdMask;
}

std::string ChipStateToJson(const ChipState& state) {
  json faults = {{"noChip", state.faults.noChip},
                 {"dataIn", DataInName(state.faults.dataIn)},
                 {"neverProgram", state.faults.neverProgram},
                 {"nackBytes", state.faults.nackBytes},
                 {"endlessWrite", state.faults.endlessWrite},
                 {"nackAddress", state.faults.nackAddress},
                 {"marginCells", json::array()}};
  for (const MarginCell& c : state.faults.marginCells) {
    json cell = {{"address", c.address}, {"xor", c.xorMask}};
    if (c.belowVolts) cell["below"] = *c.belowVolts;
    if (c.aboveVolts) cell["above"] = *c.aboveVolts;
    faults["marginCells"].push_back(cell);
  }
  const json root = {{"format", kFormat},
                     {"version", kVersion},
                     {"chip", state.chip},
                     {"program", state.program},
                     {"data", state.data},
                     {"ids", state.ids},
                     {"config", state.config},
                     {"configBytes", state.configBytes},
                     {"pulses",
                      {{"seed", state.pulses.seed}, {"min", state.pulses.minPulses}, {"max", state.pulses.maxPulses}}},
                     {"timingMargin", state.timingMargin},
                     {"faults", faults}};
  return root.dump(1) + "\n";
}

Result<ChipState> ChipStateFromJson(const std::string& text) {
  const json root = json::parse(text, nullptr, false);
  if (root.is_discarded() || !root.is_object()) return Status::Fail("not a JSON object");
  if (!root.contains("format") || root.at("format") != kFormat) {
    return Status::Fail("format must be \"" + std::string(kFormat) + "\"");
  }
  if (!root.contains("version") || root.at("version") != kVersion) return Status::Fail("unsupported version");
  if (!root.contains("chip") || !root.at("chip").is_string()) return Status::Fail("chip must name a chip");
  const Result<const ChipInfo*> found = FindChip(root.at("chip").get<std::string>());
  if (!found) return found.status();
  const ChipInfo& info = *found.value();

  ChipState state = BlankState(info);
  const int blank = BlankWord(info);
  if (Status s = ReadWords(root, "program", state.program.size(), blank, blank, state.program); !s) return s;
  if (Status s = ReadWords(root, "data", state.data.size(), 0xFF, 0xFF, state.data); !s) return s;
  std::vector<int> ids;
  if (Status s = ReadWords(root, "ids", 4, blank, blank, ids); !s) return s;
  std::copy(ids.begin(), ids.end(), state.ids.begin());
  if (Status s = ReadWords(root, "configBytes", state.configBytes.size(), 0xFF, 0xFF, state.configBytes); !s) {
    return s;
  }
  for (size_t i = 0; i < state.configBytes.size(); ++i) state.configBytes[i] &= Config18Mask(info, static_cast<int>(i));
  if (root.contains("config")) {
    if (Status s = ReadInt(root.at("config"), "config", 0, blank, state.config); !s) return s;
    state.config &= info.configBits;
  }
  if (root.contains("pulses")) {
    const json& p = root.at("pulses");
    if (!p.is_object()) return Status::Fail("pulses must be an object");
    if (p.contains("seed")) {
      if (!p.at("seed").is_number_unsigned()) return Status::Fail("pulses.seed must be a whole number");
      state.pulses.seed = p.at("seed").get<uint64_t>();
    }
    if (p.contains("min")) {
      if (Status s = ReadInt(p.at("min"), "pulses.min", 1, 100, state.pulses.minPulses); !s) return s;
    }
    if (p.contains("max")) {
      if (Status s = ReadInt(p.at("max"), "pulses.max", 1, 100, state.pulses.maxPulses); !s) return s;
    }
    if (state.pulses.maxPulses < state.pulses.minPulses) return Status::Fail("pulses.max is below pulses.min");
  }
  if (root.contains("timingMargin")) {
    const json& m = root.at("timingMargin");
    if (!m.is_number() || m.get<double>() <= 0.0 || m.get<double>() > 4.0) {
      return Status::Fail("timingMargin must be a number above 0 and at most 4");
    }
    state.timingMargin = m.get<double>();
  }
  if (Status s = ReadFaults(root, state); !s) return s;
  if (root.contains("codeProtect")) {
    if (!root.at("codeProtect").is_boolean()) return Status::Fail("codeProtect must be true or false");
    if (root.at("codeProtect").get<bool>()) SetCodeProtection(info, state, true, true);
  }
  return state;
}

Status SaveChipState(const ChipState& state, const std::string& path) {
  return WriteFileAtomically(path, ChipStateToJson(state));
}

Result<ChipState> LoadChipState(const std::string& path) {
  const FileContent file = ReadWholeFile(path);
  if (!file.bytes) return Status::Fail("Cannot read the chip-state file " + file.problem);
  Result<ChipState> state = ChipStateFromJson(*file.bytes);
  if (!state) return Status::Fail(path + ": " + state.message());
  return state;
}

}  // namespace quorvi::sim
