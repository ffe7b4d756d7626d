// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/cli_session.h"

namespace quorvi::cli {

/// Each command returns the process exit status: 0 on success.
int ListDevices(const std::string& cataloguePath);
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

/// A fuse edit: a fuse name with on or off, as NAME=on.
struct FuseSetting {
  std::string fuse;
  bool on = false;
};
/// Edits the configuration word by fuse name (and oscillator entry, and
/// brown-out level 25/27/42/45), then writes it with "Write fuses".
int WriteFuses(CliSession& session, const std::vector<std::string>& settings, std::optional<int> oscillator,
               std::optional<std::string> word, std::optional<std::string> brownOut);

/// Prints the failure and returns 1.
int Fail(const std::string& message);

}  // namespace quorvi::cli
