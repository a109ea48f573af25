#include <core/assertion.h>
#include <core/debug_message.h>

namespace Tal {

void reportAssertion(const char* expression, const char* source, unsigned line) {
  DebugMessageHelper::criticalMessage(source, line, "ASSERTION FAILED: %s\r\n%s(%d)%s%s\r\n", expression,
                                      source, static_cast<int>(line), "", "");
}

}  // namespace Tal
