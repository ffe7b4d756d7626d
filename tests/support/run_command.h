// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorvi::test {

struct CommandOutput {
  int exitCode = -1;  // the shell's status: 128 + N when killed by signal N
  std::string out;    // standard output only
};

/// Runs `command` through /bin/sh and collects its standard output.
CommandOutput RunCommand(const std::string& command);

/// Shell text that waits until a program started in the background has
/// made its trace t.vcd: its signal handlers are in place just after.
inline constexpr const char* kAfterTraceStarts =
    "for i in $(seq 200); do [ -e t.vcd ] && break; sleep 0.05; done; sleep 0.2; ";

/// True when `program` is found on the PATH.
bool HaveProgram(const std::string& program);

}  // namespace quorvi::test
