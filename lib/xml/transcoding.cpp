#include <iconv.h>
#include <xml/transcoding.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
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

Result<std::string> fromUtf8(std::string text, Encoding encoding) {
  if (encoding == Encoding::utf8 || encoding == Encoding::ascii) return text;
  std::string bytes(text.size() * kGrowth, '\0');
  const auto done = convert(text, kUtf8, nameOf(encoding), bytes.data(), bytes.size());
  if (!done) return done.fault();
  bytes.resize(done->produced);
  if (done->consumed == text.size()) return bytes;
  return Fault{FaultKind::malformed, std::string("the text cannot be written as ") + nameOf(encoding),
               "store the file as UTF-8"};
}

}  // namespace Tal::xml
