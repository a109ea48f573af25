#include <mio/object.h>

namespace mio {

Object::Object() = default;
Object::Object(const Object&) = default;
Object& Object::operator=(const Object&) = default;
Object::~Object() = default;

}  // namespace mio
