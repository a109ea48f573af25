#pragma once

#include <core/debug_message.h>
#include <core/string_ref.h>

namespace Tal {

inline constexpr int kCompletedPriority = 2;
inline constexpr int kWarningPriority = 4;
inline constexpr int kRefusedPriority = 5;

/// Logs a text of the helper. It is not a format: a '%' in a model's name stays what it is.
inline void logMessage(int priority, BasicStringRef text) {
  DebugMessageHelper({0, priority}, "", 0).message(text);
}

}  // namespace Tal
