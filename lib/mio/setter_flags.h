#pragma once

#include <cstdint>

namespace mio {

/// How a property was set, or a method called; slots of a record's change signal receive it.
enum class SetterFlags : std::uint32_t {
  none = 0,
  interactive = 1,  ///< in the middle of a gesture, such as the drag of a slider: another value follows
};

}  // namespace mio
