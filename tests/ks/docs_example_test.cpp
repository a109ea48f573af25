// The code that docs/signals.md shows: what stands between "[shown]" and "[/shown]" is there word for word.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ks/signal.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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

std::string textOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// `block` without the indentation of its first line.
std::string unindented(const std::vector<std::string>& block) {
  std::string text;
  const std::size_t indentation = block.empty() ? 0 : block.front().find_first_not_of(' ');
  for (const std::string& line : block) text += line.substr(std::min(indentation, line.size())) + "\n";
  return text;
}

/// The texts between every line that is `begin` and the next that is `end`, apart from indentation.
std::vector<std::string> blocksBetween(const std::string& text, const std::string& begin,
                                       const std::string& end) {
  std::vector<std::string> blocks;
  std::vector<std::string> block;
  bool isInside = false;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::string content = line.substr(std::min(line.find_first_not_of(' '), line.size()));
    if (!isInside && content == begin) {
      isInside = true;
    } else if (isInside && content == end) {
      isInside = false;
      blocks.push_back(unindented(std::exchange(block, {})));
    } else if (isInside) {
      block.push_back(line);
    }
  }
  return blocks;
}

TEST(TheSignalsPage, ShowsExactlyTheCodeThatIsTestedHere) {
  const std::string root = DESTRUCTIBLES_SOURCE_DIR;
  const auto tested =
      blocksBetween(textOf(root + "/tests/ks/docs_example_test.cpp"), "// [shown]", "// [/shown]");
  const auto shown = blocksBetween(textOf(root + "/docs/signals.md"), "```cpp", "```");
  EXPECT_EQ(tested.size(), 5U);
  EXPECT_EQ(shown, tested);
}

TEST(TheComparisonWithThePage, FindsBlocksAndIgnoresTheirIndentation) {
  EXPECT_THAT(blocksBetween("a\n```cpp\nx\n  y\n```\nb\n```cpp\n```\n", "```cpp", "```"),
              ElementsAre("x\n  y\n", ""));
  EXPECT_THAT(blocksBetween("  // [shown]\n  x\n\n    y\n  // [/shown]\n", "// [shown]", "// [/shown]"),
              ElementsAre("x\n\n  y\n"));
  EXPECT_THAT(blocksBetween("no block\n", "```cpp", "```"), IsEmpty());
}

}  // namespace
