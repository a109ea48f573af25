#include <core/reference_count.h>

namespace Tal {

// Not in the header: static analysis cannot follow the count, and would see every drop delete the object.
void SafeReferenceCount::destroy() const noexcept {
  delete this;
}

}  // namespace Tal
