// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/catalogue.h"

#include <cctype>

#include "util/input_fields.h"
#include "util/arith.h"

namespace quorvi {

namespace {

// A device line is longer than this when it carries the two supply values.
constexpr size_t kShortLineLength = 78;

Status LineError(const std::string& path, size_t index, const std::string& what) {
  return Status::Fail(path + " line " + std::to_string(index + 1) + ": " + what);
}

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& ch : upper) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return upper;
}

bool StartsWithUpper(std::string_view line, std::string_view key) {
  return line.size() >= key.size() && Upper(line.substr(0, key.size())) == key;
}

/// Columns `first`..`first + width - 1`, counted from 1, as far as the line goes.
std::string Columns(std::string_view line, size_t first, size_t width) {
  if (first > line.size()) return {};
  return std::string(line.substr(first - 1, width));
}

struct Column {
  size_t first;
  size_t width;
  const char* field;
};

template <typename Int>
Status ReadInt(std::string_view line, const Column& column, std::optional<Int> (*convert)(double), bool hex,
               Int& out) {
  const std::string text = Columns(line, column.first, column.width);
  const std::optional<Int> value = convert(hex ? HexVal(text) : VbVal(text));
  if (!value) {
    return Status::Fail("\"" + text + "\" in columns " + std::to_string(column.first) + "-" +
                        std::to_string(column.first + column.width - 1) + " (" + column.field +
                        ") is out of range");
  }
  out = *value;
  return Status::Ok();
}

std::string ColumnText(const Column& column) {
  return std::to_string(column.first) + "-" + std::to_string(column.first + column.width - 1);
}

/// Why the field is not a plain number of its kind, if it is not one. The old
/// conversion reads "12X" as 12 and "" as 0; a catalogue edit that leaves such
/// a field behind is a mistake to name, not a value to use.
std::optional<std::string> FieldProblem(std::string_view line, const Column& column, bool hex, bool required) {
  const std::string text(TrimBlanks(Columns(line, column.first, column.width)));
  const std::string where = std::string(column.field) + " (columns " + ColumnText(column) + ")";
  if (text.empty()) {
    if (required) return where + " is blank";
    return std::nullopt;
  }
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    const bool digit = hex ? std::isxdigit(byte) != 0 : std::isdigit(byte) != 0;
    if (!digit) return where + " \"" + text + "\" is not a " + (hex ? "hexadecimal" : "decimal") + " number";
  }
  return std::nullopt;
}

// Above this no listed part's operating range goes, and the production verify
// drives the chip at the maximum.
constexpr double kHighestVddMax = 6.5;

}  // namespace

std::optional<std::string> DeviceLineProblem(const std::string& line) {
  const Column programSize{17, 4, "program size"};
  const Column pins{57, 2, "pins"};
  const size_t blank = line.find(' ');
  if (line.size() <= 3 || blank == 3) return "the device name is missing";
  if (blank == std::string::npos || blank >= programSize.first - 1) {
    return "the device name must end with a blank before column " + std::to_string(programSize.first);
  }
  if (line.size() < pins.first + pins.width - 1) {
    return "the line ends at column " + std::to_string(line.size()) + ", before the pins (columns " +
           ColumnText(pins) + ")";
  }
  const Column dataSize{25, 4, "data size"};
  const struct {
    Column column;
    bool hex;
    bool required;
  } fields[] = {
      {programSize, true, true},
      {dataSize, true, false},
      {{33, 4, "family"}, false, true},
      {{41, 4, "fuse map"}, false, false},
      {{50, 1, "write mode"}, false, false},
      {pins, false, true},
      {{65, 2, "oscillator list"}, false, false},
      {{70, 2, "write-protection list"}, false, false},
  };
  for (const auto& f : fields) {
    if (std::optional<std::string> problem = FieldProblem(line, f.column, f.hex, f.required)) return problem;
  }
  // Four hex digits are read as a signed number: only FFFF has a meaning above 7FFF.
  const std::string words(TrimBlanks(Columns(line, programSize.first, programSize.width)));
  if (HexVal(words) < -1) return "program size " + words + "h is above 7FFFh (only FFFF is allowed there)";
  const std::string bytes(TrimBlanks(Columns(line, dataSize.first, dataSize.width)));
  if (HexVal(bytes) < 0) return "data size " + bytes + "h is above 7FFFh";
  if (line.size() <= kShortLineLength) return std::nullopt;
  const std::string min = Columns(line, 74, 3);
  const std::string max = Columns(line, 79, 3);
  const double low = VbVal(min);
  const double high = VbVal(max);
  if (!(low > 0 && low <= high && high <= kHighestVddMax)) {
    return "supply range \"" + min + "\" to \"" + max + "\" V is not a range from above 0 to at most 6.5 V";
  }
  return std::nullopt;
}

Result<std::optional<VddCaptions>> ParseDeviceLine(const std::string& line, DeviceDescriptor& device) {
  const size_t blank = line.find(' ');
  device.name = line.size() > 3 ? line.substr(3, blank == std::string::npos ? std::string::npos : blank - 3) : "";

  int16_t programSize = 0;
  Status status = ReadInt<int16_t>(line, {17, 4, "program size"}, ToInt16, true, programSize);
  if (status) status = ReadInt<int16_t>(line, {25, 4, "data size"}, ToInt16, true, device.dataBytes);
  int16_t familyCode = 0;
  if (status) status = ReadInt<int16_t>(line, {33, 4, "family"}, ToInt16, false, familyCode);
  if (status) status = ReadInt<int16_t>(line, {41, 4, "fuse map"}, ToInt16, false, device.fuseMap);
  if (status) status = ReadInt<int16_t>(line, {50, 1, "write mode"}, ToInt16, false, device.writeMode);
  if (status) status = ReadInt<int16_t>(line, {57, 2, "pins"}, ToInt16, false, device.pinCount);
  if (status) status = ReadInt<int16_t>(line, {65, 2, "oscillator list"}, ToInt16, false, device.oscList);
  if (status) status = ReadInt<uint8_t>(line, {70, 2, "write-protection list"}, ToByte, false, device.wrtList);
  // Columns 74-75 are read as the page size even when they begin the Vdd minimum.
  if (status) status = ReadInt<int16_t>(line, {74, 2, "page size"}, ToInt16, false, device.pageSize);
  if (!status) return status;
  // "FFFF" is the one size too large for a signed 16-bit field.
  device.programSize = programSize == -1 ? 65535 : programSize;
  device.family = static_cast<Family>(familyCode);
  ApplyPartRules(device);

  if (line.size() <= kShortLineLength) return std::optional<VddCaptions>();
  VddCaptions captions{Columns(line, 74, 3), Columns(line, 79, 3)};
  device.vddMin = static_cast<float>(VbVal(captions.min));
  device.vddMax = static_cast<float>(VbVal(captions.max));
  return std::optional<VddCaptions>(captions);
}

Result<CatalogueText> ReadCatalogue(const std::string& path) {
  CatalogueText catalogue{path, {}};
  if (Status read = ReadTextLines(path, catalogue.lines); !read) {
    return Status::Fail("Cannot open the device catalogue " + read.message());
  }
  return catalogue;
}

Result<std::optional<VddCaptions>> LoadDeviceRecord(const CatalogueText& catalogue, std::string_view name,
                                                    DeviceDescriptor& device) {
  // The key is not upper-cased: names are expected in upper case.
  const std::string key = (!name.empty() && name[0] == '1' ? "PIC" : "EEP") + std::string(name);
  for (size_t i = 0; i < catalogue.lines.size(); ++i) {
    const std::string& line = catalogue.lines[i];
    if (!StartsWithUpper(line, key)) continue;
    if (std::optional<std::string> problem = DeviceLineProblem(line)) return LineError(catalogue.path, i, *problem);
    DeviceDescriptor parsed = device;
    Result<std::optional<VddCaptions>> captions = ParseDeviceLine(line, parsed);
    if (!captions) return LineError(catalogue.path, i, captions.message());
    device = parsed;
    return captions;
  }
  return Status::Fail("The device " + std::string(name) + " is not in the catalogue " + catalogue.path);
}

Status LoadFuseMap(const CatalogueText& catalogue, int number, DeviceDescriptor& device) {
  for (int slot = 0; slot < 16; ++slot) device.fuseNames[static_cast<size_t>(slot)].clear();
  device.pairFlag = false;

  // Slots are not cleared between lines, and any line can match: a short
  // line keeps an earlier line's lower slots, and without a match the last
  // line of the file is the map. Map 0 matches the empty slots at once.
  const std::vector<std::string>& all = catalogue.lines;
  const std::string* lastRead = nullptr;
  size_t next = 0;
  while (VbVal(device.fuseNames[14]) != number && next < all.size()) {
    while (next < all.size() && !all[next].empty() && all[next][0] == ';') lastRead = &all[next++];
    if (next >= all.size()) break;
    const std::string& line = all[next++];
    lastRead = &line;
    int index = 15;
    std::string token;
    for (const char ch : line) {
      if (ch != ' ') {
        token.push_back(ch);
      } else if (!token.empty()) {
        if (index >= 0) device.fuseNames[static_cast<size_t>(index--)] = token;
        token.clear();
      }
    }
    // A last token without a blank after it is kept only above slot 0.
    if (!token.empty() && index > 0) device.fuseNames[static_cast<size_t>(index)] = token;
  }
  device.pairFlag = lastRead != nullptr && lastRead->size() >= 3 && lastRead->substr(lastRead->size() - 3) == "P P";
  return Status::Ok();
}

Result<std::vector<std::string>> FillDeviceList(const CatalogueText& catalogue, DeviceDescriptor& device,
                                                std::vector<std::string>* problems) {
  const auto note = [&](const std::string& problem) {
    if (problems != nullptr) problems->push_back(problem);
  };
  // A bad line is left out and named; the others still load.
  std::vector<std::string> names;
  for (const InputField& field : SplitInputFields(catalogue.lines)) {
    if (!StartsWithUpper(field.text, "PIC") && !StartsWithUpper(field.text, "EEP")) continue;
    if (std::optional<std::string> problem = DeviceLineProblem(field.text)) {
      note(LineError(catalogue.path, field.line, *problem).message());
      continue;
    }
    const size_t blank = field.text.find(' ');
    names.push_back(field.text.substr(3, blank - 2));
    if (const std::optional<int16_t> pins = ToInt16(VbVal(Columns(field.text, 57, 2)))) device.pinCount = *pins;
  }
  if (names.empty()) return Status::Fail(catalogue.path + ": no usable device line");
  return names;
}

Result<OptionList> FillOptionList(const CatalogueText& catalogue, std::string_view key) {
  const std::vector<std::string>& all = catalogue.lines;
  size_t i = 0;
  while (i < all.size() && !StartsWithUpper(all[i], key)) ++i;
  if (i == all.size()) {
    return Status::Fail("The option list " + std::string(key) + " is missing from " + catalogue.path);
  }
  OptionList list;
  for (; i < all.size() && StartsWithUpper(all[i], key); ++i) {
    if (all[i].size() < 5) return LineError(catalogue.path, i, "an option line needs at least five characters");
    list.entries.push_back(all[i].substr(5));
  }
  list.selectedIndex = static_cast<int>(list.entries.size()) - 1;
  return list;
}

int16_t FuseMask(const DeviceDescriptor& device, std::string_view name) {
  int32_t mask = 0;
  const std::string inverted = std::string(name) + "/";
  for (size_t slot = 0; slot < device.fuseNames.size(); ++slot) {
    if (device.fuseNames[slot] == name) mask += int32_t{1} << slot;
    if (device.fuseNames[slot] == inverted) mask -= int32_t{1} << slot;
  }
  // Bit 15 would not fit; the catalogue never names it.
  return static_cast<int16_t>(mask);
}

}  // namespace quorvi
