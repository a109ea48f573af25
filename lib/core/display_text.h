#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// `text` with everything that a terminal would act on written as an escape: the ASCII controls and DEL (as
/// "\n" or "\x1b"), the controls U+0080 to U+009F ("\u009b"), bytes that are not UTF-8 ("\xff"), and every
/// backslash. Other UTF-8 stays as it is. For showing names that come from files.
std::string escapeControls(BasicStringRef text);

/// A name from a file as messages show it: in double quotes, control characters escaped, the middle of a very
/// long name left out.
std::string quotedName(BasicStringRef name);

}  // namespace Tal
