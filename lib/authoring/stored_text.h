#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal::authoring {

/// What keeps the database from holding a text exactly as it is, and what to do: the end of a line for a
/// person that begins with the text. Empty when it can. Usable on any thread; the view is valid for ever.
BasicStringRef faultOfStoredText(BasicStringRef text) noexcept;

/// Why the database cannot hold a model of this name, a line for a person that leaves what to do to the
/// caller; empty when it can. Usable on any thread.
std::string faultOfModelName(BasicStringRef modelName);

}  // namespace Tal::authoring
