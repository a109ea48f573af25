#pragma once

#include <core/result.h>
#include <core/string_ref.h>

namespace Tal {

/// Logs a refused or failed operation of this module: one message of priority 5, category "resources".
void reportRefusal(BasicStringRef text);

/// Logs, as one critical message, the fault of a save whose edits are kept.
void reportFailedSave(const Fault& fault);

}  // namespace Tal
