// SPDX-License-Identifier: GPL-3.0-or-later
// Readers of the device catalogue "device.ini". Each reading is taken when it
// is needed (by the window at each selection, by the command-line tool once
// for its run) and kept no longer; the file is never written.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "device/device_descriptor.h"
#include "util/result.h"

namespace quorvi {

inline constexpr const char* kCatalogueFileName = "device.ini";

/// The two supply texts of a long device line, for the Vdd min/max panels.
struct VddCaptions {
  std::string min;
  std::string max;
};

/// The catalogue's lines as read at one moment.
struct CatalogueText {
  std::string path;
  std::vector<std::string> lines;
};

Result<CatalogueText> ReadCatalogue(const std::string& path);

/// Fills the fixed-column fields of `device` from the first line that starts
/// with "PIC" + `name` (names starting with "1") or "EEP" + `name`. The fuse
/// names and pair flag are left alone. Returns the supply captions when the
/// line is long enough to carry them (they are then also in `device`).
Result<std::optional<VddCaptions>> LoadDeviceRecord(const CatalogueText& catalogue, std::string_view name,
                                                    DeviceDescriptor& device);

/// Fills `device.fuseNames` and `device.pairFlag` from fuse-map line `number`.
Status LoadFuseMap(const CatalogueText& catalogue, int number, DeviceDescriptor& device);

/// Every device of the catalogue in file order, each with the trailing blank
/// the list entries keep. Also leaves the last device's pin columns in
/// `device.pinCount`, as the list filling always did. Bad device lines are
/// left out; each is named, with its file and line, in `problems`.
Result<std::vector<std::string>> FillDeviceList(const CatalogueText& catalogue, DeviceDescriptor& device,
                                                std::vector<std::string>* problems = nullptr);

/// An option list and the entry it selects (the last).
struct OptionList {
  std::vector<std::string> entries;
  int selectedIndex = -1;
  bool operator==(const OptionList&) const = default;
};

/// The first run of lines starting with `key` ("1OSC", "2WRT", ...), each
/// without its first five characters.
Result<OptionList> FillOptionList(const CatalogueText& catalogue, std::string_view key);

/// The bits of the configuration word that fuse `name` owns: plus 2^i for
/// each slot named `name`, minus 2^i for each named `name` + "/". 0: no such fuse.
int16_t FuseMask(const DeviceDescriptor& device, std::string_view name);

/// Why a device line cannot be used (a field missing or not a number, a size
/// out of range, a supply range no part has); nothing when it is sound.
std::optional<std::string> DeviceLineProblem(const std::string& line);

/// The descriptor's fields read from one device line; exposed for tests and
/// for checking a catalogue.
Result<std::optional<VddCaptions>> ParseDeviceLine(const std::string& line, DeviceDescriptor& device);

}  // namespace quorvi
