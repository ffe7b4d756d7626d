// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace quorvi {

/// Outcome of an action that returns nothing: success, or a message for the user.
class Status {
 public:
  static Status Ok() { return Status(); }
  static Status Fail(std::string message) { return Status(std::move(message)); }

  bool ok() const { return !message_; }
  explicit operator bool() const { return ok(); }
  /// The message of a failure; empty on success.
  const std::string& message() const {
    static const std::string kNone;
    return message_ ? *message_ : kNone;
  }

 private:
  Status() = default;
  explicit Status(std::string message) : message_(std::move(message)) {}
  std::optional<std::string> message_;
};

/// A value, or the message that says why there is none.
template <typename T>
class Result {
 public:
  Result(T value) : value_(std::move(value)) {}  // NOLINT: implicit on purpose
  Result(Status failure) : failure_(std::move(failure)) {}  // NOLINT

  bool ok() const { return value_.has_value(); }
  explicit operator bool() const { return ok(); }
  T& value() & { return *value_; }
  T&& value() && { return std::move(*value_); }
  const T& value() const& { return *value_; }
  const std::string& message() const { return failure_.message(); }
  Status status() const { return ok() ? Status::Ok() : failure_; }

 private:
  std::optional<T> value_;
  Status failure_ = Status::Ok();
};

}  // namespace quorvi
