// SPDX-License-Identifier: GPL-3.0-or-later
// The application shell's commands that are not device operations:
// start-up, the port and mode menus, the supply margins, the end.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/app_state.h"
#include "device/selection.h"
#include "hw/port_driver.h"
#include "util/message.h"
#include "util/result.h"

namespace quorvi {

inline constexpr const char* kPortInitTitle = "Inicialização da porta";
inline constexpr const char* kPortInitText = "O driver retornou o valor ";
inline constexpr const char* kNewPortPrompt = "Enter new porta address (hex format)";
inline constexpr const char* kVddMinPrompt = "Enter the new VDD Min";
inline constexpr const char* kVddMaxPrompt = "Enter the new VDD Max";
inline constexpr const char* kVoltageTooHigh = "Voltage to high";
inline constexpr const char* kWrongValue = "wrong value";

/// Reads the settings file into the state (creating it when missing); the
/// working directory defaults to the user's home folder.
Status LoadSettingsInto(AppState& state, const std::string& userHome);

/// The programmer at rest: programming voltage off, supply off, lines low.
void PutProgrammerAtRest(AppState& state);

/// Selects a device from `catalogue` as the device panel does: the record,
/// the blank image (unless kept), and the settings file rewritten (lines 1-3).
Result<SelectionView> SelectAndRemember(AppState& state, const CatalogueText& catalogue, const std::string& name,
                                        bool keepImage);

/// Opens the port at a base address; the front end decides how (and traces).
using PortOpener = std::function<Result<std::unique_ptr<PortDriver>>(long base)>;

/// `mnuLpt1`, `mnuLpt2`, `mnuLpt`: the port moves and the settings file is
/// rewritten (lines 1-4). A port that cannot be opened is reported and the
/// lines go nowhere until another is chosen.
Status ChoosePort(AppState& state, PortEntry entry, const PortOpener& open);

/// `mnuchangeadd` with the typed answer: read as 16-bit hex; 0 changes nothing.
Status ChangeCustomAddress(AppState& state, const std::string& answer, const PortOpener& open);

/// "LPT? on " and the custom address in hex with "h".
std::string CustomPortCaption(const Settings& settings);

/// `mnuProt` / `mnuProd`: the mode, the settings file (lines 1-4), then the
/// programmer reset: port 3Ch, supply off, the supply level back to 5.0 V.
Status ChooseMode(AppState& state, const std::string& mode);

/// "Legacy file format": image files as our earlier versions read and wrote
/// them, kept in the settings file.
Status ChooseLegacyFiles(AppState& state, bool on);

/// `panelMin` / `panelMax` with the typed answer. A message when refused.
std::optional<UserMessage> EnterVddMargin(AppState& state, bool maximum, std::string answer);

/// What a device command shows instead of running when the lines go to no
/// port (the port failed to open at start or at the last port choice): the
/// reason, and what to do. Nothing when a port is open.
std::optional<UserMessage> NoPortMessage(AppState& state);

/// The orderly end: supply off, programming mode left.
void EndSession(AppState& state);

}  // namespace quorvi
