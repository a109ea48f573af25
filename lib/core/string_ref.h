#pragma once

#include <string_view>

namespace Tal {

/// A view of characters that somebody else owns; it is valid as long as they are.
using BasicStringRef = std::string_view;

}  // namespace Tal
