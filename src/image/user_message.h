// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorvi {

/// The icon of a message box.
enum class MessageIcon { kNone, kInformation, kExclamation, kCritical, kQuestion };

/// A message for the user, returned as a value for a front end to show.
/// An empty title means the application's own title.
struct UserMessage {
  std::string text;
  std::string title;
  MessageIcon icon = MessageIcon::kNone;

  bool operator==(const UserMessage&) const = default;
};

}  // namespace quorvi
