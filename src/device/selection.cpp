// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/selection.h"

#include <array>

#include "util/input_fields.h"

namespace quorvi {

namespace {

// The order, the fuse each frame is tested by, and how far it moves the
// next one down. frameCP0 is tested by "WDTE" and frameDebug by "BKD", as
// the window always did. The buttons' names are those ApplyFuseButton takes.
constexpr std::array<FuseFrame, 12> kFuseFrames{{
    {"frameWDTE", "Watchdog", "WDTE", 320, {{{"WDT_ON", "ON"}, {"WDT_OFF", "OFF"}}}},
    {"framePWRTE", "Power-up timer", "PWRTE", 320, {{{"PWRTE_ON", "ON"}, {"PWRTE_OFF", "OFF"}}}},
    {"frameMCLRE", "MCLR", "MCLRE", 320, {{{"MCLRE_EXT", "External"}, {"MCLRE_INT", "Internal"}}}},
    {"frameCP0", "Code protection", "WDTE", 320, {{{"CP0_ON", "ON"}, {"CP0_OFF", "OFF"}}}},
    {"frameCP1", "Code protection 1", "CP1", 320, {{{"CP1_ON", "ON"}, {"CP1_OFF", "OFF"}}}},
    {"frameBoden", "Brown-out reset", "BODEN", 320, {{{"BODEN_ON", "ON"}, {"BODEN_OFF", "OFF"}}}},
    {"frameBodenV", "Brown-out volts", "BORV0", 320,
     {{{"op25", "2.5"}, {"op27", "2.7"}, {"op42", "4.2"}, {"op45", "4.5"}}}},
    {"frameMPEEN", "Memory parity", "MPEEN", 320, {{{"MPEEN_ON", "ON"}, {"MPEEN_OFF", "OFF"}}}},
    {"frameDebug", "Debugger", "BKD", 330, {{{"DEBUG_ON", "ON"}, {"DEBUG_OFF", "OFF"}}}},
    {"frameWRT", "Write protection", "WRT", 340, {}},  // a list: cmbWRT
    {"frameCPD", "Data protection", "CPD", 320, {{{"CPD_ON", "ON"}, {"CPD_OFF", "OFF"}}}},
    {"frameLVP", "Low-voltage prog.", "LVP", 320, {{{"LVP_ON", "ON"}, {"LVP_OFF", "OFF"}}}},
}};

constexpr int kFramesTopWithOscillator = 1200;

std::optional<std::string> SocketPicture(const DeviceDescriptor& device) {
  if (device.rules.calibrationBlock) return "imgSoq14000";
  switch (device.pinCount) {
    case 8: return "imgSoq8novo";
    case 14: return "imgSoq14";
    case 18: return "imgSoq18";
    case 28: return "imgSoq28";
    case 40: return "imgSoq40";
    default: return std::nullopt;
  }
}

}  // namespace

std::span<const FuseFrame> FuseFrames() { return kFuseFrames; }

std::optional<int> DeviceListIndex(const std::vector<std::string>& entries, std::string_view current) {
  for (size_t i = 1; i < entries.size(); ++i) {
    if (TrimBlanks(entries[i]) == current) return static_cast<int>(i);
  }
  return std::nullopt;
}

Result<SelectionView> ChooseDevice(const CatalogueText& catalogue, std::string_view name, DeviceDescriptor& device) {
  DeviceDescriptor chosen = device;
  SelectionView view;
  view.deviceName = TrimBlanks(name);
  Result<std::optional<VddCaptions>> record = LoadDeviceRecord(catalogue, view.deviceName, chosen);
  if (!record) return record.status();
  view.vddCaptions = record.value();
  const FamilyTraits& family = chosen.traits();
  const bool eeprom = family.core == Core::kSerialEeprom;

  view.frame18Visible = chosen.rules.shows18FFrame;
  view.mnuSQTPEnabled = !eeprom;
  view.mnuSQTPUnchecked = eeprom;
  view.txtFusesVisible = !eeprom;
  view.cmdHex16to8Visible = eeprom;
  view.blankWord = family.configBlankWord;
  view.calibrationMenusEnabled = chosen.rules.calibrationBlock;
  // Serial EEPROMs hide the turbo option first and show it again here: the later rule wins.
  view.chkTurboVisible = !family.flash14;
  view.chkEraseVisible = family.flash14;

  if (chosen.family == Family::kFuture) {
    view.message = UserMessage{kFutureProductText, title::kQuorvi2, MessageIcon::kInformation};
    view.socketPicture = "";
    chosen.programSize = 0;
  }

  if (Status map = LoadFuseMap(catalogue, chosen.fuseMap, chosen); !map) return map;

  const bool hasOscillator = chosen.oscList >= 1;
  view.frameIDVisible = hasOscillator;
  view.frameOSC1Visible = hasOscillator;
  int position = hasOscillator ? kFramesTopWithOscillator : 0;

  if (!eeprom && chosen.programSize != 0) {
    Result<OptionList> oscillators = FillOptionList(catalogue, std::to_string(chosen.oscList) + "OSC");
    if (!oscillators) return oscillators.status();
    view.oscillatorList = oscillators.value();
  }

  if (chosen.rules.showsRevisionCaption) view.calibrationText = " R=";
  view.cmdFillVisible = family.erasable;
  view.dataListVisible = family.dataListShown;

  for (const FuseFrame& rule : kFuseFrames) {
    int16_t mask = FuseMask(chosen, rule.fuse);
    if (std::string_view(rule.frame) == "frameWRT" && mask == 0) mask = FuseMask(chosen, "WRT1");
    FrameLayout frame{rule.frame, mask != 0, 0};
    if (frame.visible) {
      frame.top = position;
      position += rule.step;
    }
    view.frames.push_back(frame);
  }

  if (FuseMask(chosen, "WRT") != 0) {
    view.writeProtectionList = OptionList{{"ON", "OFF"}, -1};
  } else if (FuseMask(chosen, "WRT1") != 0) {
    Result<OptionList> protections = FillOptionList(catalogue, std::to_string(chosen.wrtList) + "WRT");
    if (!protections) return protections.status();
    view.writeProtectionList = protections.value();
  }

  view.chkTestBlankVisible = !eeprom;
  view.cmdWriteFuseVisible = !eeprom;

  if (!eeprom) {
    if (std::optional<std::string> picture = SocketPicture(chosen)) view.socketPicture = picture;
  }

  device = chosen;
  return view;
}

}  // namespace quorvi
