#include <support/failing_allocation.h>

#include <cstdlib>
#include <new>

namespace {

// How many allocations of this thread still succeed before one fails; negative: no one fails.
thread_local long allocationsLeft = -1;

bool isToFail() noexcept {
  if (allocationsLeft < 0) return false;
  return allocationsLeft-- == 0;
}

void* allocate(std::size_t size) noexcept {
  return isToFail() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* allocate(std::size_t size, std::align_val_t alignment) noexcept {
  const auto unit = static_cast<std::size_t>(alignment);
  return isToFail() ? nullptr : std::aligned_alloc(unit, (size / unit + 1) * unit);
}

void* orThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// clang-format off
void* operator new(std::size_t size) { return orThrow(allocate(size)); }
void* operator new[](std::size_t size) { return orThrow(allocate(size)); }
void* operator new(std::size_t size, std::align_val_t unit) { return orThrow(allocate(size, unit)); }
void* operator new[](std::size_t size, std::align_val_t unit) { return orThrow(allocate(size, unit)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t unit, const std::nothrow_t&) noexcept { return allocate(size, unit); }
void* operator new[](std::size_t size, std::align_val_t unit, const std::nothrow_t&) noexcept { return allocate(size, unit); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept { std::free(memory); }
// clang-format on

namespace support {

FailingAllocation::FailingAllocation(long place) noexcept {
  allocationsLeft = place;
}

FailingAllocation::~FailingAllocation() {
  allocationsLeft = -1;
}

bool FailingAllocation::hasFailed() const noexcept {
  return allocationsLeft < 0;
}

}  // namespace support
