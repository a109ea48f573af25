#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Tal {

/// A character of a text in UTF-8.
struct Utf8Character {
  std::uint32_t code;  ///< its Unicode code point, no surrogate
  std::size_t length;  ///< in bytes
};

/// The first character of a text that is not empty; empty when the text does not begin with well-formed
/// UTF-8.
std::optional<Utf8Character> firstCharacter(BasicStringRef text) noexcept;

/// Appends the character of a code point that is no surrogate.
void appendCharacter(std::uint32_t code, std::string& text);

/// Whether a byte continues a character that another one began.
constexpr bool isContinuationByte(char byte) noexcept {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

}  // namespace Tal
