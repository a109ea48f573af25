#include <resources/storable_text.h>
#include <xml/text.h>

#include <cstdint>

namespace Tal {

bool isStorable(BasicStringRef value) noexcept {
  while (!value.empty())
    if (xml::takeCharacter(value) == 0) return false;
  return true;
}

std::string escapedText(BasicStringRef value) {
  constexpr std::uint32_t kLargestCharacter = 0x10ffff;
  return xml::escaped(value, kLargestCharacter);
}

}  // namespace Tal
