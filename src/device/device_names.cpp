// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/device_names.h"

#include <algorithm>
#include <cctype>

#include "util/input_fields.h"

namespace quorvi {

namespace {

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

}  // namespace

std::vector<std::string> NearestDeviceNames(const std::vector<std::string>& names, const std::string& typed,
                                            size_t count) {
  const std::string wanted = Upper(std::string(TrimBlanks(typed)));
  // Part names differ from their neighbours by a digit or two; more is no slip.
  const size_t limit = std::max<size_t>(2, wanted.size() / 3);
  // At one distance, the names that go on from what was typed come first.
  struct Ranked {
    size_t distance;
    bool extends;
    std::string name;
  };
  std::vector<Ranked> ranked;
  for (const std::string& entry : names) {
    const std::string name(TrimBlanks(entry));
    const std::string upper = Upper(name);
    const size_t distance = EditDistance(wanted, upper);
    if (distance <= limit) ranked.push_back({distance, upper.starts_with(wanted), name});
  }
  std::stable_sort(ranked.begin(), ranked.end(), [](const Ranked& a, const Ranked& b) {
    return a.distance != b.distance ? a.distance < b.distance : a.extends && !b.extends;
  });
  std::vector<std::string> nearest;
  for (size_t i = 0; i < ranked.size() && i < count; ++i) nearest.push_back(ranked[i].name);
  return nearest;
}

Result<std::string> ExactDeviceName(const std::vector<std::string>& names, const std::string& typed) {
  const std::string wanted = Upper(std::string(TrimBlanks(typed)));
  for (const std::string& entry : names) {
    const std::string name(TrimBlanks(entry));
    if (Upper(name) == wanted) return name;
  }
  std::string message = "no device is named \"" + typed + "\"";
  const std::vector<std::string> nearest = NearestDeviceNames(names, typed);
  for (size_t i = 0; i < nearest.size(); ++i) message += (i == 0 ? "; nearest: " : ", ") + nearest[i];
  return Status::Fail(message);
}

}  // namespace quorvi
