#include <core/debug_message.h>
#include <core/display_text.h>
#include <resources/report.h>

namespace Tal {

void reportRefusal(BasicStringRef text) {
  DebugMessageHelper({0, 5}, "resources", 0).message(text);
}

std::string inQuotes(BasicStringRef name) {
  return '"' + escapeControls(name) + '"';
}

}  // namespace Tal
