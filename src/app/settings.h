// SPDX-License-Identifier: GPL-3.0-or-later
// The settings file "quorvi2.ini": one value per line, written whole.
#pragma once

#include <string>
#include <string_view>

#include "util/result.h"

namespace quorvi {

inline constexpr const char* kSettingsFileName = "quorvi2.ini";

/// The port entry of the Config menu that carries the check mark.
enum class PortEntry { kLpt1, kLpt2, kCustom };

struct Settings {
  long port = 0x378;
  long customPort = 0;
  PortEntry portEntry = PortEntry::kLpt1;
  std::string mode = "PROT";  // ProgrammingMode
  std::string deviceName = "16F84";
  std::string workingDirectory;
  /// Image files as our earlier versions read and wrote them.
  bool legacyFiles = false;
  /// The bit-bang ports' pin map (a preset's name or a map file); empty: the adapter's own.
  std::string pins = {};
};

/// Starts the line that names the bit-bang ports' pin map: "PINS rpi".
inline constexpr std::string_view kPinsLinePrefix = "PINS ";

/// The line that marks the legacy file format on; any writer keeps it last.
inline constexpr const char* kLegacyFilesLine = "LEGACY FILES";

/// How much a writer writes: device selection lines 1-3; the port and mode
/// entries lines 1-4 (with the working directory); the Vdd entries lines
/// 1-5 (with the two voltages, so line 4 is then a voltage).
enum class SettingsExtent { kThroughDevice, kThroughWorkingDirectory, kThroughVddMargins };

/// Reads the file at `path`; when it is missing, creates it with "LPT1",
/// "PROT" and "16F84"; one that cannot be read is an error that names it.
/// Unreadable lines keep their defaults; an empty working directory becomes
/// `defaultWorkingDirectory`.
Result<Settings> LoadSettings(const std::string& path, const std::string& defaultWorkingDirectory);

/// The file's lines as a writer of `extent` writes them.
std::string SettingsText(const Settings& settings, SettingsExtent extent, float vddMin = 0.0F, float vddMax = 0.0F);

/// Replaces the file at `path` with `SettingsText`, unless it holds that text already.
Status WriteSettings(const std::string& path, const Settings& settings, SettingsExtent extent, float vddMin = 0.0F,
                     float vddMax = 0.0F);

/// A single-precision number as the old program wrote it ("4.5", "5").
std::string NumberText(float value);

}  // namespace quorvi
