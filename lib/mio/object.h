#pragma once

#include <cstdint>

namespace mio {

/// How a property was set; slots of a record's change signal receive it.
enum class SetterFlags : std::uint32_t {
  none = 0,
};

/// The base of every record that describes itself. A copy is an object of its own: what the library keeps for
/// an object is never copied with it.
class Object {
 public:
  Object();
  Object(const Object& other);
  Object& operator=(const Object& other);
  virtual ~Object();
};

}  // namespace mio
