#pragma once

#include <files/system.h>

#include <atomic>
#include <functional>
#include <string>
#include <utility>

namespace support {

/// Which call is to go wrong: the n-th of an operation since it was ordered. The operations are "open",
/// "mkdir", "write", "fsync", "close", "fchmod" and "rename".
struct FaultOrder {
  std::string operation = {};
  int countdown = 0;
  int code = 0;
  bool areWritesShort = false;
  int calls = 0;                         ///< of the operation, so far
  std::function<void()> meanwhile = {};  ///< done before the call, which then goes well
};

/// What a file system has locks for.
enum class Locks { everything, onlyWhatIsOpenForWriting, nothing };

/// The operating system, but for the calls that are ordered to go wrong. It is the process's as long as it
/// lives. Used by one thread.
class FaultySystem : public Tal::files::System {
 public:
  FaultOrder order;
  Locks locks = Locks::everything;

  int openat(int folder, const char* name, int flags, unsigned mode) override;
  int mkdirat(int folder, const char* name, unsigned mode) override;
  std::ptrdiff_t write(int descriptor, const void* bytes, std::size_t size) override;
  int fsync(int descriptor) override;
  int close(int descriptor) override;
  int fchmod(int descriptor, unsigned mode) override;
  int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) override;
  int flock(int descriptor, int operation) override;

 private:
  bool isDue(const char* operation);

  Tal::files::SystemReplacement replacement_{*this};
};

}  // namespace support
