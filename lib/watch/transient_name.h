#pragma once

#include <core/string_ref.h>

namespace Tal::watch {

/// Whether programs give a file such a name only until they have saved, or keep an older version under it:
/// ".a.xml.swp", "#a.xml#", "a.xml~", "a.xml.tmp". What happens to such a file is no change of a resource.
bool isTransientName(BasicStringRef fileName);

}  // namespace Tal::watch
