// A value or an error message: how core modules report failure without exceptions.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace velto {

struct Error {
  std::string message;
};

template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : state_(std::move(value)) {}      // NOLINT: implicit by design
  Result(Error error) : state_(std::move(error)) {}  // NOLINT

  bool ok() const { return std::holds_alternative<T>(state_); }
  explicit operator bool() const { return ok(); }

  const T& value() const& { return std::get<T>(state_); }
  T& value() & { return std::get<T>(state_); }
  T&& value() && { return std::get<T>(std::move(state_)); }
  const T& operator*() const& { return value(); }
  T& operator*() & { return value(); }
  const T* operator->() const { return &value(); }
  T* operator->() { return &value(); }

  const std::string& error() const { return std::get<Error>(state_).message; }

  std::optional<T> toOptional() && {
    if (!ok()) return std::nullopt;
    return std::move(*this).value();
  }

 private:
  std::variant<T, Error> state_;
};

// Success or an error message, for operations without a value.
class [[nodiscard]] Status {
 public:
  Status() = default;
  Status(Error error) : error_(std::move(error.message)) {}  // NOLINT: implicit by design
  static Status success() { return Status(); }

  bool ok() const { return !error_.has_value(); }
  explicit operator bool() const { return ok(); }
  const std::string& error() const { return *error_; }

 private:
  std::optional<std::string> error_;
};

}  // namespace velto
