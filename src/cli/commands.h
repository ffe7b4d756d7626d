// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

/// Prints the failure and returns 1.
int Fail(const std::string& message);

}  // namespace quorvi::cli
