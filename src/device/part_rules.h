// SPDX-License-Identifier: GPL-3.0-or-later
// Rules that go by a part's name or catalogue columns rather than its family,
// each named and worked out once when the device's record is read.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "protocol/eeprom_bus.h"

namespace quorvi {

struct PartRules {
  // --- entering programming mode
  /// MCLR reaches Vpp before Vdd rises (the 16F62x may run its own code otherwise).
  bool vppFirstByName = false;
  /// 18-pin parts that may start their program get a settle wait before Vpp.
  bool settlesBeforeVpp = false;
  // --- the write's program loop
  /// The 16F62x loop programs one address past the catalogue's size.
  bool writesOneWordFurther = false;
  /// The 12F62x loop steps the counter once more after its last word.
  bool stepsPastLastWord = false;
  // --- where the calibration lives (each operation has its own rule)
  /// The write leaves the factory's last word alone.
  bool writeSparesLastWord = false;
  /// ... except that this part's last word is written when it reads blank.
  bool writesLastWordWhenBlank = false;
  /// The blank check stops before the last word.
  bool blankSparesLastWord = false;
  /// The compare skips the last word.
  bool compareSparesLastWord = false;
  /// The read shows the calibration word beside the program.
  bool readShowsCalibration = false;
  /// The read shows the device ID's revision bits.
  bool readShowsRevision = false;
  /// The window shows the revision caption " R=".
  bool showsRevisionCaption = false;
  /// Bits 13:12 of the configuration word are the factory's band-gap calibration.
  bool bandgap = false;
  /// The 14000: a calibration block at the top of program memory, and MCLR on the Vpp3 switch.
  bool calibrationBlock = false;
  // --- the window
  bool shows18FFrame = false;
  // --- image files in their legacy layout, which go by the name
  bool fileCore12 = false;
  bool fileSerialEeprom = false;
  /// The 16C505 takes its configuration word from any record.
  bool fileConfigAnywhere = false;
  /// The 12C5xx take it only from a record starting at 0FFFh.
  bool fileConfigFromOwnRecord = false;
  /// The first program address of a 12-bit part's ID words.
  std::optional<int32_t> fileIdAddress;
  /// Saved HEX files carry the data-EEPROM section.
  bool fileSavesDataSection = false;
  // --- 24Cxx
  EepromControl eepromControl = EepromControl::kPinsHigh;
};

/// The catalogue's fuse map of the band-gap parts (12F629/675, 16F630/676).
inline constexpr int kBandgapFuseMap = 21;
/// The last word the 14000's operations touch: its calibration block starts after it.
inline constexpr int32_t kCalibrationBlockBound = 4031;

/// The rules of the part named `name` with those catalogue columns.
PartRules RulesFor(std::string_view name, int pinCount, int oscList, int fuseMap);

}  // namespace quorvi
