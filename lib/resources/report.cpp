#include <core/debug_message.h>
#include <resources/report.h>

namespace Tal {

void reportRefusal(BasicStringRef text) {
  DebugMessageHelper({0, 5}, "resources", 0).message(text);
}

void reportFailedSave(const Fault& fault) {
  Fault shown = fault;
  shown.what += "; the edits are kept";
  DebugMessageHelper::criticalMessage("lib/resources/report", __LINE__, "%s", textOf(shown).c_str());
}

}  // namespace Tal
