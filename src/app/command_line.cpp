// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/command_line.h"

#include <cctype>
#include <filesystem>

namespace quorvi {

namespace {

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& ch : upper) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return upper;
}

bool IsBlank(char ch) { return ch == ' ' || ch == '\t'; }

// The position just after `option` where it starts a word, or npos.
size_t FindOption(const std::string& line, std::string_view option) {
  for (size_t at = line.find(option); at != std::string::npos; at = line.find(option, at + 1)) {
    if (at == 0 || IsBlank(line[at - 1])) return at + option.size();
  }
  return std::string::npos;
}

std::optional<std::string> OptionValue(const std::string& line, std::string_view option) {
  const size_t start = FindOption(line, option);
  if (start == std::string::npos) return std::nullopt;
  size_t end = start;
  while (end < line.size() && !IsBlank(line[end])) ++end;
  return line.substr(start, end - start);
}

}  // namespace

LegacyOptions ParseLegacyOptions(std::string_view commandLine) {
  LegacyOptions options;
  options.upperLine = Upper(commandLine);
  options.quiet = FindOption(options.upperLine, "/Q") != std::string::npos;
  options.device = OptionValue(options.upperLine, "/D:");
  options.file = OptionValue(options.upperLine, "/F:");
  options.write = FindOption(options.upperLine, "/W") != std::string::npos;
  return options;
}

std::string FindPathIgnoringCase(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code ec;
  if (path.empty() || fs::exists(path, ec)) return path;
  const fs::path wanted(path);
  fs::path found = wanted.root_path();
  for (const fs::path& part : wanted.relative_path()) {
    const fs::path exact = found / part;
    if (fs::exists(exact, ec) || part == "." || part == "..") {
      found = exact;
      continue;
    }
    const std::string key = Upper(part.string());
    bool matched = false;
    for (const fs::directory_entry& entry : fs::directory_iterator(found.empty() ? "." : found, ec)) {
      if (Upper(entry.path().filename().string()) == key) {
        found /= entry.path().filename();
        matched = true;
        break;
      }
    }
    if (!matched) return path;  // let the reader report the name as given
  }
  return found.string();
}

}  // namespace quorvi
