// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/listing.h"

#include "device/config18.h"
#include "image/device_image.h"
#include "image/image_texts.h"
#include "util/arith.h"

namespace quorvi {

namespace {

constexpr int32_t kNoDeviceSize = 511;
constexpr int kWordsPerLine = 8;
constexpr int kHex16To8Words = 8192;
constexpr int kProgramColumnOrigin = 640;
constexpr int kProgramColumnWidth = 530;
constexpr int kDataColumnOrigin = 450;
constexpr int kDataColumnWidth = 320;
constexpr char kEnter = 13;

int ClickColumn(double xTwips, int origin, int width) {
  const int64_t x = RoundHalfEven(xTwips);
  return static_cast<int>((x - origin) / width);  // C++ division truncates toward zero
}

std::string OverflowMessage(const std::string& what) { return "Overflow: " + what; }

}  // namespace

std::vector<std::string> ProgramListingLines(const DeviceDescriptor& device, const MemoryImage& image) {
  const int64_t size = device.programSize == 0 ? kNoDeviceSize : device.programSize;
  std::vector<std::string> lines;
  for (int64_t line = 0; line <= size - 7 && line + 7 < MemoryImage::kProgramSlots; line += kWordsPerLine) {
    std::string text = PadLeft(HexText(static_cast<int32_t>(line)), 4) + ": ";
    for (int i = 0; i < kWordsPerLine; ++i) {
      text += PadLeft(HexText(image.programBuffer[static_cast<size_t>(line + i)]), 4);
      text += ' ';
    }
    lines.push_back(std::move(text));
  }
  return lines;
}

std::vector<std::string> DataListingLines(const DeviceDescriptor& device, const MemoryImage& image) {
  std::vector<std::string> lines;
  for (int line = 0; line <= device.dataBytes - 1 && line + 7 < MemoryImage::kDataSlots; line += kWordsPerLine) {
    std::string text = PadLeft(HexText(line), 2) + ": ";
    for (int i = 0; i < kWordsPerLine; ++i) {
      text += PadLeft(HexText16(image.dataBuffer[static_cast<size_t>(line + i)]), 2);
      text += ' ';
    }
    lines.push_back(std::move(text));
  }
  return lines;
}

std::string Config18Line(const DeviceDescriptor& device, const MemoryImage& image) {
  if (device.core() != Core::kPic18) return "";
  std::string line;
  for (int offset = 0; offset < kConfig18Registers; ++offset) {
    const auto byte = Config18ByteToWrite(device, image, offset);
    if (!byte) continue;
    if (!line.empty()) line += ' ';
    line += Config18RegisterName(offset) + "=" + PadLeft(HexText(*byte), 2);
  }
  return line;
}

int ProgramClickColumn(double xTwips) { return ClickColumn(xTwips, kProgramColumnOrigin, kProgramColumnWidth); }

int DataClickColumn(double xTwips) { return ClickColumn(xTwips, kDataColumnOrigin, kDataColumnWidth); }

Result<WordEditor> OpenWordEditor(EditTarget target, const std::string& clickedLine, int column) {
  WordEditor editor;
  editor.target = target;
  if (target == EditTarget::kProgram) {
    editor.address = HexVal(std::string_view(clickedLine).substr(0, 4)) + column;
    if (editor.address < 0) editor.address += 0x10000;
    editor.caption = image_text::kEditProgramCaption;
    if (editor.address >= MemoryImage::kProgramSlots) {
      return Status::Fail("Program address 0x" + HexText(editor.address) + " is beyond the program buffer");
    }
  } else {
    editor.address = HexVal(std::string_view(clickedLine).substr(0, 2)) + column;
    editor.caption = image_text::kEditDataCaption;
    if (editor.address < 0 || editor.address >= MemoryImage::kDataSlots) {
      return Status::Fail("Data address " + std::to_string(editor.address) + " is outside the data buffer");
    }
  }
  return editor;
}

std::string EditorAddressText(const WordEditor& editor) {
  return PadLeft(HexText(editor.address), editor.target == EditTarget::kProgram ? 4 : 2);
}

std::string EditorValueText(const WordEditor& editor, const MemoryImage& image) {
  if (editor.target == EditTarget::kProgram) {
    const int32_t value = image.programBuffer[static_cast<size_t>(editor.address)];
    return editor.hexMode ? PadLeft(HexText(value), 4) : std::to_string(value);
  }
  const int16_t value = image.dataBuffer[static_cast<size_t>(editor.address)];
  return editor.hexMode ? HexText16(value) : std::to_string(value);
}

Status EditorStore(const WordEditor& editor, MemoryImage& image, const std::string& typed) {
  const double value = editor.hexMode ? static_cast<double>(HexVal(typed)) : VbVal(typed);
  if (editor.target == EditTarget::kProgram) {
    const auto word = ToInt32(value);
    if (!word) return Status::Fail(OverflowMessage("\"" + typed + "\" does not fit a program word"));
    image.programBuffer[static_cast<size_t>(editor.address)] = *word;
  } else {
    const auto byte = ToInt16(value);
    if (!byte) return Status::Fail(OverflowMessage("\"" + typed + "\" does not fit a data cell"));
    image.dataBuffer[static_cast<size_t>(editor.address)] = *byte;
  }
  return Status::Ok();
}

Result<EditorKeyEffect> EditorKeyPress(WordEditor& editor, MemoryImage& image, const DeviceDescriptor& device,
                                       char key, const std::string& typed) {
  if (key != '+' && key != '-' && key != kEnter) return EditorKeyEffect::kIgnored;
  if (Status stored = EditorStore(editor, image, typed); !stored) return stored;
  if (key == kEnter) return EditorKeyEffect::kStoredNextControl;
  if (key == '+') {
    const int32_t last = editor.target == EditTarget::kProgram ? device.programSize : MemoryImage::kDataSlots - 1;
    if (editor.address < last && editor.address + 1 < MemoryImage::kProgramSlots) ++editor.address;
  } else if (EditorCanStepDown(editor)) {
    --editor.address;
  }
  return EditorKeyEffect::kStepped;
}

bool EditorCanStepDown(const WordEditor& editor) { return editor.address > 0; }

Status Hex16To8(MemoryImage& image, std::span<int16_t> scratch) {
  if (scratch.size() < static_cast<size_t>(kHex16To8Words)) {
    return Status::Fail("HEX16 to 8 needs a scratch table of 8192 words");
  }
  for (size_t k = 0; k < kHex16To8Words; ++k) {
    if (!ToInt16(image.programBuffer[k])) {
      return Status::Fail(OverflowMessage("program word 0x" + HexText(static_cast<int32_t>(k)) + " holds " +
                                          HexText(image.programBuffer[k]) + ", more than 16 bits"));
    }
  }
  for (size_t k = 0; k < kHex16To8Words; ++k) scratch[k] = static_cast<int16_t>(image.programBuffer[k]);
  for (size_t k = 0; k < kHex16To8Words; ++k) {
    const int32_t word = scratch[k];
    image.programBuffer[2 * k] = word & 0xFF;
    image.programBuffer[2 * k + 1] = static_cast<int32_t>(TruncateTowardZero(word / 256.0));
  }
  return Status::Ok();
}

}  // namespace quorvi
