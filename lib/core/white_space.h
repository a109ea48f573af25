#pragma once

#include <core/string_ref.h>

namespace Tal {

/// Whether a byte is white space in XML: space, tab, line feed or carriage return.
constexpr bool isSpace(char c) noexcept {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// `text` without surrounding white space.
inline BasicStringRef trimmed(BasicStringRef text) noexcept {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace Tal
