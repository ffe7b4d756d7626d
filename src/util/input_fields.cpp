// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/input_fields.h"

#include <algorithm>
#include <string_view>

#include "util/file_check.h"

namespace quorvi {

std::vector<InputField> SplitInputFields(const std::vector<std::string>& lines) {
  std::vector<InputField> fields;
  for (size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    size_t pos = 0;
    do {
      while (pos < line.size() && (line[pos] == ' ' || line[pos] == '\t')) ++pos;
      std::string text;
      if (pos < line.size() && line[pos] == '"') {
        const size_t close = line.find('"', pos + 1);
        text = line.substr(pos + 1, close == std::string::npos ? std::string::npos : close - pos - 1);
        pos = close == std::string::npos ? line.size() : close + 1;
        pos = std::min(line.find(',', pos), line.size());
      } else {
        const size_t comma = std::min(line.find(',', pos), line.size());
        text = line.substr(pos, comma - pos);
        pos = comma;
      }
      fields.push_back({text, i});
      ++pos;  // past the comma, or past the end of the line
    } while (pos <= line.size());
  }
  return fields;
}

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::vector<std::string> SplitTextLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.emplace_back(line);
  }
  return lines;
}

Status ReadTextLines(const std::string& path, std::vector<std::string>& lines) {
  // A FIFO or a device would never end, a huge file would fill the memory.
  const FileContent file = ReadWholeFile(path);
  if (!file.bytes) return Status::Fail(file.problem);
  lines = SplitTextLines(*file.bytes);
  return Status::Ok();
}

}  // namespace quorvi
