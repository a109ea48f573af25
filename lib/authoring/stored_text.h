#pragma once

#include <core/result.h>
#include <core/string_ref.h>

namespace Tal::authoring {

/// A fault when the database cannot hold a text exactly as it is; what happened begins after the text. Usable
/// on any thread.
Result<void> checkStoredText(BasicStringRef text);

/// A fault, which leaves what to do to the caller, when the database cannot hold a model of this name. Usable
/// on any thread.
Result<void> checkModelName(BasicStringRef modelName);

}  // namespace Tal::authoring
