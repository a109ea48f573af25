#include <resources/xml_text.h>
#include <resources/xml_transcoding.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace Tal::Xml {
namespace {

constexpr std::uint32_t kHighSurrogate = 0xD800;
constexpr std::uint32_t kLowSurrogate = 0xDC00;

/// Shorter pieces are gathered: each costs some memory.
constexpr std::size_t kWorthAPiece = 64;

bool isAscii(char c) noexcept {
  return static_cast<unsigned char>(c) < 0x80;
}

/// How many bytes from the beginning on are ASCII.
std::size_t asciiLength(BasicStringRef text) noexcept {
  constexpr std::uint64_t kNotAscii = 0x8080808080808080;
  std::size_t length = 0;
  for (std::uint64_t bytes = 0; length + sizeof(bytes) <= text.size(); length += sizeof(bytes)) {
    std::memcpy(&bytes, text.data() + length, sizeof(bytes));
    if ((bytes & kNotAscii) != 0) break;
  }
  while (length < text.size() && isAscii(text[length])) ++length;
  return length;
}

std::optional<Source> fromAscii(Source bytes, ParseError& error) {
  const std::size_t length = asciiLength(bytes.view());
  if (length == bytes.size()) return bytes;
  error = errorBehind(bytes.view().substr(0, length),
                      "the text is not valid ASCII at byte " + std::to_string(length) +
                          "; name the encoding that it has in its first line, or store it as UTF-8");
  return std::nullopt;
}

Source fromLatin1(Source bytes) {
  BasicStringRef rest = bytes.view();
  const auto others =
      rest.size() - static_cast<std::size_t>(std::count_if(rest.begin(), rest.end(), isAscii));
  if (others == 0) return bytes;
  Source text(rest.size() + others);
  for (char* out = text.data(); !rest.empty();) {
    const std::size_t length = asciiLength(rest);
    std::memcpy(out, rest.data(), length);
    out += length;
    rest.remove_prefix(length);
    for (; !rest.empty() && !isAscii(rest[0]); rest.remove_prefix(1))
      out = putCharacter(static_cast<unsigned char>(rest[0]), out);
  }
  return text;
}

/// UTF-16 of one byte order.
class Utf16 {
 public:
  explicit Utf16(Encoding encoding)
      : low_(encoding == Encoding::utf16LittleEndian ? 0 : 1), high_(1 - low_) {}

  std::optional<Source> toUtf8(BasicStringRef bytes, ParseError& error) const {
    Source text(bytes.size() / 2 * 3);  // a unit takes three bytes at most
    char* out = text.data();
    for (std::size_t at = 0; at < bytes.size();) {
      const char* const unit = bytes.data() + at;
      if (at + 1 < bytes.size() && unit[high_] == 0 && isAscii(unit[low_])) {
        *out++ = unit[low_];
        at += 2;
        continue;
      }
      const std::uint32_t code = take(bytes, at);
      if (code == 0) {
        const BasicStringRef done(text.data(), static_cast<std::size_t>(out - text.data()));
        error = errorBehind(done, "the text is not valid UTF-16 at byte " + std::to_string(at));
        return std::nullopt;
      }
      out = putCharacter(code, out);
    }
    text.cutTo(static_cast<std::size_t>(out - text.data()));
    return text;
  }

  Source fromUtf8(const PiecedText& text) const {
    Source bytes(text.size() * 2);  // a byte of UTF-8 gives one unit at most
    char* out = bytes.data();
    for (const BasicStringRef piece : text.pieces()) out = put(piece, out);
    bytes.cutTo(static_cast<std::size_t>(out - bytes.data()));
    return bytes;
  }

 private:
  std::uint32_t unitAt(BasicStringRef bytes, std::size_t at) const noexcept {
    const auto byte = [&](std::size_t place) {
      return std::uint32_t{static_cast<unsigned char>(bytes[place])};
    };
    return byte(at + high_) << 8U | byte(at + low_);
  }

  static bool isSurrogate(std::uint32_t unit, std::uint32_t firstOfKind) noexcept {
    return (unit & 0xFC00U) == firstOfKind;
  }

  /// Goes on past a character that is not ASCII, and returns it; 0, with nothing gone past, when there is
  /// none.
  std::uint32_t take(BasicStringRef bytes, std::size_t& at) const noexcept {
    const std::uint32_t unit = at + 1 < bytes.size() ? unitAt(bytes, at) : kLowSurrogate;
    if (isSurrogate(unit, kLowSurrogate)) return 0;
    if (!isSurrogate(unit, kHighSurrogate)) {
      at += 2;
      return unit;
    }
    const std::uint32_t low = at + 3 < bytes.size() ? unitAt(bytes, at + 2) : 0;
    if (!isSurrogate(low, kLowSurrogate)) return 0;
    at += 4;
    return 0x10000U + ((unit & 0x3FFU) << 10U) + (low & 0x3FFU);
  }

  char* put(BasicStringRef text, char* out) const noexcept {
    while (!text.empty()) {
      const std::size_t length = asciiLength(text);
      for (std::size_t i = 0; i < length; ++i, out += 2) {
        out[low_] = text[i];
        out[high_] = 0;
      }
      text.remove_prefix(length);
      while (!text.empty() && !isAscii(text[0])) out = put(takeCharacter(text), out);
    }
    return out;
  }

  char* put(std::uint32_t code, char* out) const noexcept {
    if (code < 0x10000) return putUnit(code, out);
    out = putUnit(kHighSurrogate + ((code - 0x10000U) >> 10U), out);
    return putUnit(kLowSurrogate + ((code - 0x10000U) & 0x3FFU), out);
  }

  char* putUnit(std::uint32_t unit, char* out) const noexcept {
    out[high_] = static_cast<char>(unit >> 8U);
    out[low_] = static_cast<char>(unit & 0xFFU);
    return out + 2;
  }

  std::size_t low_;  ///< where a unit's lower byte stands
  std::size_t high_;
};

PiecedText toLatin1(const PiecedText& text, std::deque<Source>& made) {
  PiecedText bytes;
  std::string gathered;
  const auto addGathered = [&] {
    if (gathered.empty()) return;
    bytes += made.emplace_back(Source::copyOf(gathered)).view();
    gathered.clear();
  };
  for (BasicStringRef rest : text.pieces()) {
    while (!rest.empty()) {
      const BasicStringRef same = rest.substr(0, asciiLength(rest));
      rest.remove_prefix(same.size());
      if (same.size() >= kWorthAPiece) {
        addGathered();
        bytes += same;
      } else {
        gathered += same;
      }
      while (!rest.empty() && !isAscii(rest[0])) gathered += static_cast<char>(takeCharacter(rest));
    }
  }
  addGathered();
  return bytes;
}

}  // namespace

std::optional<Source> toUtf8(Source bytes, Encoding encoding, ParseError& error) {
  switch (encoding) {
    case Encoding::utf16LittleEndian:
    case Encoding::utf16BigEndian:
      return Utf16(encoding).toUtf8(bytes.view(), error);
    case Encoding::latin1:
      return fromLatin1(std::move(bytes));
    case Encoding::ascii:
      return fromAscii(std::move(bytes), error);
    default:
      return bytes;
  }
}

PiecedText fromUtf8(const PiecedText& text, Encoding encoding, std::deque<Source>& made) {
  switch (encoding) {
    case Encoding::utf16LittleEndian:
    case Encoding::utf16BigEndian:
      return PiecedText(made.emplace_back(Utf16(encoding).fromUtf8(text)).view());
    case Encoding::latin1:
      return toLatin1(text, made);
    default:
      return text;  // of ASCII, nothing needs another byte
  }
}

}  // namespace Tal::Xml
