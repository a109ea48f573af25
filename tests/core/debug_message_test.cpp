#include <core/debug_message.h>
#include <core/stack_tracker.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Tal::DebugMessage;
using Tal::DebugMessageHelper;
using Tal::TrackedScope;
using testing::ElementsAre;

constexpr const char* kFile = "lib/rooms/room";

/// Puts a sink in place for its scope.
class SinkScope {
 public:
  explicit SinkScope(DebugMessageHelper::Sink sink)
      : previous_(DebugMessageHelper::setSink(std::move(sink))) {}
  ~SinkScope() { DebugMessageHelper::setSink(std::move(previous_)); }
  SinkScope(const SinkScope&) = delete;
  SinkScope& operator=(const SinkScope&) = delete;

 private:
  DebugMessageHelper::Sink previous_;
};

std::vector<DebugMessage> messagesOf(const std::function<void()>& action) {
  std::vector<DebugMessage> messages;
  const SinkScope scope([&messages](const DebugMessage& message) { messages.push_back(message); });
  action();
  return messages;
}

std::string standardErrorOf(const std::function<void()>& action) {
  const SinkScope scope(nullptr);
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

void log(int messagePriority, const std::string& text) {
  DebugMessageHelper({0, messagePriority}, "", 0).message(text);
}

TEST(AMessage, ReachesTheSinkWithEverythingThatItWasMadeWith) {
  const auto messages = messagesOf([] { DebugMessageHelper({1, 4}, "models", 7).message("Text.\n"); });
  ASSERT_EQ(messages.size(), 1U);
  const DebugMessage& message = messages.front();
  EXPECT_EQ(message.componentPriority, 1);
  EXPECT_EQ(message.messagePriority, 4);
  EXPECT_EQ(message.category, "models");
  EXPECT_EQ(message.source, 7);
  EXPECT_EQ(message.text, "Text.\n");
  EXPECT_FALSE(message.isCritical);
  EXPECT_EQ(message.file, "");
  EXPECT_EQ(message.line, 0U);
  EXPECT_EQ(message.callStack, "");
}

TEST(AMessage, TakesPercentSignsAsText) {
  const auto messages = messagesOf([] { log(2, "100%s %n %d%%"); });
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages.front().text, "100%s %n %d%%");
}

TEST(AMessage, KeepsItsBytes) {
  using namespace std::string_literals;
  const std::string text = "a\0b\x1b[31m\r\n\xff"s;
  const auto messages = messagesOf([&text] { log(2, text); });
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages.front().text, text);
}

TEST(AMessage, CarriesNoCallStackUnlessCritical) {
  const auto messages = messagesOf([] {
    const TrackedScope scope("Tal::Room::open", kFile, 1);
    log(5, "refused");
  });
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages.front().callStack, "");
}

TEST(AMessageHelper, LogsEveryMessageThatItIsGiven) {
  const auto messages = messagesOf([] {
    const DebugMessageHelper helper({0, 2}, "", 0);
    helper.message("one");
    helper.message("two");
  });
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(messages[0].text, "one");
  EXPECT_EQ(messages[1].text, "two");
}

TEST(ACriticalMessage, IsFormattedAndSaysWhereItWasRaised) {
  const auto messages = messagesOf([] {
    DebugMessageHelper::criticalMessage("lib/rooms/room", 167, "ASSERTION FAILED: %s\r\n%s(%d)%s%s\r\n", "p",
                                        "lib/rooms/room", 167, "", "");
  });
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(messages.front().isCritical);
  EXPECT_EQ(messages.front().messagePriority, 5);
  EXPECT_EQ(messages.front().file, "lib/rooms/room");
  EXPECT_EQ(messages.front().line, 167U);
  EXPECT_EQ(messages.front().text, "ASSERTION FAILED: p\r\nlib/rooms/room(167)\r\n");
}

TEST(ACriticalMessage, CarriesTheCallStackOfItsThread) {
  const auto messages = messagesOf([] {
    const TrackedScope outer("Tal::Room::outer", kFile, 1);
    const TrackedScope inner("Tal::Room::inner", kFile, 2);
    DebugMessageHelper::criticalMessage(kFile, 3, "fault");
  });
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages.front().callStack,
            "  at Tal::Room::inner, lib/rooms/room(2)\n  at Tal::Room::outer, lib/rooms/room(1)\n");
}

TEST(ASink, IsHandedBackByTheOneThatReplacesIt) {
  std::vector<std::string> texts;
  const SinkScope scope([&texts](const DebugMessage& message) { texts.push_back("first " + message.text); });
  auto first = DebugMessageHelper::setSink(
      [&texts](const DebugMessage& message) { texts.push_back("second " + message.text); });
  log(2, "a");
  DebugMessageHelper::setSink(std::move(first));
  log(2, "b");
  EXPECT_THAT(texts, ElementsAre("second a", "first b"));
}

TEST(ASink, ThatThrowsDoesNotStopLaterMessages) {
  int calls = 0;
  const SinkScope scope([&calls](const DebugMessage&) {
    if (++calls == 1) throw std::runtime_error("disk full");
  });
  EXPECT_THROW(log(2, "a"), std::runtime_error);
  log(2, "b");
  EXPECT_EQ(calls, 2);
}

TEST(ASink, RunsForOneThreadAtATime) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 500;
  std::atomic<int> inside = 0;
  std::atomic<bool> overlapped = false;
  int total = 0;  // unguarded on purpose: the thread sanitizer sees an overlap
  const SinkScope scope([&](const DebugMessage&) {
    if (++inside != 1) overlapped = true;
    ++total;
    --inside;
  });
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([] {
      for (int count = 0; count < kMessages; ++count) log(2, "text");
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_FALSE(overlapped);
  EXPECT_EQ(total, kThreads * kMessages);
}

TEST(TheDefaultSink, WritesOneLineOnStandardErrorWithTheLevelInWords) {
  EXPECT_EQ(standardErrorOf([] { log(0, "detail"); }), "debug: detail\n");
  EXPECT_EQ(standardErrorOf([] { log(1, "detail"); }), "debug: detail\n");
  EXPECT_EQ(standardErrorOf([] { log(2, "Model is set as fragile."); }), "info: Model is set as fragile.\n");
  EXPECT_EQ(standardErrorOf([] { log(3, "noted"); }), "info: noted\n");
  EXPECT_EQ(standardErrorOf([] { log(4, "odd"); }), "warning: odd\n");
  EXPECT_EQ(standardErrorOf([] { log(5, "refused"); }), "error: refused\n");
  EXPECT_EQ(standardErrorOf([] { log(9, "refused"); }), "error: refused\n");
}

TEST(TheDefaultSink, WritesTheSameLineWhetherOrNotTheMessageEndsWithOne) {
  EXPECT_EQ(standardErrorOf([] { log(5, "refused\n"); }), "error: refused\n");
  EXPECT_EQ(standardErrorOf([] { log(5, "refused\r\n\r\n"); }), "error: refused\n");
  EXPECT_EQ(standardErrorOf([] { log(5, "\n"); }), "error: \n");
  EXPECT_EQ(standardErrorOf([] { log(5, ""); }), "error: \n");
}

TEST(TheDefaultSink, ShowsControlCharactersEscaped) {
  EXPECT_EQ(standardErrorOf([] { log(5, "house\n\x1b[31m\u009b.model\n"); }),
            "error: house\\n\\x1b[31m\\u009b.model\n");
}

TEST(TheDefaultSink, TakesNeitherPercentSignsNorBracesAsAFormat) {
  EXPECT_EQ(standardErrorOf([] { log(5, "%s {} {0} %n {"); }), "error: %s {} {0} %n {\n");
}

TEST(TheDefaultSink, ShowsTheCallStackUnderACriticalMessage) {
  EXPECT_EQ(standardErrorOf([] {
              const TrackedScope outer("Tal::Room::outer", kFile, 1);
              const TrackedScope inner("Tal::Room::inner", kFile, 2);
              DebugMessageHelper::criticalMessage(kFile, 3, "fault in '%s'", "a{}b");
            }),
            "critical: fault in 'a{}b'\n"
            "critical: running at the time:\n"
            "  at Tal::Room::inner, lib/rooms/room(2)\n"
            "  at Tal::Room::outer, lib/rooms/room(1)\n");
}

TEST(TheDefaultSink, ShowsACriticalMessageAloneWhenNothingIsTracked) {
  EXPECT_EQ(standardErrorOf([] { DebugMessageHelper::criticalMessage(kFile, 3, "fault"); }),
            "critical: fault\n");
}

TEST(TheDefaultSink, IsBackWhenTheSinkIsEmptied) {
  const auto messages = messagesOf([] {
    EXPECT_EQ(standardErrorOf([] { log(2, "direct"); }), "info: direct\n");
    log(2, "caught");
  });
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages.front().text, "caught");
}

TEST(TheDefaultSink, KeepsTheLinesOfDifferentThreadsWhole) {
  const std::string text(300, 'x');
  const std::string written = standardErrorOf([&text] {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&text] {
        for (int count = 0; count < 50; ++count) log(2, text);
      });
    }
    for (auto& thread : threads) thread.join();
  });
  std::string expected;
  for (int line = 0; line < 200; ++line) expected += "info: " + text + "\n";
  EXPECT_EQ(written, expected);
}

TEST(TheDefaultSinkDeathTest, WritesWhatIsLoggedWhileTheProcessEnds) {
  struct LivesToTheEnd {
    LivesToTheEnd() = default;
    LivesToTheEnd(const LivesToTheEnd&) = delete;
    LivesToTheEnd& operator=(const LivesToTheEnd&) = delete;
    ~LivesToTheEnd() {
      log(5, "logged late");
      DebugMessageHelper::criticalMessage(kFile, 1, "critical late");
    }
  };
  EXPECT_EXIT(
      {
        static const LivesToTheEnd object;
        DebugMessageHelper::setSink(nullptr);
        log(2, "logged early");
        std::exit(0);  // NOLINT(concurrency-mt-unsafe)
      },
      testing::ExitedWithCode(0), "info: logged early\nerror: logged late\ncritical: critical late\n");
}

}  // namespace
