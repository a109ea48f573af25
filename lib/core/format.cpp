#include <core/format.h>

#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace Tal {

std::string formatString(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = formatList(format, arguments);
  va_end(arguments);
  return text;
}

std::string formatList(const char* format, std::va_list arguments) {
  std::va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  if (length <= 0) return {};
  std::string text(static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

}  // namespace Tal
