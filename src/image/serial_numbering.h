// SPDX-License-Identifier: GPL-3.0-or-later
// Serial quick-turn numbering: each programmed chip gets its own number as a
// run of RETLW instructions, one per byte, least significant byte first.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "device/device_descriptor.h"
#include "image/memory_image.h"
#include "util/message.h"
#include "util/result.h"

namespace quorvi {

/// The numbering settings of the current image file (application-wide).
struct SerialState {
  /// The next number to place; whole numbers only.
  double serialNumber = 0.0;
  int16_t startAddress = 0;
  /// Number of bytes (instructions), 1..8.
  int16_t size = 0;
  int16_t increment = 0;
  /// 1: draw random numbers instead of counting (`opRand`). Not stored in
  /// the companion file.
  int16_t random = 0;
  /// The menu item `mnuSQTP` is checked.
  bool switchedOn = false;

  bool operator==(const SerialState&) const = default;
};

/// The colours of the indicator `ledSQTP`.
inline constexpr uint32_t kSerialOnColour = 0xFFFF00;   // cyan
inline constexpr uint32_t kSerialOffColour = 0x808080;  // grey

/// Numbering runs when the switch is on and both size and increment are non-zero.
bool SerialActive(const SerialState& state);

/// A uniform random number in [0, 1).
using UniformDraw = std::function<double()>;

/// The program's own draw: a fresh generator seeded from the clock for every draw.
UniformDraw ClockSeededUniform();

/// A random serial number of `size` digits: Int(r x 10^size + 1).
double DrawSerialNumber(int16_t size, const UniformDraw& draw);

/// Places the number (a fresh draw in random mode, not the one shown) into
/// program memory from the start address, as the family's RETLW with the
/// number's byte where it has one (`FamilyTraits::serialWordBase`). A
/// number that does not fit 32 bits, or an address outside the buffer,
/// fails and changes nothing.
Status ApplySerial(const SerialState& state, const DeviceDescriptor& device, MemoryImage& image,
                   const UniformDraw& draw);

/// After a write of program memory, when numbering is active: the number
/// advances (by the increment, or a fresh draw), the companion file is
/// rewritten and the next number is placed into the image. Does nothing
/// when numbering is not active.
Status AdvanceSerialAfterWrite(SerialState& state, const std::string& imagePath, const DeviceDescriptor& device,
                               MemoryImage& image, const UniformDraw& draw);

/// `value` as a whole number with at least `digits` digits, leading zeros
/// added ("0042"); a value with more digits shows them all.
std::string FormatLeadingZeros(double value, int digits);

/// `ledSQTP` on the main window: the number with size digits.
std::string SerialIndicatorText(const SerialState& state);

/// The dialog `frmSQTP`'s four labels.
struct SerialDialogTexts {
  std::string serialNumber;  // 15 digits
  std::string startAddress;  // 5 digits
  std::string size;          // 3 digits
  std::string increment;     // 3 digits
};
SerialDialogTexts FormatSerialDialog(const SerialState& state);

/// The companion file of an image: its path less the last three
/// characters, plus "SQT" (board.HEX pairs with board.SQT).
std::string CompanionPath(const std::string& imagePath);

/// Writes serial number, start address, size and increment, one per line,
/// replacing the file atomically.
Status WriteCompanionFile(const std::string& companionPath, const SerialState& state);

/// Reads the four numbers back, tolerating errors: a value that is missing
/// or not a number keeps what it was. True when the file could be opened.
bool ReadCompanionFile(const std::string& companionPath, SerialState& state);

/// What opening an image file does to numbering: the switch is on exactly
/// when the companion file opens, and the indicator's colour and text follow.
struct SerialOnOpen {
  uint32_t colour = kSerialOffColour;
  /// Shown on `ledSQTP` when size and increment are non-zero, else empty.
  std::string indicator;
};
SerialOnOpen ReadCompanionOnOpen(const std::string& imagePath, SerialState& state);

/// `mnuSQTP` or a click on `ledSQTP`.
enum class SerialMenuEffect {
  kNeedImageFile,         // show NeedImageFileMessage()
  kSwitchedOff,           // indicator grey
  kSwitchedOnShowDialog,  // indicator cyan; show `frmSQTP`, then the indicator text
};
SerialMenuEffect ToggleSerialMenu(SerialState& state, bool imageFileOpen);
UserMessage NeedImageFileMessage();

// The dialog's input boxes. Text that is not a number fails (and changes nothing).
Status SetSerialNumberFromInput(SerialState& state, const std::string& text);
Status SetStartAddressFromInput(SerialState& state, const std::string& text);
/// A size of 9 or more is refused without a message: the result is false.
Result<bool> SetSizeFromInput(SerialState& state, const std::string& text);
Status SetIncrementFromInput(SerialState& state, const std::string& text);
/// `opRand`.
void SetRandomFromCheckBox(SerialState& state, bool checked);

}  // namespace quorvi
