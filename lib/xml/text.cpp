#include <core/utf8.h>
#include <xml/characters.h>
#include <xml/text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace Tal::xml {
namespace {

/// The end of a construct that begins at `position` and is closed by `closing`.
std::size_t endBehind(BasicStringRef raw, std::size_t position, BasicStringRef closing) noexcept {
  const auto found = raw.find(closing, position);
  return found == BasicStringRef::npos ? raw.size() : found + closing.size();
}

bool startsWithAt(BasicStringRef raw, std::size_t position, BasicStringRef what) noexcept {
  return raw.substr(position, what.size()) == what;
}

/// Line ends are a single line feed to a reader.
void appendNormalised(BasicStringRef text, std::string& out) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isCarriageReturn = text[i] == '\r';
    out += isCarriageReturn ? '\n' : text[i];
    if (isCarriageReturn && i + 1 < text.size() && text[i + 1] == '\n') ++i;
  }
}

/// `name` is what stands between '&' and ';'.
void appendReference(BasicStringRef name, const Entities& entities, std::string& out) {
  if (name.starts_with('#')) {
    const bool isHex = name.starts_with("#x");
    name.remove_prefix(isHex ? 2 : 1);
    std::uint32_t code = 0;
    std::from_chars(name.data(), name.data() + name.size(), code, isHex ? 16 : 10);
    appendCharacter(code, out);
    return;
  }
  if (const BuiltInEntity* const builtIn = findBuiltInEntity(name)) {
    out += builtIn->character;
  } else if (const auto found = entities.find(name); found != entities.end()) {
    out += found->second;
  }
}

/// Character data with references and CDATA sections.
void decodeCharacters(BasicStringRef text, const Entities& entities, std::string& out) {
  std::size_t position = 0;
  while (position < text.size()) {
    const std::size_t special = std::min(text.find_first_of("&<", position), text.size());
    appendNormalised(text.substr(position, special - position), out);
    if (special == text.size()) return;
    if (text[special] == '<') {
      position = endBehind(text, special, kCdataEnd);
      const std::size_t begin = special + kCdataBegin.size();
      appendNormalised(text.substr(begin, position - kCdataEnd.size() - begin), out);
    } else {
      position = endBehind(text, special, ";");
      appendReference(text.substr(special + 1, position - special - 2), entities, out);
    }
  }
}

}  // namespace

BasicStringRef trailingSpace(BasicStringRef text) noexcept {
  std::size_t begin = text.size();
  while (begin > 0 && isSpace(text[begin - 1])) --begin;
  return text.substr(begin);
}

bool isPlain(BasicStringRef raw) noexcept {
  bool isSpecial = false;  // no early exit: the loop is vectorised
  for (const char c : raw) isSpecial |= c == '&' || c == '<' || c == '\r';
  return !isSpecial;
}

void decode(BasicStringRef raw, const Entities& entities, std::string& out) {
  for (std::size_t position = 0; position < raw.size();) {
    const TextRun run = textRunAt(raw, position);
    if (!run.isMarkup) decodeCharacters(run.text, entities, out);
    position += run.text.size();
  }
}

std::string escaped(BasicStringRef value, std::uint32_t largestCharacter) {
  std::string text;
  text.reserve(value.size());
  while (!value.empty()) {
    const std::uint32_t code = takeCharacter(value);
    if (code == '&') {
      text += "&amp;";
    } else if (code == '<') {
      text += "&lt;";
    } else if (code == '>') {
      text += "&gt;";
    } else if (code == '\r' || code > largestCharacter) {
      text += "&#" + std::to_string(code) + ';';  // a bare carriage return would be read as a line feed
    } else {
      appendCharacter(code, text);
    }
  }
  return text;
}

bool isWithin(BasicStringRef text, std::uint32_t largestCharacter) noexcept {
  while (!text.empty())
    if (takeCharacter(text) > largestCharacter) return false;
  return true;
}

std::uint32_t takeCharacter(BasicStringRef& text) noexcept {
  const auto character = firstCharacter(text);
  text.remove_prefix(character ? character->length : 1);
  return character && isCharacter(character->code) ? character->code : 0;
}

TextRun textRunAt(BasicStringRef raw, std::size_t position) noexcept {
  std::size_t end = position;
  while (end < raw.size()) {
    end = std::min(raw.find('<', end), raw.size());
    if (startsWithAt(raw, end, kCdataBegin)) {
      end = endBehind(raw, end, kCdataEnd);
      continue;
    }
    if (end > position || end == raw.size()) break;
    const BasicStringRef closing = startsWithAt(raw, end, "<!--") ? "-->" : "?>";
    const std::size_t opening = closing == "-->" ? 4 : 2;
    return {raw.substr(position, endBehind(raw, end + opening, closing) - position), true};
  }
  return {raw.substr(position, end - position), false};
}

}  // namespace Tal::xml
