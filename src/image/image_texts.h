// SPDX-License-Identifier: GPL-3.0-or-later
// The user-visible texts of the image subsystem, in one place for code and tests.
#pragma once

namespace quorvi::image_text {

// Loading
inline constexpr char kReading[] = "reading...";
inline constexpr char kFileNotFound[] = "file not found";
// Quiet mode prints this to the image file's channel, which is not open, so
// it never reaches the error log; kept to document that line.
inline constexpr char kFileNotFoundQuiet[] = "Arquivo não encontrado";
inline constexpr char kConfigMissing[] = "This file don't have configuration bits, please set the fuses";
inline constexpr char kConfigMissingTitle[] = "Configuration missing";
inline constexpr char kErrorTitle[] = "Quorvi error";
inline constexpr char kOutsideTitle[] = "Data outside the device";
inline constexpr char kOpenFilter[] = "Microchip HEX file|*.HEX|Paralax Object file|*.OBJ|Binary file|*.BIN";
inline constexpr char kLoadHexCaption[] = "&Load Hex";

// Saving
inline constexpr char kLegacyFilesCaption[] = "Legacy file format";
inline constexpr char kSaveIdQuestion[] = "Save ID and FUSES informations?";
inline constexpr char kSaveFilter[] = "Data file|*.HEX";
inline constexpr char kSaveHexCaption[] = "&Save Hex";
inline constexpr char kHexSuffix[] = ".HEX";
inline constexpr char kEndRecord[] = ":00000001FF";

// Calibration
inline constexpr char kCalibrationFilter[] = "Calibration file|*.CAL";
inline constexpr char kLoadCalibrationCaption[] = "Load Calibration Data";
inline constexpr char kSaveCalibrationCaption[] = "Save Calibration Data";

// Listings and the word editor
inline constexpr char kClickToEdit[] = "Click to edit";
inline constexpr char kEditProgramCaption[] = "Edit Program Memory";
inline constexpr char kEditDataCaption[] = "Edit Data Memory";
inline constexpr char kHex16To8Caption[] = "HEX16 to 8";

// Serial numbering
inline constexpr char kSerialMenuCaption[] = "SQTP";
inline constexpr char kSerialCompanionExtension[] = "SQT";
inline constexpr char kNeedHexFile[] = "You need to open a HEX file first...";
inline constexpr char kPromptSerial[] = "Enter the first serial number";
inline constexpr char kPromptStart[] = "Enter the start address";
inline constexpr char kPromptSize[] = "Enter the size of the serial number (max 8 bytes)";
inline constexpr char kPromptIncrement[] = "Enter the increment";

}  // namespace quorvi::image_text
