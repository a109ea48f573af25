#include <xml/text.h>
#include <xml/transcoding.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace Tal::xml {
namespace {

constexpr std::uint32_t kHighSurrogate = 0xD800;
constexpr std::uint32_t kLowSurrogate = 0xDC00;

bool isAscii(char c) noexcept {
  return static_cast<unsigned char>(c) < 0x80;
}

constexpr std::ptrdiff_t kEight = 8;

/// Whether the next eight bytes are ASCII.
bool areAscii(const char* at) noexcept {
  constexpr std::uint64_t kNotAscii = 0x8080808080808080;
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, at, kEight);
  return (bytes & kNotAscii) == 0;
}

/// How many bytes from the beginning on are ASCII.
std::size_t asciiLength(BasicStringRef text) noexcept {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (end - at >= kEight && areAscii(at)) at += kEight;
  while (at != end && isAscii(*at)) ++at;
  return static_cast<std::size_t>(at - text.data());
}

Result<files::ByteBuffer> fromAscii(files::ByteBuffer bytes) {
  const std::size_t length = asciiLength(bytes.view());
  if (length == bytes.size()) return bytes;
  return faultBehind(bytes.view().substr(0, length),
                     "the text is not valid ASCII at byte " + std::to_string(length),
                     "name the encoding that it has in its first line, or store it as UTF-8");
}

files::ByteBuffer fromLatin1(files::ByteBuffer bytes) {
  BasicStringRef rest = bytes.view();
  const auto others =
      rest.size() - static_cast<std::size_t>(std::count_if(rest.begin(), rest.end(), isAscii));
  if (others == 0) return bytes;
  files::ByteBuffer text(rest.size() + others);
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
template <Encoding kEncoding>
class Utf16 {
 public:
  static Result<files::ByteBuffer> toUtf8(BasicStringRef bytes) {
    files::ByteBuffer text(bytes.size() / 2 * 3);  // a unit takes three bytes at most
    char* out = text.data();
    for (std::size_t at = 0; at < bytes.size();) {
      const char* const unit = bytes.data() + at;
      if (at + 1 < bytes.size() && unit[kHigh] == 0 && isAscii(unit[kLow])) {
        *out++ = unit[kLow];
        at += 2;
        continue;
      }
      const std::uint32_t code = take(bytes, at);
      if (code == 0) {
        const BasicStringRef done(text.data(), static_cast<std::size_t>(out - text.data()));
        return faultBehind(done, "the text is not valid UTF-16 at byte " + std::to_string(at));
      }
      out = putCharacter(code, out);
    }
    text.cutTo(static_cast<std::size_t>(out - text.data()));
    return text;
  }

  static files::ByteBuffer fromUtf8(const files::PiecedText& text) {
    files::ByteBuffer bytes(text.size() * 2);  // a byte of UTF-8 gives one unit at most
    char* out = bytes.data();
    for (const BasicStringRef piece : text.pieces()) out = put(piece, out);
    bytes.cutTo(static_cast<std::size_t>(out - bytes.data()));
    return bytes;
  }

 private:
  static std::uint32_t unitAt(BasicStringRef bytes, std::size_t at) noexcept {
    const auto byte = [&](std::size_t place) {
      return std::uint32_t{static_cast<unsigned char>(bytes[place])};
    };
    return byte(at + kHigh) << 8U | byte(at + kLow);
  }

  static bool isSurrogate(std::uint32_t unit, std::uint32_t firstOfKind) noexcept {
    return (unit & 0xFC00U) == firstOfKind;
  }

  /// Goes on past a character that is not ASCII, and returns it; 0, with nothing gone past, when there is
  /// none.
  static std::uint32_t take(BasicStringRef bytes, std::size_t& at) noexcept {
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

  static char* put(BasicStringRef text, char* out) noexcept {
    while (!text.empty()) {
      const std::size_t length = asciiLength(text);
      out = putAscii(text.data(), length, out);
      text.remove_prefix(length);
      while (!text.empty() && !isAscii(text[0])) out = put(takeCharacter(text), out);
    }
    return out;
  }

  static char* putAscii(const char* at, std::size_t length, char* out) noexcept {
    // As whole units, which the compiler makes many of at a time.
    for (std::size_t i = 0; i < length; ++i) {
      const auto unit = static_cast<std::uint16_t>(static_cast<unsigned char>(at[i]) << (8 * kUnitShift));
      std::memcpy(out + 2 * i, &unit, sizeof(unit));
    }
    return out + 2 * length;
  }

  static char* put(std::uint32_t code, char* out) noexcept {
    if (code < 0x10000) return putUnit(code, out);
    out = putUnit(kHighSurrogate + ((code - 0x10000U) >> 10U), out);
    return putUnit(kLowSurrogate + ((code - 0x10000U) & 0x3FFU), out);
  }

  static char* putUnit(std::uint32_t unit, char* out) noexcept {
    out[kHigh] = static_cast<char>(unit >> 8U);
    out[kLow] = static_cast<char>(unit & 0xFFU);
    return out + 2;
  }

  static constexpr std::size_t kLow =
      kEncoding == Encoding::utf16LittleEndian ? 0 : 1;  ///< a unit's lower byte
  static constexpr std::size_t kHigh = 1 - kLow;
  /// By how many bytes a unit of ASCII is shifted in a number of this machine.
  static constexpr unsigned kUnitShift = (std::endian::native == std::endian::little) == (kLow == 0) ? 0 : 1;
};

/// Writes text of which every character is Latin-1; returns where the next goes.
char* putLatin1(BasicStringRef text, char* out) noexcept {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    if (end - at >= kEight && areAscii(at)) {
      std::memcpy(out, at, kEight);
      at += kEight;
      out += kEight;
    } else if (isAscii(*at)) {
      *out++ = *at++;
    } else {
      const std::uint32_t lead = static_cast<unsigned char>(at[0]);
      const std::uint32_t trail = static_cast<unsigned char>(at[1]);
      *out++ = static_cast<char>(lead << 6U | (trail & 0x3FU));
      at += 2;
    }
  }
  return out;
}

files::ByteBuffer toLatin1(const files::PiecedText& text) {
  files::ByteBuffer bytes(text.size());  // no character takes more
  char* out = bytes.data();
  for (const BasicStringRef piece : text.pieces()) out = putLatin1(piece, out);
  bytes.cutTo(static_cast<std::size_t>(out - bytes.data()));
  return bytes;
}

}  // namespace

Result<files::ByteBuffer> toUtf8(files::ByteBuffer bytes, Encoding encoding) {
  switch (encoding) {
    case Encoding::utf16LittleEndian:
      return Utf16<Encoding::utf16LittleEndian>::toUtf8(bytes.view());
    case Encoding::utf16BigEndian:
      return Utf16<Encoding::utf16BigEndian>::toUtf8(bytes.view());
    case Encoding::latin1:
      return fromLatin1(std::move(bytes));
    case Encoding::ascii:
      return fromAscii(std::move(bytes));
    default:
      return bytes;
  }
}

std::optional<files::ByteBuffer> fromUtf8(const files::PiecedText& text, Encoding encoding) {
  switch (encoding) {
    case Encoding::utf16LittleEndian:
      return Utf16<Encoding::utf16LittleEndian>::fromUtf8(text);
    case Encoding::utf16BigEndian:
      return Utf16<Encoding::utf16BigEndian>::fromUtf8(text);
    case Encoding::latin1:
      return toLatin1(text);
    default:
      return std::nullopt;
  }
}

}  // namespace Tal::xml
