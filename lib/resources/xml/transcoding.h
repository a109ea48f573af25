#pragma once

#include <resources/bytes/byte_buffer.h>
#include <resources/bytes/pieced_text.h>
#include <resources/xml/encoding.h>

#include <optional>

namespace Tal::Xml {

/// The text of a file in UTF-8. A fault of the kind `malformed` when the bytes are not valid. What is UTF-8
/// already, ASCII included, is passed on, UTF-8 itself unchecked.
Result<ByteBuffer> toUtf8(ByteBuffer bytes, Encoding encoding);

/// The bytes of valid UTF-8 text whose characters are none above largestCharacter(encoding). Empty when they
/// are the text itself.
std::optional<ByteBuffer> fromUtf8(const PiecedText& text, Encoding encoding);

}  // namespace Tal::Xml
