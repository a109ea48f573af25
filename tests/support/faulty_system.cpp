#include <support/faulty_system.h>

#include <fcntl.h>
#include <cerrno>

namespace support {

bool FaultySystem::isDue(const char* operation) {
  if (order.operation != operation) return false;
  ++order.calls;
  if (--order.countdown != 0) return false;
  if (order.meanwhile) {
    std::exchange(order.meanwhile, {})();
    return false;
  }
  errno = order.code;
  return true;
}

int FaultySystem::openat(int folder, const char* name, int flags, unsigned mode) {
  return isDue("open") ? -1 : System::openat(folder, name, flags, mode);
}

int FaultySystem::mkdirat(int folder, const char* name, unsigned mode) {
  return isDue("mkdir") ? -1 : System::mkdirat(folder, name, mode);
}

std::ptrdiff_t FaultySystem::write(int descriptor, const void* bytes, std::size_t size) {
  if (isDue("write")) return -1;
  return System::write(descriptor, bytes, order.areWritesShort && size > 3 ? size / 3 : size);
}

int FaultySystem::fsync(int descriptor) {
  return isDue("fsync") ? -1 : System::fsync(descriptor);
}

int FaultySystem::close(int descriptor) {
  const bool isFault = isDue("close");
  const int code = errno;
  const int result = System::close(descriptor);
  if (!isFault) return result;
  errno = code;
  return -1;
}

int FaultySystem::fchmod(int descriptor, unsigned mode) {
  return isDue("fchmod") ? -1 : System::fchmod(descriptor, mode);
}

int FaultySystem::renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  return isDue("rename") ? -1 : System::renameat2(fromFolder, from, toFolder, to, flags);
}

int FaultySystem::flock(int descriptor, int operation) {
  const bool isForReading = (::fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY;
  const bool isLockable =
      locks == Locks::everything || (locks == Locks::onlyWhatIsOpenForWriting && !isForReading);
  if (isLockable) return System::flock(descriptor, operation);
  errno = locks == Locks::nothing ? ENOLCK : EBADF;
  return -1;
}

}  // namespace support
