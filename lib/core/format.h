#pragma once

#include <core/string_ref.h>

#include <cstdarg>
#include <string>

namespace Tal {

/// The text that printf makes of `format` and its arguments; empty when the format cannot be carried out.
[[gnu::format(printf, 1, 2)]] std::string formatString(const char* format, ...);

/// formatString for a function that itself takes variable arguments; `arguments` is used up.
[[gnu::format(printf, 1, 0)]] std::string formatList(const char* format, std::va_list arguments);

/// `text` with everything that a terminal would act on written as an escape: the ASCII controls and DEL
/// ("\n",
/// "\x1b"), the controls U+0080 to U+009F ("\u009b"), bytes that are not UTF-8 ("\xff"), and every backslash.
/// Other UTF-8 stays as it is. For showing names that come from files.
std::string escapeControls(BasicStringRef text);

}  // namespace Tal
