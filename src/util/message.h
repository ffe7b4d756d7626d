// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorvi {

enum class MessageIcon { kNone, kInformation, kExclamation, kCritical, kQuestion };

/// A message box as the core asks for it; the front end shows it.
struct UserMessage {
  std::string text;
  std::string title;
  MessageIcon icon = MessageIcon::kNone;
  /// What lies behind the text, such as the values that differ ("expected
  /// 3FFFh, found 0000h"): the text stays the program's own, word for word.
  std::string detail = {};
  bool operator==(const UserMessage&) const = default;

  /// The text with the detail in parentheses: one line for a log or terminal.
  std::string Line() const { return detail.empty() ? text : text + " (" + detail + ")"; }
};

/// The titles of the program's message boxes.
namespace title {
inline constexpr const char* kQuorviError = "Quorvi error";
inline constexpr const char* kQuorvi2Error = "Quorvi 2 error";
inline constexpr const char* kQuorvi2 = "Quorvi 2";
inline constexpr const char* kQuorvi2Alert = "Quorvi 2 Alert";
}  // namespace title

}  // namespace quorvi
