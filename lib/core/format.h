#pragma once

#include <core/string_ref.h>

#include <cstdarg>
#include <string>

namespace Tal {

/// The text that printf makes of `format` and its arguments; empty when the format cannot be carried out.
[[gnu::format(printf, 1, 2)]] std::string formatString(const char* format, ...);

/// formatString for a function that itself takes variable arguments; `arguments` is used up.
[[gnu::format(printf, 1, 0)]] std::string formatList(const char* format, std::va_list arguments);

/// `text` with every byte a terminal would act on (C0 controls and DEL) and every backslash written as an
/// escape, such as "\n" or "\x1b"; for showing names that come from files.
std::string escapeControls(BasicStringRef text);

}  // namespace Tal
