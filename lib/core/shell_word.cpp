#include <core/display_text.h>
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

void appendEscaped(std::string& word, char character) {
  const auto byte = static_cast<unsigned char>(character);
  word += '\\';
  for (const unsigned shift : {6U, 3U, 0U}) word += static_cast<char>('0' + ((byte >> shift) & 7U));
}

std::string escapedWord(BasicStringRef text) {
  std::string word = "$'";
  for (const char character : text) {
    if (!isPrintable(character) || character == '\'' || character == '\\') {
      appendEscaped(word, character);
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
