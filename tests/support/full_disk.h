#pragma once

#include <sys/resource.h>
#include <csignal>

namespace support {

/// A disk that has room for no file above a size, for this process and the length of a scope: whoever runs
/// the test, every save of more fails.
class FullDisk {
 public:
  explicit FullDisk(rlim_t largestFile = 0) : previousHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &previous_);
    const rlimit small{largestFile, previous_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &previous_);
    std::signal(SIGXFSZ, previousHandler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit previous_{};
  void (*previousHandler_)(int);
};

}  // namespace support
