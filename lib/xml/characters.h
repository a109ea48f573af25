#pragma once

#include <core/string_ref.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace Tal::xml {

/// Which characters XML knows. Names are judged by their ASCII characters alone: which others they may hold
/// is left to the parser for all of XML.

/// Whether an ASCII character can begin a name.
constexpr bool isAsciiNameStart(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

/// Whether an ASCII character can stand in a name.
constexpr bool isAsciiNamePart(char c) noexcept {
  return isAsciiNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

/// Whether a byte of UTF-8 can stand in a name, or is of a character that perhaps can.
constexpr bool isPerhapsNamePart(char c) noexcept {
  return isAsciiNamePart(c) || static_cast<unsigned char>(c) >= 0x80;
}

/// Whether XML can hold the character of a code, itself or by a reference to it.
constexpr bool isCharacter(std::uint32_t code) noexcept {
  if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  return code <= 0x10FFFF && !isSurrogate && code != 0xFFFE && code != 0xFFFF;
}

/// An entity that every document has without declaring it.
struct BuiltInEntity {
  BasicStringRef reference;
  char character;

  constexpr BasicStringRef name() const noexcept { return reference.substr(1, reference.size() - 2); }
};

constexpr std::array<BuiltInEntity, 5> kBuiltInEntities = {
    {{"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}}};

/// The built-in entity of a name; null when there is none.
constexpr const BuiltInEntity* findBuiltInEntity(BasicStringRef name) noexcept {
  const auto* const found = std::find_if(kBuiltInEntities.begin(), kBuiltInEntities.end(),
                                         [name](const BuiltInEntity& one) { return one.name() == name; });
  return found == kBuiltInEntities.end() ? nullptr : found;
}

}  // namespace Tal::xml
