#include <core/ascii_case.h>
#include <resources/xml_encoding.h>
#include <resources/xml_text.h>

#include <algorithm>
#include <utility>

namespace Tal::Xml {
namespace {

constexpr std::size_t kLongestDeclaration = 1024;
constexpr BasicStringRef kByteOrderMark = "\xEF\xBB\xBF";

std::uint32_t byteAt(BasicStringRef bytes, std::size_t place) noexcept {
  return static_cast<unsigned char>(bytes[place]);
}

/// The encoding that the XML declaration names, in lower case; empty when it names none.
std::string declaredEncoding(BasicStringRef bytes) {
  constexpr BasicStringRef kKey = "encoding";
  if (!bytes.starts_with("<?xml")) return {};
  const BasicStringRef declaration = bytes.substr(0, std::min(bytes.find("?>"), kLongestDeclaration));
  const auto key = declaration.find(kKey);
  if (key == BasicStringRef::npos) return {};
  const auto quote = declaration.find_first_of("\"'", key + kKey.size());
  if (quote == BasicStringRef::npos) return {};
  const auto end = declaration.find(declaration[quote], quote + 1);
  if (end == BasicStringRef::npos) return {};
  return lowerAscii(declaration.substr(quote + 1, end - quote - 1));
}

std::uint32_t unitAt(BasicStringRef bytes, std::size_t place, Encoding encoding) noexcept {
  const std::uint32_t first = byteAt(bytes, place);
  const std::uint32_t second = byteAt(bytes, place + 1);
  return encoding == Encoding::utf16LittleEndian ? second << 8U | first : first << 8U | second;
}

bool isSurrogate(std::uint32_t unit, std::uint32_t firstOfKind) noexcept {
  return (unit & 0xFC00U) == firstOfKind;
}

/// Where in a text its next character stands, for a person.
std::string placeBehind(BasicStringRef text) {
  const auto isBegin = [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  };  // of a character
  const auto lines = std::count(text.begin(), text.end(), '\n');
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const BasicStringRef line = text.substr(text.rfind('\n') + 1);  // all of it when there is no line end
  const auto column = std::count_if(line.begin(), line.end(), isBegin) + 1;
  return "line " + std::to_string(lines + 1) + ", column " + std::to_string(column);
}

constexpr std::uint32_t kHighSurrogate = 0xD800;
constexpr std::uint32_t kLowSurrogate = 0xDC00;

std::optional<std::string> utf16ToUtf8(BasicStringRef bytes, Encoding encoding, std::string& reason) {
  std::string text;
  text.reserve(bytes.size() / 2 + bytes.size() / 8);
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const bool isComplete = i + 1 < bytes.size();
    std::uint32_t code = isComplete ? unitAt(bytes, i, encoding) : kLowSurrogate;
    if (isSurrogate(code, kHighSurrogate) && i + 3 < bytes.size()) {
      const std::uint32_t low = unitAt(bytes, i + 2, encoding);
      if (isSurrogate(low, kLowSurrogate)) {
        code = 0x10000U + ((code & 0x3FFU) << 10U) + (low & 0x3FFU);
        i += 2;
      }
    }
    if (isSurrogate(code, kHighSurrogate) || isSurrogate(code, kLowSurrogate)) {
      reason = "the text is not valid UTF-16 at byte " + std::to_string(i) + " (" + placeBehind(text) + ')';
      return std::nullopt;
    }
    appendCharacter(code, text);
  }
  return text;
}

void appendUnit(std::uint32_t unit, Encoding encoding, std::string& out) {
  const auto high = static_cast<char>(unit >> 8U);
  const auto low = static_cast<char>(unit & 0xFFU);
  const bool isLittle = encoding == Encoding::utf16LittleEndian;
  out += isLittle ? low : high;
  out += isLittle ? high : low;
}

void appendEncoded(std::uint32_t code, Encoding encoding, std::string& out) {
  if (encoding == Encoding::latin1 || encoding == Encoding::ascii) {
    out += static_cast<char>(code);
  } else if (code < 0x10000) {
    appendUnit(code, encoding, out);
  } else {
    appendUnit(kHighSurrogate + ((code - 0x10000U) >> 10U), encoding, out);
    appendUnit(kLowSurrogate + ((code - 0x10000U) & 0x3FFU), encoding, out);
  }
}

}  // namespace

std::optional<Encoding> detectEncoding(BasicStringRef bytes, std::string& reason) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with(BasicStringRef("<\0", 2)))
    return Encoding::utf16LittleEndian;
  if (bytes.starts_with("\xFE\xFF") || bytes.starts_with(BasicStringRef("\0<", 2)))
    return Encoding::utf16BigEndian;
  if (bytes.starts_with(kByteOrderMark)) return Encoding::utf8;
  const std::string declared = declaredEncoding(bytes);
  if (declared.empty() || declared == "utf-8" || declared == "utf8") return Encoding::utf8;
  if (declared == "iso-8859-1" || declared == "latin1") return Encoding::latin1;
  if (declared == "us-ascii" || declared == "ascii") return Encoding::ascii;
  reason = "the encoding \"" + declared + "\" is not supported or not the file's own; store it as UTF-8";
  return std::nullopt;
}

std::optional<Source> toUtf8(Source bytes, Encoding encoding, std::string& reason) {
  if (encoding == Encoding::utf8) return bytes;
  if (encoding == Encoding::utf16LittleEndian || encoding == Encoding::utf16BigEndian) {
    const std::optional<std::string> text = utf16ToUtf8(bytes.view(), encoding, reason);
    if (!text) return std::nullopt;
    return Source::copyOf(*text);
  }
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 8);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::uint32_t code = byteAt(bytes.view(), i);
    if (code > largestCharacter(encoding)) {
      reason = "the text is not valid ASCII at byte " + std::to_string(i) + " (" + placeBehind(text) +
               "); name the encoding that it has in its first line, or store it as UTF-8";
      return std::nullopt;
    }
    appendCharacter(code, text);
  }
  return Source::copyOf(text);
}

std::string fromUtf8(std::string text, Encoding encoding) {
  if (encoding == Encoding::utf8) return text;
  std::string bytes;
  bytes.reserve(text.size() * 2);
  for (BasicStringRef rest = text; !rest.empty();) appendEncoded(takeCharacter(rest), encoding, bytes);
  return bytes;
}

std::uint32_t largestCharacter(Encoding encoding) noexcept {
  if (encoding == Encoding::ascii) return 0x7F;
  return encoding == Encoding::latin1 ? 0xFF : 0x10FFFF;
}

}  // namespace Tal::Xml
