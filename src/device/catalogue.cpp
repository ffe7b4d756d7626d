// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/catalogue.h"

#include <cctype>

#include "util/input_fields.h"
#include "util/arith.h"

namespace quorvi {

namespace {

// A device line is longer than this when it carries the two supply values.
constexpr size_t kShortLineLength = 78;

Result<std::vector<std::string>> ReadLines(const std::string& path) {
  std::vector<std::string> lines;
  if (!ReadTextLines(path, lines)) return Status::Fail("Cannot open the device catalogue " + path);
  return lines;
}

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

}  // namespace

Result<std::optional<VddCaptions>> ParseDeviceLine(const std::string& line, DeviceDescriptor& device) {
  const size_t blank = line.find(' ');
  device.name = line.size() > 3 ? line.substr(3, blank == std::string::npos ? std::string::npos : blank - 3) : "";

  int16_t programSize = 0;
  Status status = ReadInt<int16_t>(line, {17, 4, "program size"}, ToInt16, true, programSize);
  if (status) status = ReadInt<int16_t>(line, {25, 4, "data size"}, ToInt16, true, device.dataBytes);
  if (status) status = ReadInt<int16_t>(line, {33, 4, "family"}, ToInt16, false, device.family);
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

  if (line.size() <= kShortLineLength) return std::optional<VddCaptions>();
  VddCaptions captions{Columns(line, 74, 3), Columns(line, 79, 3)};
  device.vddMin = static_cast<float>(VbVal(captions.min));
  device.vddMax = static_cast<float>(VbVal(captions.max));
  return std::optional<VddCaptions>(captions);
}

Result<std::optional<VddCaptions>> LoadDeviceRecord(const std::string& path, std::string_view name,
                                                    DeviceDescriptor& device) {
  Result<std::vector<std::string>> lines = ReadLines(path);
  if (!lines) return lines.status();
  // The key is not upper-cased: names are expected in upper case.
  const std::string key = (!name.empty() && name[0] == '1' ? "PIC" : "EEP") + std::string(name);
  for (size_t i = 0; i < lines.value().size(); ++i) {
    const std::string& line = lines.value()[i];
    if (!StartsWithUpper(line, key)) continue;
    DeviceDescriptor parsed = device;
    Result<std::optional<VddCaptions>> captions = ParseDeviceLine(line, parsed);
    if (!captions) return LineError(path, i, captions.message());
    device = parsed;
    return captions;
  }
  return Status::Fail("The device " + std::string(name) + " is not in the catalogue " + path);
}

Status LoadFuseMap(const std::string& path, int number, DeviceDescriptor& device) {
  Result<std::vector<std::string>> lines = ReadLines(path);
  if (!lines) return lines.status();
  for (int slot = 0; slot < 16; ++slot) device.fuseNames[static_cast<size_t>(slot)].clear();
  device.pairFlag = false;

  // Slots are not cleared between lines, and any line can match: a short
  // line keeps an earlier line's lower slots, and without a match the last
  // line of the file is the map. Map 0 matches the empty slots at once.
  const std::vector<std::string>& all = lines.value();
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

Result<std::vector<std::string>> FillDeviceList(const std::string& path, DeviceDescriptor& device) {
  Result<std::vector<std::string>> lines = ReadLines(path);
  if (!lines) return lines.status();
  const std::vector<InputField> fields = SplitInputFields(lines.value());
  // The end is tested only after a device line: anything after the last one,
  // even an empty line, runs past the end.
  std::vector<std::string> names;
  size_t next = 0;
  while (next < fields.size()) {
    while (next < fields.size() && !StartsWithUpper(fields[next].text, "PIC") &&
           !StartsWithUpper(fields[next].text, "EEP")) {
      ++next;
    }
    if (next >= fields.size()) {
      return Status::Fail(path + ": the catalogue must end with a device line (line " +
                          std::to_string(lines.value().size()) + " is not one)");
    }
    const InputField& field = fields[next++];
    const size_t blank = field.text.find(' ');
    if (blank == std::string::npos || blank < 3) {
      return LineError(path, field.line, "a device line needs a blank after the device name");
    }
    names.push_back(field.text.substr(3, blank - 2));
    if (const std::optional<int16_t> pins = ToInt16(VbVal(Columns(field.text, 57, 2)))) device.pinCount = *pins;
  }
  return names;
}

Result<OptionList> FillOptionList(const std::string& path, std::string_view key) {
  Result<std::vector<std::string>> lines = ReadLines(path);
  if (!lines) return lines.status();
  const std::vector<std::string>& all = lines.value();
  size_t i = 0;
  while (i < all.size() && !StartsWithUpper(all[i], key)) ++i;
  if (i == all.size()) return Status::Fail("The option list " + std::string(key) + " is missing from " + path);
  OptionList list;
  for (; i < all.size() && StartsWithUpper(all[i], key); ++i) {
    if (all[i].size() < 5) return LineError(path, i, "an option line needs at least five characters");
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
