#include <files/file_descriptor.h>

#include <unistd.h>

namespace Tal::files {

FileDescriptor::~FileDescriptor() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

}  // namespace Tal::files
