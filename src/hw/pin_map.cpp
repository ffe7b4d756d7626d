// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/pin_map.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

#include "util/file_check.h"

namespace quorvi {

namespace {

constexpr std::array<std::string_view, kBoardLines> kLineNames = {"DataOut", "Clock", "Vdd",     "Vpp1",
                                                                  "Vpp2",    "Vpp3",  "VddStep", "DataIn"};

// Synchronous bit-bang drives the eight data pins D0..D7 of the FT232R
// (DS FT232R, "Bit Bang Modes") and ADBUS0..7 of the FT232H / FT2232H.
constexpr std::array<std::string_view, 8> kFt232rPins = {"TXD", "RXD", "RTS", "CTS", "DTR", "DSR", "DCD", "RI"};
constexpr std::array<std::string_view, 8> kAdbusPins = {"ADBUS0", "ADBUS1", "ADBUS2", "ADBUS3",
                                                        "ADBUS4", "ADBUS5", "ADBUS6", "ADBUS7"};
// BCM numbers on the Raspberry Pi's 40-pin header; GPIO0/1 carry its HAT ID EEPROM.
constexpr std::array<std::string_view, 28> kRpiPins = {
    "",       "",       "GPIO2",  "GPIO3",  "GPIO4",  "GPIO5",  "GPIO6",  "GPIO7",  "GPIO8",  "GPIO9",
    "GPIO10", "GPIO11", "GPIO12", "GPIO13", "GPIO14", "GPIO15", "GPIO16", "GPIO17", "GPIO18", "GPIO19",
    "GPIO20", "GPIO21", "GPIO22", "GPIO23", "GPIO24", "GPIO25", "GPIO26", "GPIO27"};

constexpr std::array kAdapters = {
    Adapter{"ft232r", kFt232rPins},
    Adapter{"ft232h", kAdbusPins},
    Adapter{"ft2232h", kAdbusPins},
    Adapter{"rpi", kRpiPins},
};

// The presets keep the parallel port's order where the adapter allows it:
// outputs on pins 0..6, DataIn on pin 7.
struct Preset {
  std::string_view adapter;
  std::string_view text;
};
constexpr std::array kPresets = {
    Preset{"ft232r",
           "adapter ft232r\nDataOut TXD\nClock RXD\nVdd RTS\nVpp1 CTS\nVpp2 DTR\nVpp3 DSR\nVddStep DCD\nDataIn RI\n"},
    Preset{"ft232h",
           "adapter ft232h\nDataOut ADBUS0\nClock ADBUS1\nVdd ADBUS2\nVpp1 ADBUS3\nVpp2 ADBUS4\nVpp3 ADBUS5\n"
           "VddStep ADBUS6\nDataIn ADBUS7\n"},
    Preset{"ft2232h",
           "adapter ft2232h\nDataOut ADBUS0\nClock ADBUS1\nVdd ADBUS2\nVpp1 ADBUS3\nVpp2 ADBUS4\nVpp3 ADBUS5\n"
           "VddStep ADBUS6\nDataIn ADBUS7\n"},
    // Header pins 11, 13, 15, 16, 18, 22, 29 and 31: none has a second use
    // the kernel claims by default.
    Preset{"rpi",
           "adapter rpi\nDataOut GPIO17\nClock GPIO27\nVdd GPIO22\nVpp1 GPIO23\nVpp2 GPIO24\nVpp3 GPIO25\n"
           "VddStep GPIO5\nDataIn GPIO6\n"},
};

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

bool SameName(std::string_view a, std::string_view b) { return !a.empty() && Lower(a) == Lower(b); }

std::string PinList(const Adapter& adapter) {
  std::string list;
  for (const std::string_view pin : adapter.pins) {
    if (!pin.empty()) list += (list.empty() ? "" : ", ") + std::string(pin);
  }
  return list;
}

}  // namespace

std::string_view BoardLineName(BoardLine line) { return kLineNames[static_cast<size_t>(line)]; }

std::span<const Adapter> Adapters() { return kAdapters; }

uint64_t PinMap::PinLevels(uint8_t boardByte) const {
  uint64_t levels = 0;
  for (size_t i = 0; i < kBoardLines; ++i) {
    if (static_cast<BoardLine>(i) == BoardLine::kDataIn) continue;
    const bool high = ((static_cast<unsigned>(boardByte) >> i) & 1U) != 0;
    if (high != lines[i].inverted) levels |= uint64_t{1} << lines[i].pin;
  }
  return levels;
}

uint64_t PinMap::OutputPins() const {
  uint64_t pins = 0;
  for (size_t i = 0; i < kBoardLines; ++i) {
    if (static_cast<BoardLine>(i) != BoardLine::kDataIn) pins |= uint64_t{1} << lines[i].pin;
  }
  return pins;
}

bool PinMap::DataIn(uint64_t pinLevels) const {
  const PinAssignment& in = lines[static_cast<size_t>(BoardLine::kDataIn)];
  return (((pinLevels >> in.pin) & 1U) != 0) != in.inverted;
}

Result<PinMap> ParsePinMap(std::string_view text, std::string_view source) {
  PinMap map;
  std::array<int, kBoardLines> givenOn{};  // the map's line number of each board line, 0: not given
  std::istringstream lines{std::string(text)};
  std::string raw;
  int number = 0;
  const auto fail = [&](const std::string& why) {
    return Status::Fail(std::string(source) + " line " + std::to_string(number) + ": " + why);
  };
  while (std::getline(lines, raw)) {
    ++number;
    std::istringstream words(raw.substr(0, raw.find('#')));
    std::vector<std::string> w;
    for (std::string word; words >> word;) w.push_back(word);
    if (w.empty()) continue;
    if (SameName(w[0], "adapter")) {
      if (w.size() != 2) return fail("give the adapter as \"adapter NAME\"");
      if (map.adapter != nullptr) return fail("the adapter is named twice");
      const auto it = std::find_if(kAdapters.begin(), kAdapters.end(),
                                   [&](const Adapter& a) { return SameName(a.name, w[1]); });
      if (it == kAdapters.end()) return fail("no adapter is named \"" + w[1] + "\" (ft232r, ft232h, ft2232h, rpi)");
      map.adapter = &*it;
      continue;
    }
    const auto line = std::find_if(kLineNames.begin(), kLineNames.end(),
                                   [&](std::string_view name) { return SameName(name, w[0]); });
    if (line == kLineNames.end()) {
      return fail("\"" + w[0] + "\" is not a board line (DataOut, Clock, Vdd, Vpp1, Vpp2, Vpp3, VddStep, DataIn)");
    }
    if (map.adapter == nullptr) return fail("name the adapter first (\"adapter NAME\")");
    if (w.size() < 2 || w.size() > 3 || (w.size() == 3 && !SameName(w[2], "inverted"))) {
      return fail("give \"" + std::string(*line) + " PIN\" or \"" + std::string(*line) + " PIN inverted\"");
    }
    const auto index = static_cast<size_t>(line - kLineNames.begin());
    if (givenOn[index] != 0) {
      return fail(std::string(*line) + " is given twice (first on line " + std::to_string(givenOn[index]) + ")");
    }
    const auto pin = std::find_if(map.adapter->pins.begin(), map.adapter->pins.end(),
                                  [&](std::string_view name) { return SameName(name, w[1]); });
    if (pin == map.adapter->pins.end()) {
      return fail("the " + std::string(map.adapter->name) + " has no pin " + w[1] + " (" + PinList(*map.adapter) +
                  ")");
    }
    const int pinNumber = static_cast<int>(pin - map.adapter->pins.begin());
    for (size_t other = 0; other < kBoardLines; ++other) {
      if (givenOn[other] != 0 && map.lines[other].pin == pinNumber) {
        return fail("pin " + std::string(*pin) + " already drives " + std::string(kLineNames[other]));
      }
    }
    map.lines[index] = {.pin = pinNumber, .inverted = w.size() == 3};
    givenOn[index] = number;
  }
  if (map.adapter == nullptr) return Status::Fail(std::string(source) + ": no adapter is named");
  for (size_t i = 0; i < kBoardLines; ++i) {
    if (givenOn[i] == 0) return Status::Fail(std::string(source) + ": no pin for " + std::string(kLineNames[i]));
  }
  return map;
}

Result<PinMap> PresetPinMap(std::string_view adapter) {
  for (const Preset& preset : kPresets) {
    if (SameName(preset.adapter, adapter)) return ParsePinMap(preset.text, preset.adapter);
  }
  return Status::Fail("no pin map is shipped for \"" + std::string(adapter) + "\" (ft232r, ft232h, ft2232h, rpi)");
}

Result<PinMap> LoadPinMap(const std::string& nameOrPath) {
  if (Result<PinMap> preset = PresetPinMap(nameOrPath)) return preset;
  const FileContent file = ReadWholeFile(nameOrPath);
  if (!file.bytes) return Status::Fail("pin map " + file.problem);
  return ParsePinMap(*file.bytes, nameOrPath);
}

}  // namespace quorvi
