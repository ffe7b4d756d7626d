// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/catalogue_lines.h"

namespace quorvi::test {

namespace {

void Put(std::string& line, size_t column, const std::string& text) {
  if (text.empty()) return;
  if (line.size() < column - 1 + text.size()) line.resize(column - 1 + text.size(), ' ');
  line.replace(column - 1, text.size(), text);
}

}  // namespace

std::string DeviceLine(const DeviceLineFields& f) {
  std::string line = f.kind + f.name + " ";
  Put(line, 17, f.programSize);
  Put(line, 25, f.dataBytes);
  Put(line, 33, f.family);
  Put(line, 41, f.fuseMap);
  Put(line, 50, f.writeMode);
  Put(line, 57, f.pins);
  Put(line, 65, f.oscList);
  Put(line, 70, f.wrtList);
  Put(line, 74, f.page);
  if (!f.vddMin.empty() || !f.vddMax.empty()) {
    Put(line, 74, f.vddMin);
    Put(line, 79, f.vddMax);
  }
  return line;
}

}  // namespace quorvi::test
