#include <core/display_text.h>
#include <core/format.h>
#include <core/shell_word.h>

#include <algorithm>

namespace Tal {
namespace {

constexpr BasicStringRef kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./=+,:@%";

bool isPrintable(char character) {
  return character >= ' ' && character <= '~';
}

// Backslashes act on no terminal.
bool actsOnTerminals(BasicStringRef text) {
  std::string shown(text);
  std::ranges::replace(shown, '\\', '/');
  return escapeControls(shown) != shown;
}

std::string escapedWord(BasicStringRef text) {
  std::string word = "$'";
  for (const char character : text) {
    if (!isPrintable(character) || character == '\'' || character == '\\') {
      word += formatString("\\%03o", static_cast<unsigned char>(character));
    } else {
      word += character;
    }
  }
  return word + '\'';
}

}  // namespace

std::string shellWord(BasicStringRef text) {
  if (!text.empty() && text.find_first_not_of(kPlain) == BasicStringRef::npos) return std::string(text);
  if (actsOnTerminals(text)) return escapedWord(text);
  std::string word = "'";
  for (const char character : text) {
    if (character == '\'') {
      word += "'\\''";
    } else {
      word += character;
    }
  }
  return word + '\'';
}

}  // namespace Tal
