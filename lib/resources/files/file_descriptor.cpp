#include <resources/files/file_descriptor.h>

#include <unistd.h>

namespace Tal {

FileDescriptor::~FileDescriptor() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

}  // namespace Tal
