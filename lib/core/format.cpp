#include <core/format.h>

#include <array>
#include <cstdarg>
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

std::string escapeControls(BasicStringRef text) {
  static constexpr std::array<char, 16> kHexDigits = {'0', '1', '2', '3', '4', '5', '6', '7',
                                                      '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
  std::string escaped;
  escaped.reserve(text.size());
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '\\') {
      escaped += "\\\\";
    } else if (character == '\n') {
      escaped += "\\n";
    } else if (character == '\r') {
      escaped += "\\r";
    } else if (character == '\t') {
      escaped += "\\t";
    } else if (byte < 0x20 || byte == 0x7f) {
      escaped += {'\\', 'x', kHexDigits[byte >> 4U], kHexDigits[byte & 0x0fU]};
    } else {
      escaped += character;
    }
  }
  return escaped;
}

}  // namespace Tal
