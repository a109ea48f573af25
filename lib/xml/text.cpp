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

std::uint32_t byteAt(BasicStringRef text, std::size_t place) noexcept {
  return static_cast<unsigned char>(text[place]);
}

/// How long the UTF-8 sequence is that a byte above 0x7F begins; 0 when it begins none.
std::size_t sequenceLength(std::uint32_t first) noexcept {
  if (first < 0xC2 || first > 0xF4) return 0;
  if (first < 0xE0) return 2;
  return first < 0xF0 ? 3 : 4;
}

/// Whether a code that came in a sequence of that length is a character that XML can hold, written as short
/// as it can be.
bool isHeldCharacter(std::uint32_t code, std::size_t length) noexcept {
  constexpr std::array<std::uint32_t, 3> kShortest = {0x80, 0x800, 0x10000};
  return code >= kShortest[length - 2] && isCharacter(code);
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
  const std::uint32_t first = byteAt(text, 0);
  if (first < 0x80) {
    text.remove_prefix(1);
    return isCharacter(first) ? first : 0;
  }
  const std::size_t length = sequenceLength(first);
  std::uint32_t code = length == 0 ? 0 : first & (0xFFU >> (length + 1));
  bool isValid = length != 0 && length <= text.size();
  for (std::size_t i = 1; isValid && i < length; ++i) {
    isValid = (byteAt(text, i) & 0xC0U) == 0x80U;
    code = code << 6U | (byteAt(text, i) & 0x3FU);
  }
  isValid = isValid && isHeldCharacter(code, length);
  text.remove_prefix(isValid ? length : 1);
  return isValid ? code : 0;
}

char* putCharacter(std::uint32_t code, char* out) noexcept {
  const auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
  if (code < 0x80) {
    put(code);
    return out;
  }
  if (code < 0x800) {
    put(0xC0U | code >> 6U);
  } else if (code < 0x10000) {
    put(0xE0U | code >> 12U);
    put(0x80U | (code >> 6U & 0x3FU));
  } else {
    put(0xF0U | code >> 18U);
    put(0x80U | (code >> 12U & 0x3FU));
    put(0x80U | (code >> 6U & 0x3FU));
  }
  put(0x80U | (code & 0x3FU));
  return out;
}

void appendCharacter(std::uint32_t code, std::string& out) {
  std::array<char, 4> bytes{};
  out.append(bytes.data(), putCharacter(code, bytes.data()));
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
