#pragma once

#include <string_view>

namespace Tal {

/// A view of characters that it does not own and that must outlive it.
using BasicStringRef = std::string_view;

}  // namespace Tal
