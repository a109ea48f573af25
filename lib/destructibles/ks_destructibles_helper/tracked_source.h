#pragma once

namespace Tal {

/// The source under which every operation of the helper is tracked. The numbers beside it are positions that
/// support tools know the operations by; they do not follow the code.
inline constexpr char kSource[] = "lib/destructibles/ks_destructibles_helper";

}  // namespace Tal
