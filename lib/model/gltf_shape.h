#pragma once

#include <core/string_ref.h>

namespace Tal {

/// Makes sure that a text is JSON with no more than 4,000,000 values, nested no deeper than 64 levels, so
/// that parsing it and walking through it are bounded. Nothing of the document is kept. Throws GltfFault.
/// Usable on any thread.
void checkGltfShape(BasicStringRef text);

}  // namespace Tal
