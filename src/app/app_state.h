// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "app/home.h"
#include "app/settings.h"
#include "device/device_descriptor.h"
#include "hw/clock.h"
#include "hw/port_driver.h"
#include "hw/port_link.h"
#include "image/file_format.h"
#include "image/image_reader.h"
#include "image/memory_image.h"
#include "image/serial_numbering.h"
#include "protocol/timing.h"
#include "util/arith.h"

namespace quorvi {

/// The delay list filled at start-up: the choices of the ICSP wait, read
/// as numbers ("  0 ms" is 0).
inline constexpr std::array<const char*, 8> kDelayChoices{"  0 ms", " 50 ms", "100 ms", "150 ms",
                                                          "200 ms", "300 ms", "400 ms", "500 ms"};

/// The options of the main window that operations read.
struct WindowOptions {
  bool chkICSP = false;
  std::string cmbICSP = kDelayChoices[0];  // the wait, as the box shows it
  bool chkTestBlank = false;
  bool chkErase = false;
  bool chkSound = true;
  bool chkTurbo = false;
  bool opEEdata = true;
};

/// What an erase or write does when the chip in the socket answers with
/// another part's device ID, or not at all.
enum class WrongChipPolicy {
  kAsk,    // the window asks whether to go on
  kStop,   // the command line without --force: the operation ends
  kForce,  // --force: a warning, then on
};

/// The one application-wide state: everything the window owns for the
/// whole run. Operations are functions of it and of a `UiHost`.
struct AppState {
  AppState(AppPaths appPaths, std::unique_ptr<Clock> ownClock, std::unique_ptr<PortDriver> driver);

  AppPaths paths;
  std::unique_ptr<Clock> clock;
  PortLink link;

  Settings settings;
  LegacyOptions commandLine;
  WindowOptions options;
  /// The supply the adjustable regulator is set to before a production-mode
  /// power-up (the voltage dialog's level).
  float workingVdd = 5.0F;

  /// The selected device; its name is what `panelDevice` shows.
  DeviceDescriptor device;
  int32_t blankWord = 0x3FFF;
  MemoryImage image;

  /// The image file the window opened, and its time stamp then.
  std::string imagePath;
  std::optional<std::filesystem::file_time_type> imageTimeStamp;
  SerialState serial;

  /// Programming cycles each word of the last write needed.
  std::vector<int16_t> cycleTable = std::vector<int16_t>(MemoryImage::kProgramSlots, 0);
  /// What the erase of a band-gap part saves before it erases.
  int16_t savedCalibration = 0;
  int16_t savedBandgap = 0;
  /// Set by a failed compare; the write reads it after its verify.
  Flag operationFailed = kFalse;
  /// The small field beside the device: silicon revision or calibration word.
  std::string txtCal;
  WrongChipPolicy wrongChip = WrongChipPolicy::kAsk;
  /// How the protocols turn a named wait into a DelayMs request.
  WaitPlanner waitPlanner = LengthenedWait;

  /// A mode for this run only (the command line's --mode): never saved.
  std::optional<std::string> modeForRun;
  /// The command line's --legacy-files: this run only, never saved.
  bool legacyFilesForRun = false;

  bool quiet() const { return commandLine.quiet; }
  bool productionMode() const { return modeForRun.value_or(settings.mode) == "PROD"; }
  FileFormat fileFormat() const {
    return legacyFilesForRun || settings.legacyFiles ? FileFormat::kLegacy : FileFormat::kStandard;
  }
};

/// Loads as this run reads image files: quiet or not, standard or legacy.
LoadOptions ImageLoadOptions(const AppState& state);

}  // namespace quorvi
