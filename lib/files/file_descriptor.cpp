#include <files/file_descriptor.h>
#include <files/system.h>

#include <unistd.h>

namespace Tal::files {

FileDescriptor::~FileDescriptor() {
  if (descriptor_ >= 0) system().close(descriptor_);
}

}  // namespace Tal::files
