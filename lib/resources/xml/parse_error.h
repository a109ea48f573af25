#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <string>

namespace Tal::Xml {

constexpr BasicStringRef kByteOrderMark = "\xEF\xBB\xBF";

/// Why a text is no document that can be opened.
struct ParseError {
  std::size_t line = 0;    ///< counted from 1; 0 when the document as a whole is meant
  std::size_t column = 0;  ///< in characters, counted from 1
  std::string reason;
};

/// An error at the character that follows a text in UTF-8, of which a byte-order mark is no column.
ParseError errorBehind(BasicStringRef text, std::string reason);

}  // namespace Tal::Xml
