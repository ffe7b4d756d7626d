// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/shell.h"

#include "hw/disconnected_port.h"
#include "image/device_image.h"
#include "util/arith.h"

namespace quorvi {

namespace {

constexpr long kLpt1 = 0x378;
constexpr long kLpt2 = 0x278;

Status WritePortAndMode(const AppState& state) {
  return WriteSettings(state.paths.Settings(), state.settings, SettingsExtent::kThroughWorkingDirectory);
}

}  // namespace

Status LoadSettingsInto(AppState& state, const std::string& userHome) {
  Result<Settings> loaded = LoadSettings(state.paths.Settings(), userHome);
  if (!loaded) return loaded.status();
  state.settings = loaded.value();
  return Status::Ok();
}

void PutProgrammerAtRest(AppState& state) {
  state.link.SetProgrammingVoltage(kFalse, state.device.pinCount, state.device.rules.calibrationBlock);
  state.link.SetVdd("off");
}

Result<SelectionView> SelectAndRemember(AppState& state, const CatalogueText& catalogue, const std::string& name,
                                        bool keepImage) {
  Result<SelectionView> view = SelectDevice(catalogue, name, state.device, state.image, keepImage);
  if (!view) return view;
  state.blankWord = view.value().blankWord;
  state.settings.deviceName = view.value().deviceName;
  if (Status saved = WriteSettings(state.paths.Settings(), state.settings, SettingsExtent::kThroughDevice); !saved) {
    return saved;
  }
  return view;
}

Status ChoosePort(AppState& state, PortEntry entry, const PortOpener& open) {
  state.settings.portEntry = entry;
  state.settings.port = entry == PortEntry::kLpt1 ? kLpt1 : entry == PortEntry::kLpt2 ? kLpt2
                                                                                       : state.settings.customPort;
  Status saved = WritePortAndMode(state);
  Result<std::unique_ptr<PortDriver>> driver = open(state.settings.port);
  if (!driver) {
    state.link.SetDriver(std::make_unique<DisconnectedPort>(driver.message()));
    return driver.status();
  }
  state.link.SetDriver(std::move(driver).value());
  return saved;
}

Status ChangeCustomAddress(AppState& state, const std::string& answer, const PortOpener& open) {
  const std::optional<int16_t> address = ToInt16(HexVal(answer));
  if (!address || *address == 0) return Status::Ok();
  state.settings.customPort = *address;
  state.settings.port = *address;
  state.settings.portEntry = PortEntry::kCustom;
  if (Status saved = WritePortAndMode(state); !saved) return saved;
  return ChoosePort(state, PortEntry::kCustom, open);
}

std::string CustomPortCaption(const Settings& settings) {
  return "LPT? on " + HexText(static_cast<int32_t>(settings.customPort)) + "h";
}

Status ChooseMode(AppState& state, const std::string& mode) {
  state.settings.mode = mode;
  Status saved = WritePortAndMode(state);
  state.link.SetOutputByte(0x3C);
  state.link.SetVdd("off");
  if (Status reset = state.link.SetVddLevel(5.0F); !reset) return reset;
  return saved;
}

Status ChooseLegacyFiles(AppState& state, bool on) {
  state.settings.legacyFiles = on;
  return WritePortAndMode(state);
}

std::optional<UserMessage> EnterVddMargin(AppState& state, bool maximum, std::string answer) {
  if (answer.size() == 1) answer += ".0";
  const double value = VbVal(answer);
  if (value >= 10.0) return UserMessage{kVoltageTooHigh, title::kQuorvi2, MessageIcon::kCritical};
  // A negative level cannot be reached by the board's counter: refused like 0.
  if (value <= 0.0) return UserMessage{kWrongValue, title::kQuorvi2, MessageIcon::kNone};
  (maximum ? state.device.vddMax : state.device.vddMin) = static_cast<float>(value);
  if (Status saved = WriteSettings(state.paths.Settings(), state.settings, SettingsExtent::kThroughVddMargins,
                                   state.device.vddMin, state.device.vddMax);
      !saved) {
    return UserMessage{saved.message(), title::kQuorvi2Error, MessageIcon::kCritical};
  }
  return std::nullopt;
}

std::optional<UserMessage> NoPortMessage(AppState& state) {
  const std::optional<std::string> reason = state.link.driver().NotConnectedReason();
  if (!reason) return std::nullopt;
  // Run against nothing, the compare and blank check would blame the chip.
  return UserMessage{.text = "No port is open, so the command was not run: " + *reason,
                     .title = title::kQuorvi2Error,
                     .icon = MessageIcon::kExclamation,
                     .detail = "Choose a port in the Config menu, or start the program with --port sim "
                               "to work with the simulated board."};
}

void EndSession(AppState& state) {
  // Vpp goes before Vdd: no chip's programming document allows MCLR at Vpp without a supply.
  PutProgrammerAtRest(state);
}

}  // namespace quorvi
