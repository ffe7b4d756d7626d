// SPDX-License-Identifier: GPL-3.0-or-later
// Choosing a device: its record and the shape of the window for it. The
// window applies the description; every rule is here.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "device/catalogue.h"
#include "device/device_descriptor.h"
#include "device/fuses.h"
#include "util/message.h"
#include "util/result.h"

namespace quorvi {

inline constexpr const char* kFutureProductText = "Future product, not implemented yet";

/// A fuse frame: shown at `top`, or hidden.
struct FrameLayout {
  std::string name;
  bool visible = false;
  int top = 0;  // only meaningful when visible
  bool operator==(const FrameLayout&) const = default;
};

/// A button of a fuse frame: the name ApplyFuseButton takes and its caption.
struct FuseFrameButton {
  const char* name = nullptr;
  const char* caption = nullptr;
};

/// A frame of fuse buttons in the window, in the window's order.
struct FuseFrame {
  const char* frame;
  const char* caption;
  /// The fuse whose mask shows the frame.
  const char* fuse;
  /// How far a shown frame moves the next one down.
  int step;
  /// Unused buttons have no name.
  std::array<FuseFrameButton, 4> buttons;
};

std::span<const FuseFrame> FuseFrames();

/// What the window shows for the selected device. Optional fields are left
/// as they were when empty.
struct SelectionView {
  std::string deviceName;
  int32_t blankWord = 0x3FFF;
  std::optional<VddCaptions> vddCaptions;  // panelMin / panelMax

  bool frame18Visible = false;
  bool mnuSQTPEnabled = true;
  bool mnuSQTPUnchecked = false;  // serial EEPROMs take the check mark off
  bool txtFusesVisible = true;
  bool chkTurboVisible = true;
  bool chkEraseVisible = false;
  bool cmdHex16to8Visible = false;
  bool cmdFillVisible = false;
  bool calibrationMenusEnabled = false;  // mnuLoadCal, mnuSaveCal
  std::optional<UserMessage> message;
  bool frameIDVisible = false;
  bool frameOSC1Visible = false;
  std::optional<OptionList> oscillatorList;   // cmbOSC
  std::optional<std::string> calibrationText;  // txtCal shown with this text
  bool dataListVisible = false;                // MList2 and opEEdata
  std::vector<FrameLayout> frames;
  std::optional<OptionList> writeProtectionList;  // cmbWRT
  bool chkTestBlankVisible = true;
  bool cmdWriteFuseVisible = true;
  ConfigDisplay config;  // filled where the image is known
  /// The socket picture to show; "" clears it.
  std::optional<std::string> socketPicture;
};

/// Chooses device `name` from `catalogue`: fills
/// `device` and describes the window but for `config`, which shows the image
/// (image/device_image.h selects both). On failure `device` is left as it was.
Result<SelectionView> ChooseDevice(const CatalogueText& catalogue, std::string_view name, DeviceDescriptor& device);

/// The list entry to preselect when the device list opens: the first entry
/// after index 0 whose trimmed text is `current`; index 0 is never examined.
std::optional<int> DeviceListIndex(const std::vector<std::string>& entries, std::string_view current);

}  // namespace quorvi
