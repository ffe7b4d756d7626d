// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/device_image.h"

#include "device/config18.h"
#include "device/fuses.h"

namespace quorvi {

static_assert(MemoryImage::kConfig18Bytes == kConfig18Registers);

Result<SelectionView> SelectDevice(const CatalogueText& catalogue, std::string_view name, DeviceDescriptor& device,
                                   MemoryImage& image, bool keepImage) {
  Result<SelectionView> chosen = ChooseDevice(catalogue, name, device);
  if (!chosen) return chosen;
  SelectionView& view = chosen.value();
  if (!keepImage) ResetImageOnSelection(device, image);
  const int oscEntries = view.oscillatorList ? static_cast<int>(view.oscillatorList->entries.size()) : 0;
  view.config = ShowConfigWord(device, image.configWord, image.idWords, oscEntries);
  return chosen;
}

std::optional<uint8_t> Config18ByteToWrite(const DeviceDescriptor& device, const MemoryImage& image, int offset) {
  if (Config18ImplementedBits(device, offset) == 0) return std::nullopt;
  return image.config18Bytes[static_cast<size_t>(offset)];
}

}  // namespace quorvi
