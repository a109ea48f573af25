#pragma once

#include <files/byte_buffer.h>
#include <files/pieced_text.h>
#include <xml/encoding.h>

#include <optional>

namespace Tal::xml {

/// The text of a file in UTF-8. A fault of the kind `malformed` when the bytes are not valid. What is UTF-8
/// already, ASCII included, is passed on, UTF-8 itself unchecked.
Result<files::ByteBuffer> toUtf8(files::ByteBuffer bytes, Encoding encoding);

/// The bytes of valid UTF-8 text whose characters are none above largestCharacter(encoding). Empty when they
/// are the text itself.
std::optional<files::ByteBuffer> fromUtf8(const files::PiecedText& text, Encoding encoding);

}  // namespace Tal::xml
