#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// A name that is stored once per process, so that copying and comparing take a pointer. Usable on any
/// thread.
class interned_string {
 public:
  /// The empty name.
  interned_string();
  explicit interned_string(BasicStringRef text);

  /// The text; valid until the process ends.
  const std::string& getString() const noexcept { return *text_; }

  friend bool operator==(const interned_string& a, const interned_string& b) noexcept {
    return a.text_ == b.text_;
  }

 private:
  const std::string* text_;
};

}  // namespace Tal
