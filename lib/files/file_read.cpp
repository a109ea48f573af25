#include <files/file_descriptor.h>
#include <files/file_read.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>
#include <files/system_fault.h>

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <vector>

namespace Tal::files {
namespace {

/// A file that is written while it is read is read again, at most so often.
constexpr int kAttempts = 5;

/// What fits into a processor's cache beside what it is compared with.
constexpr std::size_t kReadPiece = std::size_t{1} << 18U;

FileDescriptor openToRead(const std::filesystem::path& file) {
  return FileDescriptor(retryOnEintr(
      [&] { return system().openat(AT_FDCWD, file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK, 0); }));
}

/// Reads until the size is reached or the file ends; how many bytes came, -1 on an error.
std::ptrdiff_t readFully(int descriptor, char* into, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = retryOnEintr([&] { return system().read(descriptor, into + done, size - done); });
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return static_cast<std::ptrdiff_t>(done);
}

template <class Open>
Result<FileContent> readWhole(const Open& open, std::size_t largest) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const FileDescriptor descriptor = open();
    if (!descriptor) return failedReading("cannot open the file", errno);
    const auto before = identityOf(descriptor.get());
    if (!before) return failedReading("cannot examine the file", errno);
    const auto size = static_cast<std::size_t>(before->size);
    if (size > largest)
      return Fault{FaultKind::refused, "the file is larger than " + std::to_string(largest >> 20U) + " MiB",
                   "divide it"};
    FileContent content{ByteBuffer(size), *before};
    const std::ptrdiff_t count = readFully(descriptor.get(), content.bytes.data(), size);
    if (count < 0) return failedReading("cannot read the file", errno);
    if (static_cast<std::size_t>(count) == size && identityOf(descriptor.get()) == before) return content;
  }
  return Fault{FaultKind::busy, "the file is being written all the time", "wait until that is done"};
}

}  // namespace

std::optional<FileIdentity> readPieces(const std::filesystem::path& file,
                                       const std::function<bool(BasicStringRef)>& take) {
  const FileDescriptor descriptor = openToRead(file);
  const auto before = descriptor ? identityOf(descriptor.get()) : std::nullopt;
  if (!before) return std::nullopt;
  std::vector<char> buffer(kReadPiece);
  for (std::ptrdiff_t left = before->size; left > 0;) {
    const std::ptrdiff_t count = readFully(descriptor.get(), buffer.data(), buffer.size());
    if (count <= 0 || count > left || !take({buffer.data(), static_cast<std::size_t>(count)}))
      return std::nullopt;
    left -= count;
  }
  return identityOf(descriptor.get()) == before ? before : std::nullopt;
}

Result<FileContent> readFile(const std::filesystem::path& file, std::size_t largest) {
  return readWhole([&] { return openToRead(file); }, largest);
}

Result<FileContent> readFile(const OpenPlace& place, std::size_t largest) {
  return readWhole([&] { return place.openToRead(); }, largest);
}

}  // namespace Tal::files
