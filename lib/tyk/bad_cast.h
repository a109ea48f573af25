#pragma once

#include <core/string_ref.h>

#include <exception>
#include <optional>
#include <string>

namespace tyk {

/// A value cannot be cast to the requested type; its target is unchanged.
class BadCast : public std::exception {
 public:
  /// `from` and `to` name the types; `value` is the value as text, if there is one.
  BadCast(Tal::BasicStringRef from, Tal::BasicStringRef to, std::optional<Tal::BasicStringRef> value);

  const std::string& from() const noexcept { return from_; }
  const std::string& to() const noexcept { return to_; }

  /// One line: 'cannot convert the string "12abc" to int32'. Control characters are escaped, a very long
  /// value is shortened.
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string from_;
  std::string to_;
  std::string text_;
};

}  // namespace tyk
