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

/// True when `program` is found on the PATH.
bool HaveProgram(const std::string& program);

}  // namespace quorvi::test
