#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// Logs a refused or failed operation of this room: one message of priority 5, category "resources".
void reportRefusal(BasicStringRef text);

/// A resource name or path for a message: in double quotes, control characters escaped.
std::string inQuotes(BasicStringRef name);

}  // namespace Tal
