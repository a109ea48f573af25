#include <core/utf8.h>
#include <xml/syntax_fault.h>

#include <algorithm>
#include <utility>

namespace Tal::xml {

Fault faultBehind(BasicStringRef text, std::string what, std::string remedy) {
  const auto isBegin = [](char c) { return !isContinuationByte(c); };  // of a character
  const auto lines = std::count(text.begin(), text.end(), '\n');
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const BasicStringRef line = text.substr(text.rfind('\n') + 1);  // all of it when there is no line end
  const auto column = std::count_if(line.begin(), line.end(), isBegin);
  return {FaultKind::malformed,
          std::move(what),
          std::move(remedy),
          "",
          static_cast<std::size_t>(lines) + 1,
          static_cast<std::size_t>(column) + 1};
}

}  // namespace Tal::xml
