#include <support/mapped_file.h>

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <fcntl.h>
#include <unistd.h>

namespace support {

std::shared_ptr<char> mapFile(const std::filesystem::path& file, std::size_t size) {
  const int descriptor = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
  void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  ::close(descriptor);
  EXPECT_NE(memory, MAP_FAILED) << file;
  if (memory == MAP_FAILED) return nullptr;
  return {static_cast<char*>(memory), [size](char* start) { ::munmap(start, size); }};
}

void flushMapped(const std::shared_ptr<char>& memory, std::size_t size) {
  EXPECT_EQ(::msync(memory.get(), size, MS_SYNC), 0);
}

}  // namespace support
