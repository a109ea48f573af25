#pragma once

#include <core/debug_message.h>
#include <destructibles/ks_destructibles_helper/fixed_names.h>

namespace Tal {

/// Reports a development assertion that does not hold; execution continues.
inline void reportAssertion(const char* expression, unsigned line) {
  DebugMessageHelper::criticalMessage(fixed_names::kSource, line, "ASSERTION FAILED: %s\r\n%s(%d)%s%s\r\n",
                                      expression, fixed_names::kSource, static_cast<int>(line), "", "");
}

}  // namespace Tal
