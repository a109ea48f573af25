#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// Whether XML can hold `value`: valid UTF-8 without control characters other than tab, line feed and
/// carriage return.
bool isStorable(BasicStringRef value) noexcept;

/// `value`, which is storable, as the content of an element in UTF-8.
std::string escapedText(BasicStringRef value);

}  // namespace Tal
