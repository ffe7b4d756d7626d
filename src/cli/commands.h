// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/cli_session.h"

namespace quorvi::cli {

/// The exit statuses besides 0 and 128 + a signal.
inline constexpr int kOperationFailed = 1;
inline constexpr int kUsageError = 2;

/// Each command returns the process exit status: 0 on success.
int ListDevices(const std::string& cataloguePath);
/// The catalogue's name for a typed one: the same but for case, else a
/// failure naming the nearest (and any catalogue line left out).
Result<std::string> CatalogueName(const CatalogueText& catalogue, const std::string& typed);
int ShowDeviceInfo(const std::string& cataloguePath, const std::string& name);
int ShowListing(CliSession& session, const std::string& file);
int ConvertImage(CliSession& session, const std::string& in, const std::string& out);
int PowerCycle(CliSession& session);
int ListPorts();
/// The legacy options after first activation: "/D:", "/F:", "/W", "/Q".
int RunLegacyOptions(CliSession& session);

/// Loads an image file as "Load Hex" does and shows what it reports;
/// false when it did not load.
bool OpenImage(CliSession& session, const std::string& path);

/// "Read": the chip into the image, saved as HEX when `out` is given.
int ReadChip(CliSession& session, const std::string& out);
int BlankCheck(CliSession& session);
/// Loads `file` and writes it into the chip (verifying it as the write does).
int WriteChip(CliSession& session, const std::string& file);
/// Loads `file` and compares the chip with it.
int VerifyChip(CliSession& session, const std::string& file);
int EraseChip(CliSession& session, bool blankCalibration);

/// The fuses command's options; none given: only show.
struct FuseEdit {
  std::vector<std::string> settings;  // NAME=on|off
  std::optional<int> oscillator;      // entry of the device's list
  std::optional<std::string> word;    // hex: start from it instead of the blank word
  std::optional<std::string> brownOut;  // 25, 27, 42 or 45
  bool any() const { return !settings.empty() || oscillator || word || brownOut; }
};
/// Without an edit, reads the chip's configuration and shows it by name;
/// with one, edits the word by fuse name and writes it with "Write fuses".
int Fuses(CliSession& session, const FuseEdit& edit);

/// Prints the failure and returns kOperationFailed.
int Fail(const std::string& message);
/// Prints the mistake and returns kUsageError.
int UsageError(const std::string& message);

}  // namespace quorvi::cli
