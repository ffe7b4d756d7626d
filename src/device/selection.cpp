// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/selection.h"

#include <array>

#include "util/input_fields.h"

namespace quorvi {

namespace {

struct FrameRule {
  const char* frame;
  const char* fuse;
  int step;
};

// The order, the fuse each frame is tested by, and how far it moves the
// next one down. frameCP0 is tested by "WDTE" and frameDebug by "BKD", as
// the window always did.
constexpr std::array<FrameRule, 12> kFrameRules{{
    {"frameWDTE", "WDTE", 320},
    {"framePWRTE", "PWRTE", 320},
    {"frameMCLRE", "MCLRE", 320},
    {"frameCP0", "WDTE", 320},
    {"frameCP1", "CP1", 320},
    {"frameBoden", "BODEN", 320},
    {"frameBodenV", "BORV0", 320},
    {"frameMPEEN", "MPEEN", 320},
    {"frameDebug", "BKD", 330},
    {"frameWRT", "WRT", 340},
    {"frameCPD", "CPD", 320},
    {"frameLVP", "LVP", 320},
}};

constexpr int kFramesTopWithOscillator = 1200;

bool StartsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

std::optional<std::string> SocketPicture(const std::string& name, int pinCount) {
  if (name == "14000") return "imgSoq14000";
  switch (pinCount) {
    case 8: return "imgSoq8novo";
    case 14: return "imgSoq14";
    case 18: return "imgSoq18";
    case 28: return "imgSoq28";
    case 40: return "imgSoq40";
    default: return std::nullopt;
  }
}

}  // namespace

std::optional<int> DeviceListIndex(const std::vector<std::string>& entries, std::string_view current) {
  for (size_t i = 1; i < entries.size(); ++i) {
    if (TrimBlanks(entries[i]) == current) return static_cast<int>(i);
  }
  return std::nullopt;
}

Result<SelectionView> ChooseDevice(const std::string& cataloguePath, std::string_view name, DeviceDescriptor& device) {
  DeviceDescriptor chosen = device;
  SelectionView view;
  view.deviceName = TrimBlanks(name);
  Result<std::optional<VddCaptions>> record = LoadDeviceRecord(cataloguePath, view.deviceName, chosen);
  if (!record) return record.status();
  view.vddCaptions = record.value();
  const std::string& deviceName = view.deviceName;
  const int code = chosen.family;
  const bool eeprom = code == family::kSerialEeprom;

  view.frame18Visible = StartsWith(deviceName, "18F");
  view.mnuSQTPEnabled = !eeprom;
  view.mnuSQTPUnchecked = eeprom;
  view.txtFusesVisible = !eeprom;
  view.cmdHex16to8Visible = eeprom;
  view.blankWord = SelectionBlankWord(code);
  view.calibrationMenusEnabled = deviceName == "14000";
  // Serial EEPROMs hide the turbo option first and show it again here: the later rule wins.
  view.chkTurboVisible = !IsFlash14(code);
  view.chkEraseVisible = IsFlash14(code);

  if (code == family::kFuture) {
    view.message = UserMessage{kFutureProductText, title::kQuorvi2, MessageIcon::kInformation};
    view.socketPicture = "";
    chosen.programSize = 0;
  }

  if (Status map = LoadFuseMap(cataloguePath, chosen.fuseMap, chosen); !map) return map;

  const bool hasOscillator = chosen.oscList >= 1;
  view.frameIDVisible = hasOscillator;
  view.frameOSC1Visible = hasOscillator;
  int position = hasOscillator ? kFramesTopWithOscillator : 0;

  if (!eeprom && chosen.programSize != 0) {
    Result<OptionList> oscillators = FillOptionList(cataloguePath, std::to_string(chosen.oscList) + "OSC");
    if (!oscillators) return oscillators.status();
    view.oscillatorList = oscillators.value();
  }

  if (StartsWith(deviceName, "16F87") || chosen.fuseMap == 21) view.calibrationText = " R=";
  view.cmdFillVisible = IsFlash14(code) || code == family::kSerialEeprom || code == family::kPic18;
  view.dataListVisible = code == 1 || code == 8 || code == 9;

  for (const FrameRule& rule : kFrameRules) {
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
    Result<OptionList> protections = FillOptionList(cataloguePath, std::to_string(chosen.wrtList) + "WRT");
    if (!protections) return protections.status();
    view.writeProtectionList = protections.value();
  }

  view.chkTestBlankVisible = !eeprom;
  view.cmdWriteFuseVisible = !eeprom;

  if (!eeprom) {
    if (std::optional<std::string> picture = SocketPicture(deviceName, chosen.pinCount)) view.socketPicture = picture;
  }

  device = chosen;
  return view;
}

}  // namespace quorvi
