// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorvi::test {

/// The fields of one catalogue device line, put in their columns.
struct DeviceLineFields {
  std::string kind = "PIC";
  std::string name = "16F84";
  std::string programSize = "03FF";  // hex, columns 17-20
  std::string dataBytes = "0040";    // hex, columns 25-28
  std::string family = "1";          // columns 33-36
  std::string fuseMap = "1";         // columns 41-44
  std::string writeMode = "0";       // column 50
  std::string pins = "18";           // columns 57-58
  std::string oscList = "1";         // columns 65-66
  std::string wrtList = "0";         // columns 70-71
  std::string page = "";             // columns 74-75 (also the start of Vdd min)
  std::string vddMin = "";           // columns 74-76, only on lines longer than 78
  std::string vddMax = "";           // columns 79-81
};

/// The line, padded with blanks only as far as its last field needs.
inline std::string DeviceLine(const DeviceLineFields& f) {
  std::string line = f.kind + f.name + " ";
  const auto put = [&line](size_t column, const std::string& text) {
    if (text.empty()) return;
    if (line.size() < column - 1 + text.size()) line.resize(column - 1 + text.size(), ' ');
    line.replace(column - 1, text.size(), text);
  };
  put(17, f.programSize);
  put(25, f.dataBytes);
  put(33, f.family);
  put(41, f.fuseMap);
  put(50, f.writeMode);
  put(57, f.pins);
  put(65, f.oscList);
  put(70, f.wrtList);
  put(74, f.page);
  put(74, f.vddMin);
  put(79, f.vddMax);
  return line;
}

}  // namespace quorvi::test
