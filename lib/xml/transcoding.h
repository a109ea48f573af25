#pragma once

#include <files/byte_buffer.h>
#include <xml/encoding.h>

#include <string>

namespace Tal::xml {

/// The text of a file in UTF-8. A fault of the kind `malformed` when the bytes are not valid, `missing` when
/// the system does not know the encoding. What is UTF-8 already, ASCII included, is passed on, UTF-8 itself
/// unchecked.
Result<files::ByteBuffer> toUtf8(files::ByteBuffer bytes, Encoding encoding);

/// The bytes of valid UTF-8 text whose characters are none above largestCharacter(encoding): the text itself
/// where they are the same.
std::string fromUtf8(std::string text, Encoding encoding);

}  // namespace Tal::xml
