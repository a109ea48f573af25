#pragma once

#include <xml/tree.h>

namespace Tal::xml {

/// Fills a document's nodes and tags from its source if the document is well-formed and plain. Plain is what
/// is in UTF-8 and consists of elements with ASCII names, attributes without references, text, CDATA
/// sections, comments and instructions, and is not nested deeper than `deepest` levels. Text may hold numeric
/// references and references to the built-in and the document's entities.
///
/// A document type is not plain. A document that has one can be parsed from behind it: `begin` is the offset
/// at which parsing begins, 0 for the whole document.
///
/// False for every other document, whether it is well-formed or not; the nodes and tags are then undefined.
/// Nearly every data file is plain, and this parser is faster than the one for all of XML.
[[nodiscard]] bool parsePlain(Tree::Parsed& parsed, std::size_t deepest, std::size_t begin = 0);

}  // namespace Tal::xml
