// The code that docs/signals.md shows: what stands between "[shown]" and "[/shown]" is there word for word.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ks/signal.h>
#include <support/document.h>
#include <support/temporary_folder.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

// [shown]
class HealthPanel {
 public:
  explicit HealthPanel(ks::Signal<void(int)>& healthChanged)
      : connection_(healthChanged.connect([this](int health) { shownHealth_ = health; })) {}

  int shownHealth() const { return shownHealth_; }

 private:
  int shownHealth_ = 0;
  ks::Connection connection_;  // declared last: it ends before what the callback uses
};
// [/shown]

TEST(TheDocumentedPanel, FollowsTheSignalWhileItLives) {
  // [shown]
  ks::Signal<void(int)> healthChanged;
  {
    const HealthPanel panel(healthChanged);
    healthChanged(80);
    EXPECT_EQ(panel.shownHealth(), 80);
  }
  healthChanged(20);  // the panel is gone, and so is its slot
  // [/shown]
}

TEST(TheDocumentedGroups, RunInAscendingOrder) {
  // [shown]
  ks::Signal<void()> loaded;
  std::vector<std::string> order;
  const ks::Connection redraw = loaded.connect([&order] { order.emplace_back("redraw"); }, 1);
  const ks::Connection first = loaded.connect([&order] { order.emplace_back("first"); });
  const ks::Connection second = loaded.connect([&order] { order.emplace_back("second"); });
  loaded();
  EXPECT_THAT(order, ElementsAre("first", "second", "redraw"));
  // [/shown]
}

TEST(TheDocumentedOneShot, RunsOnce) {
  // [shown]
  ks::Signal<void()> loaded;
  int runs = 0;
  ks::Connection once;
  once = loaded.connect([&once, &runs] {
    once.disconnect();
    ++runs;
  });
  loaded();
  loaded();
  EXPECT_EQ(runs, 1);
  // [/shown]
}

TEST(TheDocumentedNewcomer, WaitsForTheNextRaise) {
  // [shown]
  ks::Signal<void()> loaded;
  int calls = 0;
  ks::Connection newcomer;
  const ks::Connection host = loaded.connect([&] {
    if (!newcomer.connected()) newcomer = loaded.connect([&calls] { ++calls; });
  });
  loaded();
  EXPECT_EQ(calls, 0);
  loaded();
  EXPECT_EQ(calls, 1);
  // [/shown]
}

TEST(TheSignalsPage, ShowsExactlyTheCodeThatIsTestedHere) {
  const std::string root = DESTRUCTIBLES_SOURCE_DIR;
  const auto tested = support::blocksBetween(support::readFile(root + "/tests/ks/docs_example_test.cpp"),
                                             "// [shown]", "// [/shown]");
  EXPECT_EQ(tested.size(), 5U);
  EXPECT_EQ(support::blocksBetween(support::readFile(root + "/docs/signals.md"), "```cpp", "```"), tested);
}

}  // namespace
