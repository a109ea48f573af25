#pragma once

#include <core/string_ref.h>
#include <resources/xml_tree.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Tal::Xml {

/// The encodings in which a document can be read and written back. A byte-order mark counts as a character of
/// the text, so that it is kept.
enum class Encoding { utf8, utf16LittleEndian, utf16BigEndian, latin1, ascii };

/// The encoding of a file, from its first bytes and its declaration. Empty when it is none of ours; `reason`
/// then says so.
std::optional<Encoding> detectEncoding(BasicStringRef bytes, std::string& reason);

/// The text of a file in UTF-8. Empty when the bytes are not valid; `reason` then says where. UTF-8 itself is
/// passed on unchecked.
std::optional<Source> toUtf8(Source bytes, Encoding encoding, std::string& reason);

/// The bytes of valid UTF-8 text whose characters are none above largestCharacter(encoding).
std::string fromUtf8(std::string text, Encoding encoding);

/// The last character that can be written as itself; those above need a character reference.
std::uint32_t largestCharacter(Encoding encoding) noexcept;

}  // namespace Tal::Xml
