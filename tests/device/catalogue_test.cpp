// SPDX-License-Identifier: GPL-3.0-or-later
// Each read of the catalogue against small catalogues whose every line shows
// one rule; catalogue_reads.txt holds them and what each read gives.
#include "device/catalogue.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/golden.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

std::string Describe(const DeviceDescriptor& d) {
  std::ostringstream out;
  out << d.name << " size=" << d.programSize << " data=" << d.dataBytes << " family=" << FamilyCode(d.family)
      << " map=" << d.fuseMap << " mode=" << d.writeMode << " pins=" << d.pinCount << " osc=" << d.oscList
      << " wrt=" << int{d.wrtList} << " page=" << d.pageSize << " vdd=" << d.vddMin << "-" << d.vddMax;
  return out.str();
}

DeviceDescriptor Before() {
  DeviceDescriptor d;
  d.name = "before";
  d.pinCount = 40;
  d.vddMin = 1.5F;
  d.vddMax = 6.5F;
  d.fuseNames.fill("stale");
  d.pairFlag = true;
  return d;
}

// What `read` gives on the catalogue of `lines` at `path`, a line each.
std::string Read(const std::string& read, const std::vector<std::string>& lines, const std::string& path) {
  std::istringstream words(read);
  std::string verb, argument;
  words >> verb >> argument;
  DeviceDescriptor d = Before();
  const CatalogueText catalogue = ReadCatalogue(path).value();
  std::string out;
  const auto error = [&out, &path](const std::string& message) {
    std::string text = message;
    for (size_t at; (at = text.find(path)) != std::string::npos;) text.replace(at, path.size(), "device.ini");
    out += "error " + text + "\n";
  };
  if (verb == "parse") {
    for (const std::string& line : lines) {
      d = Before();
      auto captions = ParseDeviceLine(line, d);
      if (!captions) {
        error(captions.message());
        continue;
      }
      out += Describe(d);
      if (captions.value()) out += " captions=" + captions.value()->min + "/" + captions.value()->max;
      out += "\n";
    }
  } else if (verb == "record") {
    if (auto captions = LoadDeviceRecord(catalogue, argument, d); !captions) error(captions.message());
    out += Describe(d) + "\n";
  } else if (verb == "map") {
    if (Status status = LoadFuseMap(catalogue, std::stoi(argument), d); !status) error(status.message());
    for (int slot = kFuseNameSlots - 1; slot >= 0; --slot) {
      out += (d.fuseNames[static_cast<size_t>(slot)].empty() ? "_" : d.fuseNames[static_cast<size_t>(slot)]) +
             (slot == 16 ? " | " : slot > 0 ? " " : "");
    }
    out += d.pairFlag ? " pair\n" : "\n";
  } else if (verb == "options") {
    if (auto list = FillOptionList(catalogue, argument); !list) {
      error(list.message());
    } else {
      for (const std::string& entry : list.value().entries) out += "\"" + entry + "\" ";
      out += "selected " + std::to_string(list.value().selectedIndex) + "\n";
    }
  } else if (verb == "list") {
    std::vector<std::string> problems;
    if (auto list = FillDeviceList(catalogue, d, &problems); !list) {
      error(list.message());
    } else {
      for (const std::string& entry : list.value()) out += "\"" + entry + "\" ";
      out += "pins " + std::to_string(d.pinCount) + "\n";
    }
    for (const std::string& problem : problems) error(problem);
  }
  return out;
}

// A section: its catalogue (lines ending in '$' keep their blanks up to it),
// then after each "-- read" line what the read gives.
void CheckSection(const std::string& key, const std::string& section) {
  SCOPED_TRACE(key);
  std::istringstream in(section);
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line) && !line.starts_with("-- ")) {
    lines.push_back(line.ends_with('$') ? line.substr(0, line.size() - 1) : line);
  }
  std::string text;
  for (const std::string& l : lines) text += l + "\r\n";
  test::TempDir dir;
  const std::string path = dir.Write("device.ini", text);
  while (line.starts_with("-- ")) {
    const std::string read = line.substr(3);
    std::string expected;
    while (std::getline(in, line) && !line.starts_with("-- ")) expected += line + "\n";
    EXPECT_EQ(Read(read, lines, path), expected) << read;
    if (in.eof()) break;
  }
}

TEST(CatalogueReads, EachReadGivesWhatTheCatalogueSays) {
  for (const auto& [key, section] : test::DataSections("catalogue_reads.txt")) CheckSection(key, section);
}

TEST(FillDeviceList, BadLinesAreNamedAndLeftOutWhileTheOthersLoad) {
  const auto sections = test::DataSections("catalogue_reads.txt");
  const std::string key = "bad lines are named and left out while the others load";
  ASSERT_TRUE(sections.contains(key));
  CheckSection(key, sections.at(key));
}

TEST(CatalogueReads, AMissingOrEmptyFileIsAMessage) {
  test::TempDir dir;
  const std::string path = dir.Write("device.ini", "");
  DeviceDescriptor d;
  const std::string folder = dir.path().string();
  for (const auto& [name, reason] : {std::pair{path + ".missing", "not found"}, {folder, "is a directory"}}) {
    EXPECT_EQ(ReadCatalogue(name).message(), "Cannot open the device catalogue " + name + ": " + reason);
  }
  EXPECT_FALSE(FillDeviceList(ReadCatalogue(path).value(), d).ok());
}

TEST(FuseMask, AddsNamedBitsAndSubtractsSlashedOnes) {
  DeviceDescriptor d;
  d.fuseNames[13] = "CP1";
  d.fuseNames[12] = "CP1";
  d.fuseNames[5] = "CP1/";
  d.fuseNames[3] = "PWRTE/";
  d.fuseNames[2] = "WDTE";
  EXPECT_EQ(FuseMask(d, "CP1"), 0x3000 - 0x20);
  EXPECT_EQ(FuseMask(d, "PWRTE"), -8);
  EXPECT_EQ(FuseMask(d, "WDTE"), 4);
  EXPECT_EQ(FuseMask(d, "BODEN"), 0);
  d.fuseNames[20] = "WDTE";  // slots past 15 count too
  EXPECT_EQ(FuseMask(d, "WDTE"), static_cast<int16_t>(4 + (1 << 20)));
}

}  // namespace
}  // namespace quorvi
