// SPDX-License-Identifier: GPL-3.0-or-later
// The device operations' own texts, shared by the code and its tests.
#pragma once

namespace quorvi::op_text {

// Device checks.
inline constexpr const char* kSelectProcessor = "Select Processor";
inline constexpr const char* kSelectProcessorFirst = "Select Processor first";

// txtStatus while an operation runs.
inline constexpr const char* kReading = "reading...";
inline constexpr const char* kTestingBlank = "Testing blank...";
inline constexpr const char* kErasing = "erasing...";
inline constexpr const char* kComparing = "Comparing...";
inline constexpr const char* kWritingData = "Writing data...";
inline constexpr const char* kWritingFuses = "Writing fuses...";
inline constexpr const char* kWritingEeData = "Writing EE data...";
inline constexpr const char* kComparingAtVddMin = "Comparing at Vdd min...";
inline constexpr const char* kComparingAtVddMax = "Comparing at Vdd max...";
inline constexpr const char* kComparingFusesVddMin = "Comparing fuses Vdd min...";
inline constexpr const char* kComparingFusesVddMax = "Comparing fuses Vdd max...";
// The compare passes' own texts, with their own spelling.
inline constexpr const char* kPassAtVddMin = "Comparing at VDD min...";
inline constexpr const char* kPassAtVddMax = "Comparing at VDD max...";
inline constexpr const char* kPassNormal = "Comparing ...";
inline constexpr const char* kFusePassAtVddMin = "Comparing fuses at VDD min";
inline constexpr const char* kFusePassAtVddMax = "Comparing fuses at VDD max";
inline constexpr const char* kFusePassNormal = "Comparing fuses ...";

// Results.
inline constexpr const char* kPicNotErased = "PIC not erased";
inline constexpr const char* kPicNotEqualAt = "PIC not equal at ";
inline constexpr const char* kFusesNotEqual = "fuses not equal";
inline constexpr const char* kWritingErrorAt = "Writing error at ";
inline constexpr const char* kPicNotErasedContinue = "PIC not erased, continue?";
inline constexpr const char* kCodeProtectionWarning =
    "Some chips can not be erased if you programm with CODE PROTECTION ON. Continue ?";
inline constexpr const char* kErrorWritingFuses = "Error writing fuses";
inline constexpr const char* kFuseOk = "Fuse OK";
inline constexpr const char* kFuseError = "Fuse error";
inline constexpr const char* kOperationOk = "Operation OK";
// Appended to a wrong-chip message when the window asks.
inline constexpr const char* kGoOnAnyway = " Go on anyway?";
inline constexpr const char* kReadProtected =
    "Code protection is on in this chip: its protected program memory reads as 0, not as what it holds.";

// txtCal prefixes: silicon revision, calibration word.
inline constexpr const char* kRevisionPrefix = " R=";
inline constexpr const char* kCalibrationPrefix = " C=";

// The one line of the error log in quiet mode.
namespace quiet {
inline constexpr const char* kEraseFailed = "Erro de apagamento";
inline constexpr const char* kWriteFailed = "Erro gravando dados";
inline constexpr const char* kFuseWriteFailed = "Erro gravando fuses";
inline constexpr const char* kCompareFailed = "Erro de comparação de dados";
inline constexpr const char* kIdCompareFailed = "Erro comparando IDs";
inline constexpr const char* kFuseCompareFailed = "Erro comparando fuses";
}  // namespace quiet

}  // namespace quorvi::op_text
