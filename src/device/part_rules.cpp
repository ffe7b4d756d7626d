// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/part_rules.h"

namespace quorvi {

namespace {

std::string_view Trimmed(std::string_view name) {
  while (!name.empty() && (name.front() == ' ' || name.front() == '\t')) name.remove_prefix(1);
  while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.remove_suffix(1);
  return name;
}

bool Begins(std::string_view name, std::string_view prefix) { return name.substr(0, prefix.size()) == prefix; }

bool OneOf(int value, std::initializer_list<int> values) {
  for (const int v : values) {
    if (v == value) return true;
  }
  return false;
}

EepromControl ControlFor(std::string_view name) {
  if (name == "24C04" || name == "24C08") return EepromControl::kBlockBitsPinsHigh;
  if (name == "24C16") return EepromControl::kBlockBitsPinsLow;
  if (name == "AT24C256" || name == "ST24256" || name == "24LC515") return EepromControl::kPinsLow;
  return EepromControl::kPinsHigh;
}

std::optional<int32_t> IdAddressFor(std::string_view name) {
  if (Begins(name, "12C508") || Begins(name, "12CE509")) return 0x200;
  if (Begins(name, "12C518") || Begins(name, "12CE519") || Begins(name, "16C505")) return 0x400;
  return std::nullopt;
}

}  // namespace

PartRules RulesFor(std::string_view fullName, int pinCount, int oscList, int fuseMap) {
  const std::string_view name = Trimmed(fullName);
  PartRules r;
  r.vppFirstByName = Begins(name, "16F62");
  r.settlesBeforeVpp = pinCount == 18 && !Begins(name, "16F81") && !Begins(name, "16C55");
  r.writesOneWordFurther = Begins(name, "16F62");
  r.stepsPastLastWord = Begins(name, "12F62");
  r.bandgap = fuseMap == kBandgapFuseMap;
  r.writeSparesLastWord = OneOf(oscList, {2, 3, 5, 7, 10});
  r.writesLastWordWhenBlank = oscList == 7;
  r.blankSparesLastWord = OneOf(oscList, {2, 3, 5, 7});
  r.compareSparesLastWord = OneOf(oscList, {2, 3, 7});
  r.readShowsCalibration = OneOf(oscList, {2, 3}) || r.bandgap;
  r.readShowsRevision = Begins(name, "16F62") || Begins(name, "16F87");
  r.showsRevisionCaption = Begins(name, "16F87") || r.bandgap;
  r.calibrationBlock = name == "14000";
  r.shows18FFrame = Begins(name, "18F");
  r.fileCore12 = Begins(name, "12C5") || Begins(name, "12CE5") || name == "16C505";
  r.fileSerialEeprom = Begins(name, "24");
  r.fileConfigAnywhere = Begins(name, "16C505");
  r.fileConfigFromOwnRecord = Begins(name, "12C5") || Begins(name, "12CE5");
  r.fileIdAddress = IdAddressFor(name);
  r.fileSavesDataSection = name == "16F628" || Begins(name, "16F8") || Begins(name, "16C8");
  r.eepromControl = ControlFor(name);
  return r;
}

}  // namespace quorvi
