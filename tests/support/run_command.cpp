// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/run_command.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>

namespace quorvi::test {

CommandOutput RunCommand(const std::string& command) {
  CommandOutput result;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  std::array<char, 4096> buffer{};
  size_t got = 0;
  while ((got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) result.out.append(buffer.data(), got);
  const int status = pclose(pipe);
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  return result;
}

bool HaveProgram(const std::string& program) {
  return RunCommand("command -v " + program + " >/dev/null 2>&1").exitCode == 0;
}

}  // namespace quorvi::test
