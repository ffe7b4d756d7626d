// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/name_rules.h"

namespace quorvi::name_rule {

std::string_view Trimmed(std::string_view name) {
  while (!name.empty() && (name.front() == ' ' || name.front() == '\t')) name.remove_prefix(1);
  while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.remove_suffix(1);
  return name;
}

bool BeginsWith(std::string_view name, std::string_view prefix) { return name.substr(0, prefix.size()) == prefix; }

bool IsCore12(std::string_view name) {
  return BeginsWith(name, "12C5") || BeginsWith(name, "12CE5") || Trimmed(name) == "16C505";
}

bool IsSerialEeprom(std::string_view name) { return BeginsWith(name, "24"); }

bool TakesConfigAnywhere(std::string_view name) { return BeginsWith(name, "16C505"); }

bool TakesConfigFromItsOwnRecord(std::string_view name) {
  return BeginsWith(name, "12C5") || BeginsWith(name, "12CE5");
}

std::optional<int> Core12IdAddress(std::string_view name) {
  if (BeginsWith(name, "12C508") || BeginsWith(name, "12CE509")) return 0x200;
  if (BeginsWith(name, "12C518") || BeginsWith(name, "12CE519") || BeginsWith(name, "16C505")) return 0x400;
  return std::nullopt;
}

bool IsCalibrationPart(std::string_view name) { return Trimmed(name) == "14000"; }

bool SavesDataSection(std::string_view name) {
  return Trimmed(name) == "16F628" || BeginsWith(name, "16F8") || BeginsWith(name, "16C8");
}

}  // namespace quorvi::name_rule
