#include <core/utf8.h>

#include <array>

namespace Tal {
namespace {

std::uint32_t byteAt(BasicStringRef text, std::size_t place) noexcept {
  return static_cast<unsigned char>(text[place]);
}

/// How many bytes a character has that begins with a byte above 0x7F; 0 when none begins so.
std::size_t lengthByLead(std::uint32_t lead) noexcept {
  if (lead < 0xC2 || lead > 0xF4) return 0;
  if (lead < 0xE0) return 2;
  return lead < 0xF0 ? 3 : 4;
}

/// Whether a code that takes so many bytes is written as short as it can be, and is a character.
bool isWellFormed(std::uint32_t code, std::size_t length) noexcept {
  constexpr std::array<std::uint32_t, 3> kSmallest = {0x80, 0x800, 0x10000};
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  return code >= kSmallest[length - 2] && code <= 0x10FFFF && !isSurrogate;
}

}  // namespace

std::optional<Utf8Character> firstCharacter(BasicStringRef text) noexcept {
  const std::uint32_t lead = byteAt(text, 0);
  if (lead < 0x80) return Utf8Character{lead, 1};
  const std::size_t length = lengthByLead(lead);
  if (length == 0 || length > text.size()) return std::nullopt;
  std::uint32_t code = lead & (0xFFU >> (length + 1));
  for (std::size_t place = 1; place < length; ++place) {
    if (!isContinuationByte(text[place])) return std::nullopt;
    code = code << 6U | (byteAt(text, place) & 0x3FU);
  }
  if (!isWellFormed(code, length)) return std::nullopt;
  return Utf8Character{code, length};
}

void appendCharacter(std::uint32_t code, std::string& text) {
  const auto append = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
  if (code < 0x80) return append(code);
  if (code < 0x800) {
    append(0xC0U | code >> 6U);
  } else if (code < 0x10000) {
    append(0xE0U | code >> 12U);
    append(0x80U | (code >> 6U & 0x3FU));
  } else {
    append(0xF0U | code >> 18U);
    append(0x80U | (code >> 12U & 0x3FU));
    append(0x80U | (code >> 6U & 0x3FU));
  }
  append(0x80U | (code & 0x3FU));
}

}  // namespace Tal
