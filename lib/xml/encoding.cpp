#include <core/ascii_case.h>
#include <core/display_text.h>
#include <core/white_space.h>
#include <xml/encoding.h>

#include <algorithm>

namespace Tal::xml {
namespace {

constexpr std::size_t kLongestDeclaration = 1024;

constexpr BasicStringRef kDeclarationBegin = "<?xml";

constexpr const char* kRemedy = "store it as UTF-8";

/// The encoding that the XML declaration names: a part of the text, empty when it names none.
BasicStringRef declaredEncoding(BasicStringRef bytes) {
  constexpr BasicStringRef kKey = "encoding";
  if (!bytes.starts_with(kDeclarationBegin)) return {};
  BasicStringRef rest = bytes.substr(0, std::min(bytes.find("?>"), kLongestDeclaration));
  rest.remove_prefix(kDeclarationBegin.size());
  if (rest.empty() || !isSpace(rest.front())) return {};  // an instruction whose name begins so
  while (true) {
    const auto equals = rest.find('=');
    const auto quote = rest.find_first_of("\"'", equals);
    if (equals == BasicStringRef::npos || quote == BasicStringRef::npos) return {};
    const auto end = rest.find(rest[quote], quote + 1);
    if (end == BasicStringRef::npos) return {};
    if (trimmed(rest.substr(0, equals)) == kKey) return rest.substr(quote + 1, end - quote - 1);
    rest.remove_prefix(end + 1);
  }
}

/// The encoding of a text without a byte-order mark that begins with a zero byte, or one behind the first
/// byte. XML begins with an ASCII character, so that the zeros tell how it is stored.
Result<Encoding> encodingByZeros(BasicStringRef bytes) {
  const bool isLittleEndian = bytes[0] != 0;
  const bool isWide = isLittleEndian && bytes.size() >= 4 && bytes[2] == 0 && bytes[3] == 0;
  if (!isWide && bytes[0] != bytes[1])
    return isLittleEndian ? Encoding::utf16LittleEndian : Encoding::utf16BigEndian;
  return faultBehind({}, "the file begins with zero bytes, as none of the supported encodings does", kRemedy);
}

}  // namespace

Result<Encoding> detectEncoding(BasicStringRef bytes) {
  if (bytes.starts_with("\xFF\xFE")) return Encoding::utf16LittleEndian;
  if (bytes.starts_with("\xFE\xFF")) return Encoding::utf16BigEndian;
  // Also to the parser, which would find another encoding by itself, and places that are not the text's.
  if (bytes.size() >= 2 && (bytes[0] == 0 || bytes[1] == 0)) return encodingByZeros(bytes);
  if (bytes.starts_with(kByteOrderMark)) return Encoding::utf8;
  const BasicStringRef name = declaredEncoding(bytes);
  const std::string declared = lowerAscii(name);
  if (declared.empty() || declared == "utf-8" || declared == "utf8") return Encoding::utf8;
  if (declared == "iso-8859-1" || declared == "latin1") return Encoding::latin1;
  if (declared == "us-ascii" || declared == "ascii") return Encoding::ascii;
  return faultBehind(bytes.substr(0, static_cast<std::size_t>(name.data() - bytes.data())),
                     "the encoding " + quotedName(name) + " is not supported or not the file's own", kRemedy);
}

std::uint32_t largestCharacter(Encoding encoding) noexcept {
  if (encoding == Encoding::ascii) return 0x7F;
  return encoding == Encoding::latin1 ? 0xFF : 0x10FFFF;
}

}  // namespace Tal::xml
