#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// The lower case of an ASCII capital letter; any other byte unchanged. Independent of the locale.
constexpr char toLowerAscii(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// A copy of `text` in ASCII lower case.
inline std::string lowerAscii(BasicStringRef text) {
  std::string lower(text);
  for (char& c : lower) c = toLowerAscii(c);
  return lower;
}

}  // namespace Tal
