// SPDX-License-Identifier: GPL-3.0-or-later
// The program and data listings of the main window, the word editor behind
// them, and "HEX16 to 8". The window draws them; these are their rules.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "device/device_descriptor.h"
#include "image/memory_image.h"
#include "util/result.h"

namespace quorvi {

/// `MList1`: one line per 8 words while the line address L <= size - 7
/// (size 511 when the device has none), "0000: 3FFF 3FFF ... 3FFF " with the
/// trailing blank.
std::vector<std::string> ProgramListingLines(const DeviceDescriptor& device, const MemoryImage& image);

/// `MList2`: one line per 8 bytes for 0, 8, ... up to dataBytes - 1,
/// "08: FF FF ... FF ". Lines stop where the data buffer ends.
std::vector<std::string> DataListingLines(const DeviceDescriptor& device, const MemoryImage& image);

/// The 18F configuration registers that a write sets, from the image:
/// "1H=22 2L=0C 2H=0E ..." in address order; empty for other families.
std::string Config18Line(const DeviceDescriptor& device, const MemoryImage& image);

/// The word column of a click at `xTwips` in `MList1` and in `MList2`
/// (truncated toward zero, so it can be off the 0..7 range at the edges).
int ProgramClickColumn(double xTwips);
int DataClickColumn(double xTwips);

enum class EditTarget { kProgram, kData };

/// The state of the word editor `frmEditP`.
struct WordEditor {
  EditTarget target = EditTarget::kProgram;
  int32_t address = 0;
  /// `opHexa` selected (else `opDec`).
  bool hexMode = true;
  std::string caption;
};

/// Opens the editor on the clicked line of a listing and the column from
/// the click. A data address outside the buffer is refused.
Result<WordEditor> OpenWordEditor(EditTarget target, const std::string& clickedLine, int column);

/// `txtAddress`: the address in hex as the listings show it (four digits
/// for program memory, two for data).
std::string EditorAddressText(const WordEditor& editor);

/// `txtData`: the current cell in the editor's format (hex, four digits for
/// program words; or decimal).
std::string EditorValueText(const WordEditor& editor, const MemoryImage& image);

/// Stores the typed text into the current cell: hex in hex mode, else a
/// decimal number; a value too wide for the cell is an overflow and stores
/// nothing.
Status EditorStore(const WordEditor& editor, MemoryImage& image, const std::string& typed);

/// What a key did in the editor.
enum class EditorKeyEffect {
  kIgnored,           // not one of the editor's keys
  kStepped,           // "+" or "-": stored, then moved (if the limits allowed)
  kStoredNextControl  // Enter: stored; the focus goes to the next control
};

/// The form's key handling: "+" stores and steps up (not beyond the
/// device's program size, nor beyond the data buffer), "-" stores and steps
/// down (not below 0), Enter (13) stores.
Result<EditorKeyEffect> EditorKeyPress(WordEditor& editor, MemoryImage& image, const DeviceDescriptor& device,
                                       char key, const std::string& typed);

/// `cmdMinus` works only while the address is above 0.
bool EditorCanStepDown(const WordEditor& editor);

/// `cmdHex16to8`: splits words 0..8191 into bytes in slots 0..16383 (low
/// byte first), going through `scratch` (the write command's cycle table,
/// which it overwrites; at least 8,192 slots). A word outside the signed
/// 16-bit range is an overflow and changes nothing.
Status Hex16To8(MemoryImage& image, std::span<int16_t> scratch);

}  // namespace quorvi
