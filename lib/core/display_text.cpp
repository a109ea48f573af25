#include <core/display_text.h>
#include <core/format.h>
#include <core/utf8.h>

#include <cstddef>
#include <cstdint>

namespace Tal {
namespace {

constexpr std::size_t kShownHead = 120;
constexpr std::size_t kShownTail = 60;

/// Whether a character is one of the C1 controls, ends a line, or marks, embeds, overrides or isolates a
/// direction.
bool isControl(std::uint32_t code) {
  return (code >= 0x80 && code <= 0x9f) || code == 0x061c || code == 0x200e || code == 0x200f ||
         (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
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
    text += formatString("\\x%02x", byte);
  } else {
    text += character;
  }
}

}  // namespace

std::string escapeControls(BasicStringRef text) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const auto character = firstCharacter(text);
    const std::size_t length = character ? character->length : 1;
    if (length == 1) {
      appendByte(escaped, text.front(), character.has_value());
    } else if (isControl(character->code)) {
      escaped += formatString("\\u%04x", character->code);
    } else {
      escaped += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return escaped;
}

std::string escapeControlsOfJson(BasicStringRef json) {
  std::string escaped;
  escaped.reserve(json.size());
  while (!json.empty()) {
    const auto character = firstCharacter(json);
    const std::size_t length = character ? character->length : 1;
    if (character && (character->code == 0x7f || isControl(character->code))) {
      escaped += formatString("\\u%04x", character->code);
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
