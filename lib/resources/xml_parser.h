#pragma once

#include <resources/xml_tree.h>

#include <cstddef>
#include <optional>
#include <string>

namespace Tal::Xml {

/// Deeper documents are refused, so that nothing that walks one can be exhausted by it.
constexpr std::size_t kDeepestLevel = 1000;

/// Larger documents are refused: places in a document are 32-bit numbers.
constexpr std::size_t kLargestSource = std::size_t{1} << 30U;

/// Why a text is no document that can be opened.
struct ParseError {
  std::size_t line = 0;    ///< counted from 1; 0 when the document as a whole is meant
  std::size_t column = 0;  ///< in characters, counted from 1
  std::string reason;
};

/// Parses a whole document in UTF-8, whatever encoding it declares. Nothing is returned unless all of it is
/// well-formed. External entities are not read; a reference to one is an error, and so is the declaration of
/// an entity that is more than plain text.
std::optional<Tree> parse(Source source, ParseError& error);

/// The same by the parser for all of XML alone, without the short cut for plain documents. `source` is no
/// larger than kLargestSource.
std::optional<Tree> parseAny(Source source, ParseError& error);

/// Whether `tag` can name an element.
bool isElementName(BasicStringRef tag);

}  // namespace Tal::Xml
