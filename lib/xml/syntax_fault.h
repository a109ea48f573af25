#pragma once

#include <core/result.h>
#include <core/string_ref.h>

#include <string>

namespace Tal::xml {

constexpr BasicStringRef kByteOrderMark = "\xEF\xBB\xBF";

/// A fault for malformed text. `text` is the UTF-8 text before the faulty character and determines line and
/// column; a byte-order mark takes no column.
Fault faultBehind(BasicStringRef text, std::string what, std::string remedy = {});

}  // namespace Tal::xml
