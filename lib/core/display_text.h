#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// `text` with everything that a terminal would act on written as an escape: the ASCII controls and DEL (as
/// "\n" or "\x1b"), the controls U+0080 to U+009F ("\u009b"), the characters that end a line or set the
/// direction of text ("\u2028", "\u202e"), bytes that are not UTF-8 ("\xff"), and every backslash. Other
/// UTF-8 stays as it is. For showing names that come from files.
std::string escapeControls(BasicStringRef text);

/// A JSON text with the same characters as escapes of JSON, which holds those above ASCII in its strings
/// only.
std::string escapeControlsOfJson(BasicStringRef json);

/// A name or path from a file as messages show it: control characters escaped, the middle of a very long one
/// left out.
std::string shownName(BasicStringRef name);

/// The same in double quotes.
std::string quotedName(BasicStringRef name);

}  // namespace Tal
