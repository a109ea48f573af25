#include <core/debug_message.h>
#include <resources/report.h>

namespace Tal {

void reportRefusal(BasicStringRef text) {
  DebugMessageHelper({0, 5}, "resources", 0).message(text);
}

}  // namespace Tal
