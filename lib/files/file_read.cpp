#include <files/file_descriptor.h>
#include <files/file_read.h>
#include <files/retry_on_eintr.h>
#include <files/system.h>
#include <files/system_fault.h>

#include <fcntl.h>
#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

namespace Tal::files {
namespace {

/// A file that is written while it is read is read again, at most so often.
constexpr int kAttempts = 5;

/// What fits into a processor's cache beside what it is compared with.
constexpr std::size_t kPiece = std::size_t{1} << 18U;

/// Reads from a place on until the size is reached or the file ends; how many bytes came, -1 on an error.
std::ptrdiff_t readFully(int descriptor, char* into, std::size_t size, std::size_t place = 0) {
  std::size_t done = 0;
  while (done < size) {
    const std::ptrdiff_t count =
        retryOnEintr([&] { return system().pread(descriptor, into + done, size - done, place + done); });
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return static_cast<std::ptrdiff_t>(done);
}

FileDescriptor openToRead(const std::filesystem::path& file) {
  return FileDescriptor(retryOnEintr(
      [&] { return system().openat(AT_FDCWD, file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK, 0); }));
}

Result<FileContent> readOpened(const FileDescriptor& file, std::size_t largest) {
  if (!file) return failedReading("cannot open the file", errno);
  return readFile(file.get(), largest);
}

}  // namespace

Result<FileContent> readFile(int descriptor, std::size_t largest) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const auto before = identityOf(descriptor);
    if (!before) return failedReading("cannot examine the file", errno);
    const auto size = static_cast<std::size_t>(before->size);
    if (size > largest) {
      return Fault{FaultKind::refused, "the file is larger than " + std::to_string(largest >> 20U) + " MiB",
                   "divide it"};
    }
    FileContent content{ByteBuffer(size), *before};
    const std::ptrdiff_t count = readFully(descriptor, content.bytes.data(), size);
    if (count < 0) return failedReading("cannot read the file", errno);
    if (static_cast<std::size_t>(count) == size && identityOf(descriptor) == before) return content;
  }
  return Fault{FaultKind::busy, "the file is being written all the time", "wait until that is done"};
}

Result<FileIdentity> readPieces(int descriptor, const std::function<bool(BasicStringRef)>& take) {
  const auto before = identityOf(descriptor);
  if (!before) return failedReading("cannot examine the file", errno);
  std::vector<char> buffer(kPiece);
  const auto size = static_cast<std::size_t>(before->size);
  for (std::size_t place = 0; place < size;) {
    const std::ptrdiff_t count =
        readFully(descriptor, buffer.data(), std::min(buffer.size(), size - place), place);
    if (count < 0) return failedReading("cannot read the file", errno);
    if (count == 0) break;
    if (!take({buffer.data(), static_cast<std::size_t>(count)}))
      return Fault{FaultKind::refused, "the file was not read to its end", ""};
    place += static_cast<std::size_t>(count);
  }
  if (identityOf(descriptor) == before) return *before;
  return Fault{FaultKind::changed, "the file was changed while it was read", "read it again"};
}

Result<FileIdentity> readPieces(const std::filesystem::path& file,
                                const std::function<bool(BasicStringRef)>& take) {
  const FileDescriptor opened = openToRead(file);
  if (!opened) return failedReading("cannot open the file", errno);
  return readPieces(opened.get(), take);
}

Result<FileContent> readFile(const std::filesystem::path& file, std::size_t largest) {
  return readOpened(openToRead(file), largest);
}

Result<FileContent> readFile(const OpenPlace& place, std::size_t largest) {
  return readOpened(place.openToRead(), largest);
}

}  // namespace Tal::files
