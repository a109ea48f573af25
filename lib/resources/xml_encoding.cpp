#include <core/ascii_case.h>
#include <core/nearest_name.h>
#include <resources/xml_encoding.h>

#include <algorithm>

namespace Tal::Xml {
namespace {

constexpr std::size_t kLongestDeclaration = 1024;

/// The encoding that the XML declaration names: a part of the text, empty when it names none.
BasicStringRef declaredEncoding(BasicStringRef bytes) {
  constexpr BasicStringRef kKey = "encoding";
  if (!bytes.starts_with("<?xml")) return {};
  const BasicStringRef declaration = bytes.substr(0, std::min(bytes.find("?>"), kLongestDeclaration));
  const auto key = declaration.find(kKey);
  if (key == BasicStringRef::npos) return {};
  const auto quote = declaration.find_first_of("\"'", key + kKey.size());
  if (quote == BasicStringRef::npos) return {};
  const auto end = declaration.find(declaration[quote], quote + 1);
  if (end == BasicStringRef::npos) return {};
  return declaration.substr(quote + 1, end - quote - 1);
}

}  // namespace

std::optional<Encoding> detectEncoding(BasicStringRef bytes, ParseError& error) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with(BasicStringRef("<\0", 2)))
    return Encoding::utf16LittleEndian;
  if (bytes.starts_with("\xFE\xFF") || bytes.starts_with(BasicStringRef("\0<", 2)))
    return Encoding::utf16BigEndian;
  if (bytes.starts_with(kByteOrderMark)) return Encoding::utf8;
  const BasicStringRef name = declaredEncoding(bytes);
  const std::string declared = lowerAscii(name);
  if (declared.empty() || declared == "utf-8" || declared == "utf8") return Encoding::utf8;
  if (declared == "iso-8859-1" || declared == "latin1") return Encoding::latin1;
  if (declared == "us-ascii" || declared == "ascii") return Encoding::ascii;
  error = errorBehind(
      bytes.substr(0, static_cast<std::size_t>(name.data() - bytes.data())),
      "the encoding " + quotedName(name) + " is not supported or not the file's own; store it as UTF-8");
  return std::nullopt;
}

std::uint32_t largestCharacter(Encoding encoding) noexcept {
  if (encoding == Encoding::ascii) return 0x7F;
  return encoding == Encoding::latin1 ? 0xFF : 0x10FFFF;
}

}  // namespace Tal::Xml
