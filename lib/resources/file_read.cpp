#include <resources/descriptor.h>
#include <resources/file_read.h>
#include <resources/retried.h>

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <memory>

namespace Tal {
namespace {

/// A file that is written while it is read is read again, at most so often.
constexpr int kAttempts = 5;

std::string systemFailure(const char* step) {
  return std::string("cannot ") + step + " the file: " + std::strerror(errno) +
         "; make it readable and open it again";
}

/// Reads until the size is reached or the file ends; how many bytes came, -1 on an error.
std::ptrdiff_t readFully(int descriptor, char* into, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = retried([&] { return ::read(descriptor, into + done, size - done); });
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return static_cast<std::ptrdiff_t>(done);
}

}  // namespace

std::string readFile(const std::filesystem::path& file, std::size_t largest, FileContent& content) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const Descriptor descriptor(
        retried([&] { return ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
    if (!descriptor) return systemFailure("open");
    const auto before = identityOf(descriptor.get());
    if (!before) return systemFailure("examine");
    const auto size = static_cast<std::size_t>(before->size);
    if (size > largest)
      return "the file is larger than " + std::to_string(largest >> 20U) + " MiB; divide it";
    content.bytes = Xml::Source(size);
    const std::ptrdiff_t count = readFully(descriptor.get(), content.bytes.data(), size);
    if (count < 0) return systemFailure("read");
    content.identity = *before;
    if (static_cast<std::size_t>(count) == size && identityOf(descriptor.get()) == before) return {};
  }
  return "the file is being written all the time; open it again when that is done";
}

}  // namespace Tal
