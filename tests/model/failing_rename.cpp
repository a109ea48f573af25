#include "failing_rename.h"

#include <fcntl.h>
#include <cerrno>
#include <cstdio>

namespace {

int s_succeeding = 0;
int s_failing = 0;

}  // namespace

namespace support {

FailingRename::FailingRename(int succeeding, int failing) {
  s_succeeding = succeeding;
  s_failing = failing;
}

FailingRename::~FailingRename() {
  s_succeeding = s_failing = 0;
}

}  // namespace support

// Stands in for the C library's operation in this program.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the names there are reserved ones
extern "C" int rename(const char* from, const char* to) noexcept {
  if (s_succeeding > 0) {
    --s_succeeding;
  } else if (s_failing > 0) {
    --s_failing;
    errno = ENOSPC;
    return -1;
  }
  return renameat(AT_FDCWD, from, AT_FDCWD, to);
}
