#pragma once

#include <core/string_ref.h>

namespace Tal::xml {

/// White space in front of an element, as far as it belongs to the element's own line: from the last line end
/// on, or all of it when there is none.
BasicStringRef lineOf(BasicStringRef space) noexcept;

/// The line end that such a line begins with ("\n" or "\r\n"); empty when the element stands within a line.
BasicStringRef lineEndOf(BasicStringRef line) noexcept;

/// What follows the line end.
BasicStringRef indentOf(BasicStringRef line) noexcept;

}  // namespace Tal::xml
