#include <core/large_stack.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <new>
#include <stdexcept>

namespace {

using Tal::runOnLargeStack;

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;

/// Uses about 1 KiB of stack per level.
int recurse(int depth) {
  volatile char room[1024];  // NOLINT(modernize-avoid-c-arrays): what matters is that it is on the stack
  room[0] = static_cast<char>(depth);
  return depth == 0 ? 0 : recurse(depth - 1) + (room[0] == static_cast<char>(depth) ? 1 : 0);
}

TEST(ALargeStack, HoldsARecursionThatTheCallersWouldNot) {
  int depth = 0;
  runOnLargeStack(256 * kMebibyte, [&depth] { depth = recurse(60'000); });
  EXPECT_EQ(depth, 60'000);
}

TEST(ALargeStack, IsDoneWhenTheCallReturns) {
  int value = 0;
  runOnLargeStack(0, [&value] { value = 7; });
  EXPECT_EQ(value, 7);
}

TEST(ALargeStack, PassesOnWhatTheWorkThrows) {
  EXPECT_THROW(runOnLargeStack(0, [] { throw std::out_of_range("here"); }), std::out_of_range);
}

TEST(ALargeStack, ThatCannotBeHadIsReportedAndRunsNothing) {
  bool isRun = false;
  EXPECT_THROW(runOnLargeStack(std::numeric_limits<std::size_t>::max() / 4, [&isRun] { isRun = true; }),
               std::bad_alloc);
  EXPECT_THROW(runOnLargeStack(std::numeric_limits<std::size_t>::max(), [&isRun] { isRun = true; }),
               std::bad_alloc);
  EXPECT_FALSE(isRun);
}

}  // namespace
