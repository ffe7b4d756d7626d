// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/settings.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

#include "util/arith.h"
#include "util/atomic_file.h"
#include "util/file_check.h"
#include "util/input_fields.h"

namespace quorvi {

namespace {

constexpr long kLpt1 = 0x378;
constexpr long kLpt2 = 0x278;

std::string LastFour(const std::string& text) { return text.size() <= 4 ? text : text.substr(text.size() - 4); }

long HexAddress(const std::string& text) { return static_cast<long>(HexVal(text)); }

bool IsPortLine(const std::string& line) {
  const std::string kind = line.substr(0, 4);
  return kind == "LPT1" || kind == "LPT2" || kind == "LPT ";
}


}  // namespace

std::string NumberText(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.7g", static_cast<double>(value));
  return text;
}

Result<Settings> LoadSettings(const std::string& path, const std::string& defaultWorkingDirectory) {
  Settings settings;
  settings.workingDirectory = defaultWorkingDirectory;
  const FileContent file = ReadWholeFile(path);
  if (!file.bytes) {
    // Only a file that is not there is created; one that cannot be read is never overwritten.
    if (!file.missing) return Status::Fail("Cannot read the settings file " + file.problem);
    if (Status created = WriteFileAtomically(path, "LPT1\r\nPROT\r\n16F84\r\n"); !created) return created;
    return settings;
  }
  std::vector<std::string> lines = SplitTextLines(*file.bytes);
  // The switch has a line of its own so that the positional lines read as always.
  const auto marked = std::remove(lines.begin(), lines.end(), std::string(kLegacyFilesLine));
  settings.legacyFiles = marked != lines.end();
  lines.erase(marked, lines.end());
  const auto pinsLine = std::find_if(lines.begin(), lines.end(),
                                     [](const std::string& line) { return line.starts_with(kPinsLinePrefix); });
  if (pinsLine != lines.end()) {
    settings.pins = pinsLine->substr(kPinsLinePrefix.size());
    lines.erase(pinsLine);
  }
  std::vector<InputField> fields = SplitInputFields(lines);
  // A custom address of 378h or 278h is written on two port lines, one for
  // each form that is true: the first one counts, the second is skipped but
  // for the custom address, which only the custom form carries whole.
  std::optional<long> customFromSecond;
  if (fields.size() >= 2 && IsPortLine(fields[0].text) && IsPortLine(fields[1].text)) {
    if (fields[1].text.starts_with("LPT ")) customFromSecond = HexAddress(LastFour(fields[1].text));
    fields.erase(fields.begin() + 1);
  }
  auto field = [&](size_t index) -> const std::string* {
    return index < fields.size() ? &fields[index].text : nullptr;
  };

  // Every port form carries the custom address in its last four characters.
  if (const std::string* port = field(0)) {
    const std::string kind = port->substr(0, 4);
    if (IsPortLine(*port)) {
      settings.customPort = HexAddress(LastFour(*port));
      if (kind == "LPT1") {
        settings.port = kLpt1;
        settings.portEntry = PortEntry::kLpt1;
      } else if (kind == "LPT2") {
        settings.port = kLpt2;
        settings.portEntry = PortEntry::kLpt2;
      } else {
        settings.port = settings.customPort;
        settings.portEntry = PortEntry::kCustom;
      }
    }
  }
  if (customFromSecond) settings.customPort = *customFromSecond;
  if (const std::string* mode = field(1)) settings.mode = *mode;
  if (const std::string* device = field(2); device && !device->empty()) settings.deviceName = *device;
  if (const std::string* directory = field(3); directory && !directory->empty()) {
    settings.workingDirectory = *directory;
  }
  return settings;
}

std::string SettingsText(const Settings& settings, SettingsExtent extent, float vddMin, float vddMax) {
  const std::string custom = LastFour(HexText(static_cast<int32_t>(settings.customPort)));
  std::string text;
  // One port line for each form that is true: a custom address of 378h gives two.
  if (settings.port == kLpt1) text += "LPT1" + custom + "\r\n";
  if (settings.port == kLpt2) text += "LPT2" + custom + "\r\n";
  if (settings.port == settings.customPort) text += "LPT " + custom + "\r\n";
  text += settings.mode + "\r\n";
  text += settings.deviceName + "\r\n";
  if (extent == SettingsExtent::kThroughWorkingDirectory) text += settings.workingDirectory + "\r\n";
  if (extent == SettingsExtent::kThroughVddMargins) text += NumberText(vddMin) + "\r\n" + NumberText(vddMax) + "\r\n";
  if (!settings.pins.empty()) text += std::string(kPinsLinePrefix) + settings.pins + "\r\n";
  if (settings.legacyFiles) text += std::string(kLegacyFilesLine) + "\r\n";
  return text;
}

Status WriteSettings(const std::string& path, const Settings& settings, SettingsExtent extent, float vddMin,
                     float vddMax) {
  const std::string text = SettingsText(settings, extent, vddMin, vddMax);
  // Every start selects the remembered device: a file that already says so stays untouched.
  if (ReadWholeFile(path).bytes == text) return Status::Ok();
  return WriteFileAtomically(path, text);
}

}  // namespace quorvi
