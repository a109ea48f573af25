#include <core/debug_message.h>
#include <core/format.h>
#include <resources/report.h>
#include <resources/save_queue.h>

namespace Tal {

void reportRefusal(BasicStringRef text) {
  DebugMessageHelper({0, 5}, "resources", 0).message(text);
}

bool reportUnholdable(BasicStringRef key) {
  reportRefusal("the value for " + inQuotes(key) +
                " holds control characters or is not valid UTF-8 and was not written; take them out");
  SaveQueue::instance().noteRefusedValue();
  return false;
}

std::string inQuotes(BasicStringRef name) {
  return '"' + escapeControls(name) + '"';
}

}  // namespace Tal
