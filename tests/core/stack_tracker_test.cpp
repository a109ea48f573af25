#include <core/stack_tracker.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Tal::StackTracker;
using Tal::TrackedScope;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kFile = "lib/rooms/room";

std::vector<std::string> runningFunctions() {
  std::vector<std::string> names;
  for (const StackTracker::Entry& entry : StackTracker::entries()) names.emplace_back(entry.function);
  return names;
}

/// Records this thread's pushes ("+name") and pops ("-name") while it lives.
class Recording {
 public:
  Recording()
      : previous_(StackTracker::setRecorder([this](const StackTracker::Event& event) {
          events_.push_back((event.kind == StackTracker::Event::Kind::push ? "+" : "-") +
                            std::string(event.entry.function));
          lines_.push_back(event.entry.line);
        })) {}
  ~Recording() { StackTracker::setRecorder(std::move(previous_)); }
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  std::vector<std::string> events_;
  std::vector<unsigned> lines_;

 private:
  StackTracker::Recorder previous_;
};

TEST(TheStackTracker, IsEmptyWhenNothingRuns) {
  EXPECT_THAT(StackTracker::entries(), IsEmpty());
  EXPECT_EQ(StackTracker::text(), "");
}

TEST(TheStackTracker, KeepsWhatRunsOutermostFirst) {
  StackTracker::push("outer", kFile, 10);
  StackTracker::push("inner", "lib/rooms/other", 20);
  ASSERT_EQ(StackTracker::entries().size(), 2U);
  EXPECT_STREQ(StackTracker::entries()[0].function, "outer");
  EXPECT_STREQ(StackTracker::entries()[0].file, kFile);
  EXPECT_EQ(StackTracker::entries()[0].line, 10U);
  EXPECT_STREQ(StackTracker::entries()[1].function, "inner");
  EXPECT_STREQ(StackTracker::entries()[1].file, "lib/rooms/other");
  EXPECT_EQ(StackTracker::entries()[1].line, 20U);
  StackTracker::pop();
  EXPECT_THAT(runningFunctions(), ElementsAre("outer"));
  StackTracker::pop();
  EXPECT_THAT(runningFunctions(), IsEmpty());
}

TEST(TheStackTracker, PrintsTheInnermostFirst) {
  const TrackedScope outer("Tal::Room::outer", kFile, 10);
  const TrackedScope inner("Tal::Room::inner", kFile, 4294967295U);
  EXPECT_EQ(StackTracker::text(),
            "  at Tal::Room::inner, lib/rooms/room(4294967295)\n"
            "  at Tal::Room::outer, lib/rooms/room(10)\n");
}

TEST(TheStackTracker, PrintsPercentSignsAsTheyAre) {
  const TrackedScope scope("%s%n", "%d", 1);
  EXPECT_EQ(StackTracker::text(), "  at %s%n, %d(1)\n");
}

TEST(TheStackTracker, IgnoresAPopOfTheEmptyStack) {
  const Recording recording;
  StackTracker::pop();
  StackTracker::pop();
  EXPECT_THAT(StackTracker::entries(), IsEmpty());
  EXPECT_THAT(recording.events_, IsEmpty());
  const TrackedScope scope("next", kFile, 1);
  EXPECT_THAT(runningFunctions(), ElementsAre("next"));
}

TEST(TheStackTracker, HoldsTheSameOperationAsOftenAsItRuns) {
  const TrackedScope first("again", kFile, 1);
  {
    const TrackedScope second("again", kFile, 1);
    EXPECT_THAT(runningFunctions(), ElementsAre("again", "again"));
  }
  EXPECT_THAT(runningFunctions(), ElementsAre("again"));
}

TEST(TheStackTracker, RecordsPushesAndPopsInTheirOrder) {
  const Recording recording;
  {
    const TrackedScope outer("a", kFile, 1);
    { const TrackedScope inner("b", kFile, 2); }
    { const TrackedScope inner("c", kFile, 3); }
  }
  EXPECT_THAT(recording.events_, ElementsAre("+a", "+b", "-b", "+c", "-c", "-a"));
  EXPECT_THAT(recording.lines_, ElementsAre(1U, 2U, 2U, 3U, 3U, 1U));
}

TEST(TheStackTracker, ShowsTheRecorderTheStackAfterTheStep) {
  std::vector<std::size_t> depths;
  auto previous = StackTracker::setRecorder(
      [&depths](const StackTracker::Event&) { depths.push_back(StackTracker::entries().size()); });
  { const TrackedScope scope("a", kFile, 1); }
  StackTracker::setRecorder(std::move(previous));
  EXPECT_THAT(depths, ElementsAre(1U, 0U));
}

TEST(TheStackTracker, HandsBackTheRecorderThatItReplaces) {
  int seen = 0;
  const auto original = StackTracker::setRecorder([&seen](const StackTracker::Event&) { ++seen; });
  const auto counting = StackTracker::setRecorder(nullptr);
  { const TrackedScope unseen("a", kFile, 1); }
  EXPECT_EQ(seen, 0);
  counting({StackTracker::Event::Kind::push, {"b", kFile, 1}});
  EXPECT_EQ(seen, 1);
  StackTracker::setRecorder(original);
}

TEST(TheStackTracker, KeepsEveryThreadApart) {
  const Recording recording;
  const TrackedScope here("here", kFile, 1);
  std::vector<std::string> there;
  std::thread([&there] {
    const TrackedScope scope("there", kFile, 2);
    there = runningFunctions();
  }).join();
  EXPECT_THAT(there, ElementsAre("there"));
  EXPECT_THAT(runningFunctions(), ElementsAre("here"));
  EXPECT_THAT(recording.events_, ElementsAre("+here"));
}

TEST(ATrackedScope, EndsWhenAnExceptionLeavesIt) {
  try {
    const TrackedScope scope("failing", kFile, 1);
    throw std::runtime_error("out");
  } catch (const std::runtime_error&) {
    EXPECT_THAT(StackTracker::entries(), IsEmpty());
  }
}

TEST(TheStackTrackerDeathTest, MayBeUsedWhileTheProcessEnds) {
  // An object that lives until the end of the process tracks its destructor after the thread's own data is
  // gone.
  struct LivesToTheEnd {
    LivesToTheEnd() = default;
    LivesToTheEnd(const LivesToTheEnd&) = delete;
    LivesToTheEnd& operator=(const LivesToTheEnd&) = delete;
    ~LivesToTheEnd() {
      for (int i = 0; i < 100; ++i) StackTracker::push("late", kFile, 1);
      std::fprintf(stderr, "tracked %zu\n", StackTracker::entries().size());
      for (int i = 0; i < 101; ++i) StackTracker::pop();
    }
  };
  EXPECT_EXIT(
      {
        static const LivesToTheEnd object;
        for (int i = 0; i < 10; ++i) StackTracker::push("early", kFile, 1);
        std::exit(0);  // NOLINT(concurrency-mt-unsafe)
      },
      testing::ExitedWithCode(0), "tracked");
}

}  // namespace
