#pragma once

#include <core/string_ref.h>
#include <core/white_space.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace Tal::xml {

/// The text of XML documents in UTF-8: white space, references, escaping. Raw text is the content between two
/// tags as it stands in a well-formed document: character data, references, CDATA sections, comments and
/// processing instructions.

/// The document's own text entities, name to replacement text.
using Entities = std::map<std::string, std::string, std::less<>>;

constexpr BasicStringRef kCdataBegin = "<![CDATA[";
constexpr BasicStringRef kCdataEnd = "]]>";

/// The white space at the end of `text`.
BasicStringRef trailingSpace(BasicStringRef text) noexcept;

/// Whether raw text stands for itself: no references, CDATA sections, comments, instructions or line ends to
/// normalise.
bool isPlain(BasicStringRef raw) noexcept;

/// Appends the character data that raw text stands for.
void decode(BasicStringRef raw, const Entities& entities, std::string& out);

/// `value` as character data. `value` is storable; its characters above `largestCharacter` are written as
/// references.
std::string escaped(BasicStringRef value, std::uint32_t largestCharacter);

/// Whether no character of valid `text` is above `largestCharacter`.
bool isWithin(BasicStringRef text, std::uint32_t largestCharacter) noexcept;

/// Takes the first character off `text`, which is not empty, and returns its code. A byte that begins no
/// well-formed UTF-8 is taken alone and gives 0; so does a character that XML cannot hold.
std::uint32_t takeCharacter(BasicStringRef& text) noexcept;

/// One run of raw text: character data (with references and CDATA sections), or a comment or processing
/// instruction.
struct TextRun {
  BasicStringRef text;
  bool isMarkup = false;
};

/// The run that begins at `position`, which is below raw.size().
TextRun textRunAt(BasicStringRef raw, std::size_t position) noexcept;

}  // namespace Tal::xml
