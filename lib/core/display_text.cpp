#include <core/display_text.h>

#include <algorithm>
#include <cstddef>

namespace Tal {
namespace {

constexpr std::size_t kShownHead = 120;
constexpr std::size_t kShownTail = 60;

unsigned char byteAt(BasicStringRef text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

bool isWithin(unsigned char byte, unsigned char first, unsigned char last) {
  return byte >= first && byte <= last;
}

/// How many bytes a well-formed UTF-8 character of the given first byte has; 0 when none begins with it.
std::size_t lengthByLead(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (isWithin(lead, 0xc2, 0xdf)) return 2;
  if (isWithin(lead, 0xe0, 0xef)) return 3;
  return isWithin(lead, 0xf0, 0xf4) ? 4 : 0;
}

/// Whether a second byte may follow: it must not make the form overlong, a surrogate or too large a number.
bool isSecondByte(unsigned char lead, unsigned char second) {
  if (lead == 0xe0) return isWithin(second, 0xa0, 0xbf);
  if (lead == 0xed) return isWithin(second, 0x80, 0x9f);
  if (lead == 0xf0) return isWithin(second, 0x90, 0xbf);
  if (lead == 0xf4) return isWithin(second, 0x80, 0x8f);
  return isWithin(second, 0x80, 0xbf);
}

/// How many bytes the first character of a text that is not empty has; 0 when it is not well-formed UTF-8.
std::size_t characterLength(BasicStringRef text) {
  const std::size_t length = lengthByLead(byteAt(text, 0));
  if (length > text.size()) return 0;
  if (length >= 2 && !isSecondByte(byteAt(text, 0), byteAt(text, 1))) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (!isWithin(byteAt(text, i), 0x80, 0xbf)) return 0;
  }
  return length;
}

/// The code of a well-formed character of two or three bytes; 0 for any other.
unsigned codeOf(BasicStringRef character) {
  constexpr unsigned kBits = 0x3fU;
  if (character.size() == 2) return (byteAt(character, 0) & 0x1fU) << 6U | (byteAt(character, 1) & kBits);
  if (character.size() != 3) return 0;
  return (byteAt(character, 0) & 0x0fU) << 12U | (byteAt(character, 1) & kBits) << 6U |
         (byteAt(character, 2) & kBits);
}

/// Whether a character is one of the C1 controls, ends a line, or marks, embeds, overrides or isolates a
/// direction.
bool isControl(unsigned code) {
  return (code >= 0x80 && code <= 0x9f) || code == 0x061c || code == 0x200e || code == 0x200f ||
         (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
}

void appendHexadecimal(std::string& text, BasicStringRef prefix, unsigned number, unsigned digits) {
  static constexpr BasicStringRef kDigits = "0123456789abcdef";
  text += prefix;
  while (digits > 0) text += kDigits[(number >> (4 * --digits)) & 0x0fU];
}

void appendByte(std::string& text, char character, bool isAscii) {
  const auto byte = static_cast<unsigned char>(character);
  if (character == '\\') {
    text += "\\\\";
  } else if (character == '\n') {
    text += "\\n";
  } else if (character == '\r') {
    text += "\\r";
  } else if (character == '\t') {
    text += "\\t";
  } else if (!isAscii || byte < 0x20 || byte == 0x7f) {
    appendHexadecimal(text, "\\x", byte, 2);
  } else {
    text += character;
  }
}

bool isContinuationByte(char character) {
  return (static_cast<unsigned char>(character) & 0xc0U) == 0x80U;
}

}  // namespace

std::string escapeControls(BasicStringRef text) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    if (length <= 1) {
      appendByte(escaped, text.front(), length == 1);
    } else if (const unsigned code = codeOf(text.substr(0, length)); isControl(code)) {
      appendHexadecimal(escaped, "\\u", code, 4);
    } else {
      escaped += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return escaped;
}

std::string escapeControlsOfJson(BasicStringRef json) {
  std::string escaped;
  escaped.reserve(json.size());
  while (!json.empty()) {
    const std::size_t length = std::max<std::size_t>(characterLength(json), 1);
    const unsigned code = json.front() == '\x7f' ? 0x7fU : codeOf(json.substr(0, length));
    if (code == 0x7fU || isControl(code)) {
      appendHexadecimal(escaped, "\\u", code, 4);
    } else {
      escaped += json.substr(0, length);
    }
    json.remove_prefix(length);
  }
  return escaped;
}

std::string shownName(BasicStringRef name) {
  if (name.size() <= kShownHead + kShownTail) return escapeControls(name);
  std::size_t head = kShownHead;
  while (head > 0 && isContinuationByte(name[head])) --head;  // a character is never cut in two
  std::size_t tail = name.size() - kShownTail;
  while (tail < name.size() && isContinuationByte(name[tail])) ++tail;
  return escapeControls(name.substr(0, head)) + "..." + escapeControls(name.substr(tail));
}

std::string quotedName(BasicStringRef name) {
  return '"' + shownName(name) + '"';
}

}  // namespace Tal
