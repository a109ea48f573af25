#include <core/large_stack.h>

#include <exception>
#include <limits>
#include <new>

#include <pthread.h>
#include <sys/mman.h>

namespace Tal {
namespace {

constexpr std::size_t kReserve = std::size_t{1} << 20U;  // for what runs on the stack besides the recursion

/// Address space for a stack. It is not reserved, so that it costs only what is used of it; a page that
/// cannot be touched lies at its end.
class Mapping {
 public:
  explicit Mapping(std::size_t bytes) {
    constexpr std::size_t kPage = 4096;
    if (bytes > std::numeric_limits<std::size_t>::max() / 2) throw std::bad_alloc();
    size_ = (bytes + kReserve + kPage - 1) / kPage * kPage + kPage;
    base_ = mmap(nullptr, size_, PROT_READ | PROT_WRITE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (base_ == MAP_FAILED) throw std::bad_alloc();
    mprotect(base_, kPage, PROT_NONE);
  }
  ~Mapping() { munmap(base_, size_); }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  void* base() const noexcept { return base_; }
  std::size_t size() const noexcept { return size_; }

 private:
  void* base_ = nullptr;
  std::size_t size_ = 0;
};

struct Job {
  const std::function<void()>* work;
  std::exception_ptr failure;
};

void* runJob(void* argument) {
  Job& job = *static_cast<Job*>(argument);
  try {
    (*job.work)();
  } catch (...) {
    job.failure = std::current_exception();
  }
  return nullptr;
}

}  // namespace

void runOnLargeStack(std::size_t bytes, const std::function<void()>& work) {
  const Mapping stack(bytes);
  Job job{&work, nullptr};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_t thread{};
  const bool isStarted = pthread_attr_setstack(&attributes, stack.base(), stack.size()) == 0 &&
                         pthread_create(&thread, &attributes, runJob, &job) == 0;
  pthread_attr_destroy(&attributes);
  if (!isStarted) throw std::bad_alloc();
  pthread_join(thread, nullptr);
  if (job.failure) std::rethrow_exception(job.failure);
}

}  // namespace Tal
