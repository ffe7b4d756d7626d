// SPDX-License-Identifier: GPL-3.0-or-later
// Rules of the image files that go by the device's name rather than its family.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvi::name_rule {

/// The name without blanks around it (catalogue list entries keep one).
std::string_view Trimmed(std::string_view name);
bool BeginsWith(std::string_view name, std::string_view prefix);

/// 12-bit parts as the loader knows them: "12C5...", "12CE5..." or "16C505".
bool IsCore12(std::string_view name);
/// The serial EEPROMs as the loader knows them: "24...".
bool IsSerialEeprom(std::string_view name);
/// The 12-bit parts whose configuration word in a file counts in any record
/// (the others need a record starting at 0x0FFF).
bool TakesConfigAnywhere(std::string_view name);
/// The 12-bit parts whose configuration word counts only from a record
/// that starts at 0x0FFF.
bool TakesConfigFromItsOwnRecord(std::string_view name);
/// The first program address of a 12-bit part's ID words, if it has them.
std::optional<int> Core12IdAddress(std::string_view name);
/// The part whose calibration area a load spares ("14000").
bool IsCalibrationPart(std::string_view name);
/// The parts whose saved HEX files carry the data-EEPROM section.
bool SavesDataSection(std::string_view name);

}  // namespace quorvi::name_rule
