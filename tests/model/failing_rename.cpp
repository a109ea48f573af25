#include "failing_rename.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace {

int s_succeeding = 0;
int s_failing = 0;

std::function<void()> s_watch;

int renameOrFail(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  if (s_watch) s_watch();
  if (s_succeeding > 0) {
    --s_succeeding;
  } else if (s_failing > 0) {
    --s_failing;
    errno = ENOSPC;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

}  // namespace

namespace support {

FailingRename::FailingRename(int succeeding, int failing) {
  s_succeeding = succeeding;
  s_failing = failing;
}

FailingRename::~FailingRename() {
  s_succeeding = s_failing = 0;
}

WatchedRename::WatchedRename(std::function<void()> watch) {
  s_watch = std::move(watch);
}

WatchedRename::~WatchedRename() {
  s_watch = nullptr;
}

}  // namespace support

// These stand in for the C library's operations in this program.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the names there are reserved ones

extern "C" int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
  return renameOrFail(fromFolder, from, toFolder, to, 0);
}

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned int flags) noexcept {
  return renameOrFail(fromFolder, from, toFolder, to, flags);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
