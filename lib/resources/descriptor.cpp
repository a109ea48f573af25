#include <resources/descriptor.h>

#include <unistd.h>

namespace Tal {

Descriptor::~Descriptor() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

}  // namespace Tal
