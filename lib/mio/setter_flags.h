#pragma once

#include <cstdint>

namespace mio {

/// How a property was set, or a method called; slots of a record's change signal receive it.
enum class SetterFlags : std::uint32_t {
  none = 0,
  interactive = 1,  ///< in the middle of a gesture, such as the drag of a slider: another value follows
};

constexpr SetterFlags operator|(SetterFlags a, SetterFlags b) noexcept {
  return static_cast<SetterFlags>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}

/// Whether every one of the wanted flags is set.
constexpr bool hasFlags(SetterFlags flags, SetterFlags wanted) noexcept {
  return (static_cast<std::uint32_t>(flags) & static_cast<std::uint32_t>(wanted)) ==
         static_cast<std::uint32_t>(wanted);
}

}  // namespace mio
