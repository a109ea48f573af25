#include <iconv.h>
#include <xml/text.h>
#include <xml/transcoding.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace Tal::xml {
namespace {

constexpr const char* kUtf8 = "UTF-8";

/// What the C library calls an encoding.
const char* nameOf(Encoding encoding) noexcept {
  switch (encoding) {
    case Encoding::utf16LittleEndian:
      return "UTF-16LE";
    case Encoding::utf16BigEndian:
      return "UTF-16BE";
    case Encoding::latin1:
      return "ISO-8859-1";
    default:
      return kUtf8;
  }
}

/// How far a text was converted, in bytes.
struct Conversion {
  std::size_t consumed;
  std::size_t produced;
};

/// Converts a text as far as it is valid, to `out`, which has room for all of it. A fault of the kind
/// `missing` when the system does not know the encodings.
Result<Conversion> convert(BasicStringRef text, const char* from, const char* to, char* out,
                           std::size_t room) {
  const iconv_t converter = ::iconv_open(to, from);
  if (converter == reinterpret_cast<iconv_t>(-1)) {  // NOLINT(performance-no-int-to-ptr): as it is specified
    if (errno == ENOMEM) throw std::bad_alloc();
    return Fault{FaultKind::missing,
                 "the system cannot convert " + std::string(from) + " to " + std::string(to),
                 "install the character sets of the C library (gconv), or store the file as UTF-8"};
  }
  char* in = const_cast<char*>(text.data());  // NOLINT(cppcoreguidelines-pro-type-const-cast): not written to
  std::size_t left = text.size();
  std::size_t roomLeft = room;
  ::iconv(converter, &in, &left, &out, &roomLeft);
  ::iconv_close(converter);
  return Conversion{text.size() - left, room - roomLeft};
}

/// How many bytes a byte becomes at most: of Latin-1 two; of UTF-16 a unit, of two bytes, three.
constexpr std::size_t kGrowth = 2;

Result<files::ByteBuffer> fromAscii(files::ByteBuffer bytes) {
  const BasicStringRef text = bytes.view();
  const auto* const other =
      std::find_if(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  if (other == text.end()) return bytes;
  const auto length = static_cast<std::size_t>(other - text.begin());
  return faultBehind(text.substr(0, length), "the text is not valid ASCII at byte " + std::to_string(length),
                     "name the encoding that it has in its first line, or store it as UTF-8");
}

// What a save writes is converted here: iconv takes twice the time of writing the file.

constexpr std::ptrdiff_t kEight = 8;

/// Whether the next eight bytes are ASCII.
bool areAscii(const char* at) noexcept {
  constexpr std::uint64_t kNotAscii = 0x8080808080808080;
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, at, kEight);
  return (bytes & kNotAscii) == 0;
}

/// Text of which every character is Latin-1.
std::string toLatin1(BasicStringRef text) {
  std::string bytes(text.size(), '\0');  // no character takes more
  char* out = bytes.data();
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    if (end - at >= kEight && areAscii(at)) {
      std::memcpy(out, at, kEight);
      at += kEight;
      out += kEight;
    } else if (static_cast<unsigned char>(*at) < 0x80) {
      *out++ = *at++;
    } else {
      const std::uint32_t lead = static_cast<unsigned char>(at[0]);
      const std::uint32_t trail = static_cast<unsigned char>(at[1]);
      *out++ = static_cast<char>(lead << 6U | (trail & 0x3FU));
      at += 2;
    }
  }
  bytes.resize(static_cast<std::size_t>(out - bytes.data()));
  return bytes;
}

/// Valid text as units of which the byte at `low` is the lower one.
std::string toUtf16(BasicStringRef text, std::size_t low) {
  std::string bytes(text.size() * 2, '\0');  // a byte of UTF-8 gives one unit at most
  char* out = bytes.data();
  const auto put = [&out, low](std::uint32_t unit) {
    out[low] = static_cast<char>(unit & 0xFFU);
    out[1 - low] = static_cast<char>(unit >> 8U);
    out += 2;
  };
  while (!text.empty()) {
    std::size_t ascii = 0;
    while (ascii < text.size() && static_cast<unsigned char>(text[ascii]) < 0x80) ++ascii;
    for (std::size_t place = 0; place < ascii; ++place) out[2 * place + low] = text[place];
    out += 2 * ascii;
    text.remove_prefix(ascii);
    if (text.empty()) break;
    const std::uint32_t code = takeCharacter(text);
    if (code >= 0x10000) put(0xD800U + ((code - 0x10000U) >> 10U));
    put(code < 0x10000 ? code : 0xDC00U + ((code - 0x10000U) & 0x3FFU));
  }
  bytes.resize(static_cast<std::size_t>(out - bytes.data()));
  return bytes;
}

}  // namespace

Result<files::ByteBuffer> toUtf8(files::ByteBuffer bytes, Encoding encoding) {
  if (encoding == Encoding::utf8) return bytes;
  if (encoding == Encoding::ascii) return fromAscii(std::move(bytes));
  files::ByteBuffer text(bytes.size() * kGrowth);
  const auto done = convert(bytes.view(), nameOf(encoding), kUtf8, text.data(), text.size());
  if (!done) return done.fault();
  text.cutTo(done->produced);
  if (done->consumed == bytes.size()) return text;
  return faultBehind(text.view(), "the text is not valid UTF-16 at byte " + std::to_string(done->consumed));
}

std::string fromUtf8(std::string text, Encoding encoding) {
  switch (encoding) {
    case Encoding::utf16LittleEndian:
      return toUtf16(text, 0);
    case Encoding::utf16BigEndian:
      return toUtf16(text, 1);
    case Encoding::latin1:
      return toLatin1(text);
    default:
      return text;
  }
}

}  // namespace Tal::xml
