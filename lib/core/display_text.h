#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// `text` with everything that a terminal would act on escaped, for showing names that come from files:
///
/// - ASCII controls and DEL, as "\n" or "\x1b"
/// - the controls U+0080 to U+009F, as "\u009b"
/// - characters that end a line or set the direction of text, as "\u2028" and "\u202e"
/// - bytes that are not UTF-8, as "\xff"
/// - backslashes
///
/// Other UTF-8 is unchanged.
std::string escapeControls(BasicStringRef text);

/// A JSON text with the same characters escaped as in JSON, in which those above ASCII occur in strings only.
std::string escapeControlsOfJson(BasicStringRef json);

/// A name or path as messages show it: control characters escaped, the middle of a very long one left out.
std::string shownName(BasicStringRef name);

/// The same in double quotes.
std::string quotedName(BasicStringRef name);

}  // namespace Tal
