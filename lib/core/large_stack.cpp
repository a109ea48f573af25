#include <core/large_stack.h>

#include <exception>
#include <limits>
#include <new>

#include <pthread.h>

namespace Tal {
namespace {

constexpr std::size_t kReserve = std::size_t{1} << 20U;  // for what runs on the stack besides the recursion

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
  constexpr std::size_t kPage = 4096;
  if (bytes > std::numeric_limits<std::size_t>::max() - kReserve - kPage) throw std::bad_alloc();
  const std::size_t size = (bytes + kReserve + kPage - 1) / kPage * kPage;
  Job job{&work, nullptr};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_t thread{};
  const bool isStarted = pthread_attr_setstacksize(&attributes, size) == 0 &&
                         pthread_create(&thread, &attributes, runJob, &job) == 0;
  pthread_attr_destroy(&attributes);
  if (!isStarted) throw std::bad_alloc();
  pthread_join(thread, nullptr);
  if (job.failure) std::rethrow_exception(job.failure);
}

}  // namespace Tal
