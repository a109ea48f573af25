#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// Logs a refused or failed operation of this room: one message of priority 5, category "resources".
void reportRefusal(BasicStringRef text);

}  // namespace Tal
