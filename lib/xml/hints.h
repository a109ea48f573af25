#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <optional>
#include <string>

namespace Tal::xml {

/// What kind of mistake a parser found.
enum class SyntaxErrorKind {
  token,           ///< something that can stand nowhere, or not here
  mismatchedTag,   ///< the end tag of another element than the innermost open one
  missingEnd,      ///< the text ends before the document does
  unclosedToken,   ///< the text ends within a tag, a comment or the like
  secondRoot,      ///< something behind the root
  entity,          ///< a reference to an entity that nobody declared
  attribute,       ///< an attribute that the element has already
  character,       ///< a reference to a character that XML cannot hold
  lateDeclaration  ///< an XML declaration with something in front of it
};

/// The innermost element that is open where a document goes wrong.
struct OpenElement {
  BasicStringRef tag;
  std::size_t begin;  ///< of its start tag
};

/// Advice on how to correct a document in which the parser found a mistake at the offset `position`; empty
/// when there is none to give. `open` is empty when no element is open there. One line; control characters of
/// the document are escaped, its long names shortened.
std::string hintFor(SyntaxErrorKind kind, BasicStringRef source, std::size_t position,
                    const std::optional<OpenElement>& open);

}  // namespace Tal::xml
