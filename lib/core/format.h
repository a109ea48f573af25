#pragma once

#include <core/string_ref.h>

#include <cstdarg>
#include <string>

namespace Tal {

/// The text that printf makes of `format` and its arguments; empty when the format cannot be carried out.
[[gnu::format(printf, 1, 2)]] std::string formatString(const char* format, ...);

/// formatString for a function that itself takes variable arguments; `arguments` is used up.
[[gnu::format(printf, 1, 0)]] std::string formatList(const char* format, std::va_list arguments);

}  // namespace Tal
