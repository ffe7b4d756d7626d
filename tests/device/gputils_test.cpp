// SPDX-License-Identifier: GPL-3.0-or-later
// The catalogue and the part table against an independent machine-readable
// source: gputils' own device data (gpasm -s -p PART) and its headers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "device/catalogue.h"
#include "device/config18.h"
#include "device/fuses.h"
#include "device/part_facts.h"
#include "support/devices.h"
#include "support/run_command.h"

namespace quorvi {
namespace {

const CatalogueText kCatalogue = ReadCatalogue(std::string(QUORVI_DATA_DIR) + "/device.ini").value();
const std::string kHeaders = "/usr/share/gputils/header/";

std::string Lower(std::string text) {
  for (char& ch : text) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  return text;
}

// What gputils knows of a part.
struct GputilsPart {
  bool known = false;  // it has a configuration database entry
  int programWords = 0;
  int eepromBytes = 0;
  std::map<int, int> configMasks;  // address -> implemented bits
  std::map<std::string, int> oscillators;  // FOSC / OSC option -> value
};

GputilsPart Describe(const std::string& name) {
  const std::string text = test::RunCommand("gpasm -s -p p" + Lower(name) + " 2>&1").out;
  GputilsPart part;
  part.known = text.find("Config Word") != std::string::npos;
  std::smatch m;
  if (std::regex_search(text, m, std::regex(R"(Program Size\s*: (\d+) (words|bytes))"))) {
    part.programWords = std::stoi(m[1]) / (m[2] == "bytes" ? 2 : 1);
  }
  if (std::regex_search(text, m, std::regex(R"(EEPROM Range\s*: 0x([0-9A-F]+) - 0x([0-9A-F]+))"))) {
    part.eepromBytes = std::stoi(m[2], nullptr, 16) - std::stoi(m[1], nullptr, 16) + 1;
  }
  const std::regex word(R"(address = 0x([0-9A-F]+), mask = 0x([0-9A-F]+))");
  for (auto it = std::sregex_iterator(text.begin(), text.end(), word); it != std::sregex_iterator(); ++it) {
    part.configMasks[std::stoi((*it)[1], nullptr, 16)] = std::stoi((*it)[2], nullptr, 16);
  }
  const size_t osc = std::min(text.find("Directive: FOSC"), text.find("Directive: OSC"));
  if (osc != std::string::npos) {
    const std::string block = text.substr(osc, text.find("Directive:", osc + 10) - osc);
    const std::regex option(R"(Option:\s+(\S+)\s+= 0x([0-9A-F]+))");
    for (auto it = std::sregex_iterator(block.begin(), block.end(), option); it != std::sregex_iterator(); ++it) {
      part.oscillators[(*it)[1]] = std::stoi((*it)[2], nullptr, 16);
    }
  }
  return part;
}

// The configuration bits the catalogue's fuse map names (the factory's
// band-gap bits are named but never the user's to set).
int NamedBits(const DeviceDescriptor& d) {
  int bits = 0;
  for (int bit = 0; bit < 14; ++bit) {
    const std::string& name = d.fuseNames[static_cast<size_t>(bit)];
    if (!name.empty() && name != "-" && name != "x" && !name.starts_with("BG")) bits |= 1 << bit;
  }
  return bits;
}

// The field value each usable entry of the device's oscillator list programs.
std::map<int, std::string> OscillatorValues(const DeviceDescriptor& d, int blank) {
  std::map<int, std::string> values;
  const Result<OptionList> list = FillOptionList(kCatalogue, std::to_string(d.oscList) + "OSC");
  if (!list) return values;
  const auto& entries = list.value().entries;
  const int field = ApplyOscillator(0, blank, d.oscList, static_cast<int>(entries.size()) - 1,
                                    static_cast<int>(entries.size()));
  for (size_t i = 0; i < entries.size(); ++i) {
    if (!OscillatorEntryUsable(entries[i])) continue;
    values[ApplyOscillator(0, blank, d.oscList, static_cast<int>(i), static_cast<int>(entries.size())) & field] =
        entries[i];
  }
  return values;
}

// A crystal option by its unambiguous name: the entry of that value must carry it.
std::optional<std::string> CrystalName(std::string option) {
  for (char& ch : option) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  for (const char* name : {"LP", "XT", "HS"}) {
    if (option.starts_with(name) || option.ends_with(std::string("_") + name)) return name;
  }
  return std::nullopt;
}

TEST(Gputils, SizesConfigurationMasksAndOscillatorsAgreeWithTheCatalogue) {
  ASSERT_TRUE(test::HaveProgram("gpasm")) << "gpasm is missing: run scripts/install-deps";
  int checked = 0;
  for (const DeviceDescriptor& d : test::ShippedCatalogue()) {
    if (d.family == Family::kFuture || d.family == Family::kSerialEeprom) continue;
    SCOPED_TRACE(d.name);
    const GputilsPart part = Describe(d.name);
    if (!part.known) continue;  // gputils has no configuration data for it (16C61, 16C84, 14000, ...)
    ++checked;
    const bool pic18 = d.family == Family::kPic18;
    const int blank = d.family == Family::kCore12 ? 0xFFF : 0x3FFF;
    EXPECT_EQ(d.programSize + 1, part.programWords);
    EXPECT_EQ(d.dataBytes, part.eepromBytes);
    if (pic18) {
      for (int offset = 0; offset < kConfig18Registers; ++offset) {
        const auto mask = part.configMasks.find(0x300000 + offset);
        EXPECT_EQ(Config18ImplementedBits(d, offset), mask == part.configMasks.end() ? 0 : mask->second)
            << "register " << offset;
      }
      continue;
    }
    ASSERT_EQ(part.configMasks.size(), 1U);
    const int mask = part.configMasks.begin()->second;
    EXPECT_EQ(FactsFor(d).configMask, mask);
    EXPECT_EQ(NamedBits(d), mask) << "the fuse map names bits the part does not have, or misses some";

    std::set<int> theirs;
    for (const auto& [option, value] : part.oscillators) theirs.insert(value);
    std::set<int> ours;
    const std::map<int, std::string> values = OscillatorValues(d, blank);
    for (const auto& [value, entry] : values) ours.insert(value);
    EXPECT_EQ(ours, theirs) << "an oscillator entry programs a value the part does not have, or one is missing";
    for (const auto& [option, value] : part.oscillators) {
      const auto name = CrystalName(option);
      if (name && values.contains(value)) {
        EXPECT_TRUE(values.at(value).starts_with(*name)) << option;
      }
    }
  }
  EXPECT_GE(checked, 30);
}

// A part gputils has no configuration data for still has a header: its
// crystal oscillator symbols must land on the entry of that name.
TEST(Gputils, HeadersPlaceTheCrystalEntriesWhereThereIsNoConfigurationData) {
  for (const char* name : {"14000"}) {
    SCOPED_TRACE(name);
    std::ifstream header(kHeaders + "p" + Lower(name) + ".inc");
    ASSERT_TRUE(header) << "gputils' headers are missing: run scripts/install-deps";
    DeviceDescriptor d;
    ASSERT_TRUE(LoadDeviceRecord(kCatalogue, name, d).ok());
    const std::map<int, std::string> values = OscillatorValues(d, 0x3FFF);
    const int field = values.rbegin()->first;
    const std::regex symbol(R"(^_(?:FOSC_|OSC_)?(LP|XT|HS)(?:_OSC)?\s+EQU\s+H'([0-9A-F]+)')");
    int found = 0;
    for (std::string line; std::getline(header, line);) {
      std::smatch m;
      if (!std::regex_search(line, m, symbol)) continue;
      const int value = std::stoi(m[2], nullptr, 16) & field;
      ASSERT_TRUE(values.contains(value)) << line;
      EXPECT_TRUE(values.at(value).starts_with(m[1].str())) << line << " lands on " << values.at(value);
      ++found;
    }
    EXPECT_GT(found, 0);
  }
}

}  // namespace
}  // namespace quorvi
