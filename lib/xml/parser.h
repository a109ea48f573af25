#pragma once

#include <core/result.h>
#include <xml/tree.h>

#include <cstddef>

namespace Tal::xml {

/// Deeper documents are refused, so that nothing that walks one can be exhausted by it.
constexpr std::size_t kDeepestLevel = 1000;

/// Larger documents are refused: places in a document are 32-bit numbers.
constexpr std::size_t kLargestSource = std::size_t{1} << 30U;

/// Parses a whole document in UTF-8, whatever encoding it declares. A fault of the kind `malformed`, with
/// line and column, unless all of it is well-formed. External entities are not read; a reference to one is an
/// error, and so is the declaration of an entity that is more than plain text.
Result<Tree> parse(files::ByteBuffer source);

/// Fills what `parsed` lacks from its source if all of that, but for the document type, is plain (see
/// parsePlain). False for everything else, well-formed or not; the rest of `parsed` is then undefined.
/// `source` is no larger than kLargestSource.
bool parseQuickly(Tree::Parsed& parsed);

/// The same as parse by the parser for all of XML alone. `source` is no larger than kLargestSource.
Result<Tree> parseAny(files::ByteBuffer source);

/// Whether `tag` can name an element.
bool isElementName(BasicStringRef tag);

}  // namespace Tal::xml
