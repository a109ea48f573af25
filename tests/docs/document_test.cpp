#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/document.h>

namespace {

using support::blocksBetween;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(TheBlocksOfADocument, AreFoundWithoutTheirIndentation) {
  EXPECT_THAT(blocksBetween("a\n```cpp\nx\n  y\n```\nb\n```cpp\n```\n", "```cpp", "```"),
              ElementsAre("x\n  y\n", ""));
  EXPECT_THAT(blocksBetween("  // [shown]\n  x\n\n    y\n  // [/shown]\n", "// [shown]", "// [/shown]"),
              ElementsAre("x\n\n  y\n"));
  EXPECT_THAT(blocksBetween("no block\n", "```cpp", "```"), IsEmpty());
}

}  // namespace
