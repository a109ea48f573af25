#pragma once

#include <core/string_ref.h>
#include <xml/syntax_fault.h>

#include <cstdint>

namespace Tal::xml {

/// The encodings in which a document can be read and written back. A byte-order mark counts as a character of
/// the text, so that it is kept.
enum class Encoding { utf8, utf16LittleEndian, utf16BigEndian, latin1, ascii };

/// The encoding of a file, from its first bytes and its declaration. A fault of the kind `malformed`
/// when it is none of ours.
Result<Encoding> detectEncoding(BasicStringRef bytes);

/// The last character that can be written as itself; those above need a character reference.
std::uint32_t largestCharacter(Encoding encoding) noexcept;

}  // namespace Tal::xml
