#pragma once

#include <core/result.h>
#include <core/string_ref.h>

namespace Tal::authoring {

/// What keeps the database from holding a text exactly as it is, and what to do: the end of a line for a
/// person that begins with the text. Empty when it can. Usable on any thread; the view is valid for ever.
BasicStringRef faultOfStoredText(BasicStringRef text) noexcept;

/// A fault, which leaves what to do to the caller, when the database cannot hold a model of this name. Usable
/// on any thread.
Result<void> checkModelName(BasicStringRef modelName);

}  // namespace Tal::authoring
