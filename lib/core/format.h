#pragma once

#include <core/string_ref.h>

#include <cstdarg>
#include <string>

namespace Tal {

/// The text that printf makes of `format` and its arguments; empty when formatting fails.
[[gnu::format(printf, 1, 2)]] std::string formatString(const char* format, ...);

/// The same for a function that takes variable arguments itself; consumes `arguments`.
[[gnu::format(printf, 1, 0)]] std::string formatList(const char* format, std::va_list arguments);

}  // namespace Tal
