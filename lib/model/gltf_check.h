#pragma once

#include <core/string_ref.h>

namespace Tal {

/// Makes sure that a glTF 2.0 document is one that can be walked without looking again: it is JSON of bounded
/// depth and size, every index is in range, every accessor lies aligned inside its buffer view and every
/// buffer view inside its buffer (as long as the document says that the buffer is), the accessors of a
/// primitive fit together, and it requires neither a later version nor an extension that is unknown here.
/// What the data of the accessors says is not looked at (see checkGltfIndices). Throws GltfFault, with the
/// place of what is wrong. Usable on any thread.
void checkGltfJson(BasicStringRef text);

}  // namespace Tal
