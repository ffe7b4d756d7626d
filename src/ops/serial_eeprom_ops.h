// SPDX-License-Identifier: GPL-3.0-or-later
// Read, blank test, erase, write and compare of a 24Cxx serial EEPROM: the
// device commands hand over to these when a serial EEPROM is selected.
#pragma once

#include "ops/frame.h"

namespace quorvi {

namespace eeprom_text {
inline constexpr const char* kTesting = "Testing EE data...";
inline constexpr const char* kErasing = "Erasing EE data...";
inline constexpr const char* kWriting = "Writing EE data...";
inline constexpr const char* kComparing = "Comparing EE data...";
inline constexpr const char* kNotBlankAt = "EEPROM not blank at ";
inline constexpr const char* kNotEqualAt = "EEPROM not equal at ";
inline constexpr const char* kWritingErrorAt = "Writing error at ";
// The unacknowledged byte of an erase and its polling time-out differ in case.
inline constexpr const char* kErasingErrorByteAt = "erasing error at ";
inline constexpr const char* kErasingErrorPollAt = "Erasing error at ";
inline constexpr const char* kNoAnswerAt = "No memory answers at ";
inline constexpr const char* kNoAnswerHint = ": is a chip in the socket?";
}  // namespace eeprom_text

/// Every byte from 0 to the device's highest address into the image.
OpResult SerialEepromRead(OperationFrame& frame);
/// Reports bytes other than FFh: at 0 and 8000h it goes on, elsewhere it stops.
OpResult SerialEepromBlank(OperationFrame& frame);
/// FFh into every byte, a page at a time.
OpResult SerialEepromErase(OperationFrame& frame);
/// The image into every byte, a page at a time.
OpResult SerialEepromWrite(OperationFrame& frame);
/// Reports a byte that differs from the image: at 0 it goes on, elsewhere it stops.
OpResult SerialEepromCompare(OperationFrame& frame);

}  // namespace quorvi
