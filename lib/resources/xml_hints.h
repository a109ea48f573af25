#pragma once

#include <core/string_ref.h>

#include <cstddef>
#include <optional>
#include <string>

namespace Tal::Xml {

/// What a parser found wrong, as far as it takes to guess what a person did.
enum class Slip {
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

/// What a person has to do about a document that goes wrong at `position`, as far as that can be guessed;
/// empty when it cannot. One line; control characters of the document are escaped, its long names shortened.
std::string hintFor(Slip slip, BasicStringRef source, std::size_t position,
                    const std::optional<OpenElement>& open);

}  // namespace Tal::Xml
