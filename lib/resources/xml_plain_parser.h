#pragma once

#include <resources/xml_tree.h>

namespace Tal::Xml {

/// Fills a document's nodes and tags from its source if the document is well-formed and plain: in UTF-8, made
/// of elements with ASCII names, attributes without references, text with numeric references and those to the
/// built-in and the document's entities, CDATA sections, comments and instructions, not nested deeper than
/// `deepest` levels. A document type is none of it: what stands behind one is parsed when that begins at
/// `begin`; 0 is the beginning of the document. False for everything else, well-formed or not, of which it
/// says nothing; the nodes and tags are then undefined.
///
/// Nearly every data file is plain, and this takes a quarter of the time of the parser for all of XML.
bool parsePlain(Tree::Parsed& parsed, std::size_t deepest, std::size_t begin = 0);

}  // namespace Tal::Xml
