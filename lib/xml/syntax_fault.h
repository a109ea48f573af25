#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <string>

namespace Tal::xml {

constexpr BasicStringRef kByteOrderMark = "\xEF\xBB\xBF";

/// The fault of a text that cannot be opened as a document, at the character that follows `text`, its
/// beginning in UTF-8, of which a byte-order mark is no column.
Fault faultBehind(BasicStringRef text, std::string what, std::string remedy = {});

}  // namespace Tal::xml
