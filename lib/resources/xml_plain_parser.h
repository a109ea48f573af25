#pragma once

#include <resources/xml_tree.h>

namespace Tal::Xml {

/// Fills a document's nodes and tags from its source if the document is well-formed and plain: in UTF-8, made
/// of elements with ASCII names, attributes without references, text with the built-in and numeric
/// references, comments, and at most an XML declaration in one of its usual forms, not nested deeper than
/// `deepest` levels. False for everything else, well-formed or not, of which it says nothing; the nodes and
/// tags are then undefined.
///
/// Nearly every data file is plain, and this takes a quarter of the time of the parser for all of XML.
bool parsePlain(Tree::Parsed& parsed, std::size_t deepest);

}  // namespace Tal::Xml
