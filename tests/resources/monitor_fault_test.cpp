#include "reading_listener.h"
#include "recording_listener.h"

#include <support/change_scenarios.h>
#include <support/message_recorder.h>
#include <support/temporary_folder.h>

#include <files/system.h>
#include <resources/monitoring/resource_monitor.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/inotify.h>

#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// The operating system, short of what the test says. The monitor's thread uses it too.
class ScarceSystem : public Tal::files::System {
 public:
  std::atomic<int> queuesLeft = INT_MAX;
  std::atomic<int> watchesLeft = INT_MAX;
  std::atomic<int> stopsLeft = INT_MAX;
  std::atomic<int> threadsLeft = INT_MAX;
  std::atomic<bool> areEventsHeldBack = false;
  /// How the reads of the queue ended.
  std::atomic<int> heldBackReads = 0;
  std::atomic<int> emptyReads = 0;
  std::atomic<int> overflows = 0;
  /// How many reads of the queue still find no memory, and how many found none.
  std::atomic<int> readsWithoutMemory = 0;
  std::atomic<int> readsThatThrew = 0;
  /// How many folders cannot be listed for want of memory.
  std::atomic<int> listingsWithoutMemory = 0;
  /// How many reads of the queue still end with an event that is made up, and how many did.
  std::atomic<int> eventsToInvent = 0;
  std::atomic<int> inventedEvents = 0;

  int inotify_add_watch(int queue, const char* path, std::uint32_t mask) override {
    return isGranted(watchesLeft, ENOSPC) ? System::inotify_add_watch(queue, path, mask) : -1;
  }

  int inotify_init1(int flags) override {
    queue_ = isGranted(queuesLeft, EMFILE) ? System::inotify_init1(flags) : -1;
    return queue_;
  }

  int eventfd(unsigned count, int flags) override {
    return isGranted(stopsLeft, EMFILE) ? System::eventfd(count, flags) : -1;
  }

  std::thread startThread(std::function<void()> run) override {
    if (!isGranted(threadsLeft, EAGAIN)) throw std::system_error(errno, std::generic_category());
    return System::startThread(std::move(run));
  }

  int list(int folder, std::vector<std::string>& names) override {
    if (listingsWithoutMemory <= 0) return System::list(folder, names);
    --listingsWithoutMemory;
    errno = ENOMEM;
    return -1;
  }

  std::ptrdiff_t read(int descriptor, void* into, std::size_t size) override {
    if (descriptor != queue_) return System::read(descriptor, into, size);
    if (areEventsHeldBack) {
      ::usleep(1000);  // the queue stays readable, and its reader must not take the whole processor
      ++heldBackReads;
      errno = EAGAIN;
      return -1;
    }
    if (readsWithoutMemory > 0) {
      --readsWithoutMemory;
      ++readsThatThrew;
      throw std::bad_alloc();
    }
    if (eventsToInvent > 0) {
      --eventsToInvent;
      return inventEvent(into);
    }
    const std::ptrdiff_t result = System::read(descriptor, into, size);
    if (result < 0) ++emptyReads;
    if (result > 0 && reportsAnOverflow(static_cast<const char*>(into), static_cast<std::size_t>(result)))
      ++overflows;
    return result;
  }

 private:
  /// Whether one more may be had; else as the system refuses it.
  static bool isGranted(std::atomic<int>& left, int code) {
    if (left > 0) {
      --left;
      return true;
    }
    errno = code;
    return false;
  }

  /// Whether the system says among these events that it has dropped others.
  static bool reportsAnOverflow(const char* events, std::size_t size) {
    for (std::size_t place = 0; place < size;) {
      inotify_event event{};
      std::memcpy(&event, events + place, sizeof(event));
      if ((event.mask & IN_Q_OVERFLOW) != 0) return true;
      place += sizeof(event) + event.len;
    }
    return false;
  }

  /// As if somebody wrote a file that was watched once.
  std::ptrdiff_t inventEvent(void* into) {
    ::usleep(100);  // lets the test do something before the events come to their end
    inotify_event event{};
    event.wd = INT_MAX;
    event.mask = IN_MODIFY;
    std::memcpy(into, &event, sizeof(event));
    ++inventedEvents;
    return static_cast<std::ptrdiff_t>(sizeof(event));
  }

  std::atomic<int> queue_ = -1;  ///< the queue of events that was opened last
  Tal::files::SystemReplacement replacement_{*this};
};

ScarceSystem s_system;

using support::Fixture;
using support::MessageRecorder;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The system has no more than so many of each, as long as this is alive.
class Scarcity {
 public:
  Scarcity(int queues, int watches, int stops = INT_MAX, int threads = INT_MAX) {
    s_system.queuesLeft = queues;
    s_system.watchesLeft = watches;
    s_system.stopsLeft = stops;
    s_system.threadsLeft = threads;
  }
  ~Scarcity() {
    s_system.queuesLeft = INT_MAX;
    s_system.watchesLeft = INT_MAX;
    s_system.stopsLeft = INT_MAX;
    s_system.threadsLeft = INT_MAX;
  }
  Scarcity(const Scarcity&) = delete;
  Scarcity& operator=(const Scarcity&) = delete;
};

class AChangeThatTheSystemDoesNotReport : public testing::TestWithParam<support::Scenario> {};

TEST_P(AChangeThatTheSystemDoesNotReport, IsFollowedByPolling) {
  const MessageRecorder messages;
  const Scarcity scarcity(0, 0);
  Fixture database;
  GetParam().prepare(database);
  const ReadingListener listener(database);
  expectToBeFollowed(GetParam(), database, listener.reads);
}

/// All but the one that shows neither in the file's times nor in its size, only in the end of the mapping.
std::vector<support::Scenario> scenariosThatShow() {
  std::vector<support::Scenario> scenarios = support::changingScenarios();
  std::erase_if(scenarios, [](const auto& scenario) {
    return std::string("WritingMappedMemorySlowly") == scenario.name;
  });
  return scenarios;
}

INSTANTIATE_TEST_SUITE_P(By, AChangeThatTheSystemDoesNotReport, testing::ValuesIn(scenariosThatShow()),
                         support::nameOfScenario<testing::TestParamInfo<support::Scenario>>);

class NoChangeToAPoll : public testing::TestWithParam<support::Scenario> {};

TEST_P(NoChangeToAPoll, MakesAListenerReadAgain) {
  const MessageRecorder messages;
  const Scarcity scarcity(0, 0);
  Fixture database;
  GetParam().prepare(database);
  const ReadingListener listener(database);
  expectToGoUnnoticed(GetParam(), database, listener.reads);
}

// New permissions and names cannot be distinguished from a write that put the times back.
INSTANTIATE_TEST_SUITE_P(By, NoChangeToAPoll,
                         testing::ValuesIn(support::otherScenarios().begin(),
                                           support::otherScenarios().begin() + 3),
                         support::nameOfScenario<testing::TestParamInfo<support::Scenario>>);

void expectASaveToBeSeen(Fixture& database, const ReadingListener& listener, int version) {
  database.replace(version);
  EXPECT_TRUE(database.framesUntil([&] { return listener.reads.back() == version; }));
}

TEST(RunningOutOfWatches, GivesOneMessageAndChangesAreStillSeen) {
  const MessageRecorder messages;
  const Scarcity scarcity(INT_MAX, 2);  // the folder above the root and the root itself
  Fixture database;
  database.write(1);
  support::writeFile(database.root("more/folders/a.xml"), "<r/>");
  const ReadingListener listener(database);
  for (const int version : {2, 3}) expectASaveToBeSeen(database, listener, version);
  EXPECT_THAT(messages.texts(),
              ElementsAre(AllOf(HasSubstr("perhaps in other folders: No space left on device"),
                                HasSubstr("polled a few times a second instead"),
                                HasSubstr("raise fs.inotify.max_user_watches"))));
  EXPECT_EQ(messages.messages().front().messagePriority, 5);
}

TEST(RunningOutOfWatches, InTheMiddleLeavesNewFoldersToBePolled) {
  const MessageRecorder messages;
  Fixture database;
  const ReadingListener listener(database);
  const Scarcity scarcity(INT_MAX, 0);
  database.write(2);
  EXPECT_TRUE(database.framesUntil([&] { return listener.reads.back() == 2; }));
  expectASaveToBeSeen(database, listener, 3);
  EXPECT_THAT(messages.texts(), ElementsAre(HasSubstr("No space left on device")));
}

TEST(ASystemWithoutQueues, GivesOneMessageAndChangesAreStillSeen) {
  const MessageRecorder messages;
  const Scarcity scarcity(0, INT_MAX, 0);
  Fixture database;
  database.write(1);
  const ReadingListener listener(database);
  for (const int version : {2, 3}) expectASaveToBeSeen(database, listener, version);
  EXPECT_THAT(
      messages.texts(),
      ElementsAre(AllOf(HasSubstr("does not report changes below the resource roots: Too many open files"),
                        HasSubstr("polled a few times a second instead"),
                        HasSubstr("raise fs.inotify.max_user_instances"))));
}

TEST(ASystemWithoutThreads, GivesOneMessageAndChangesAreStillSeen) {
  const MessageRecorder messages;
  const Scarcity scarcity(INT_MAX, INT_MAX, INT_MAX, 0);
  Fixture database;
  database.write(1);
  const ReadingListener listener(database);
  for (const int version : {2, 3}) expectASaveToBeSeen(database, listener, version);
  EXPECT_THAT(messages.texts(), ElementsAre(AllOf(HasSubstr("Resource temporarily unavailable"),
                                                  HasSubstr("polled once a frame instead"))));
}

TEST(ASystemWithoutThreadsAndQueues, HasItsFilesPolled) {
  const MessageRecorder messages;
  const Scarcity scarcity(0, 0, 0, 0);
  Fixture database;
  database.write(1);
  const ReadingListener listener(database);
  for (const int version : {2, 3}) expectASaveToBeSeen(database, listener, version);
  EXPECT_EQ(messages.messages().size(), 1U);
}

TEST(ASystemThatRefusedForAWhile, TellsOfChangesAgain) {
  const MessageRecorder messages;
  Fixture database;
  database.write(1);
  auto scarcity = std::make_unique<Scarcity>(0, INT_MAX);
  const ReadingListener listener(database);
  expectASaveToBeSeen(database, listener, 2);
  scarcity.reset();
  s_system.emptyReads = 0;
  // Only a queue that has been emptied is read in vain.
  EXPECT_TRUE(database.framesUntil([] { return s_system.emptyReads > 0; }));
  expectASaveToBeSeen(database, listener, 3);
  EXPECT_THAT(messages.texts(), ElementsAre(HasSubstr("Too many open files")));
}

void waitFor(const std::atomic<int>& count) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (count == 0 && std::chrono::steady_clock::now() < deadline) ::usleep(1000);
  EXPECT_GT(count, 0);
}

TEST(AnOverflowOfTheSystemsQueue, LosesNoChange) {
  int longestQueue = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> longestQueue;
  ASSERT_GT(longestQueue, 0);
  Fixture database;
  database.write(1);
  support::writeFile(database.root("scripts/a"), "");
  const ReadingListener listener(database);
  s_system.heldBackReads = 0;
  s_system.overflows = 0;
  s_system.areEventsHeldBack = true;
  for (int i = 0; i <= longestQueue; ++i)
    std::filesystem::rename(database.root(i % 2 == 0 ? "scripts/a" : "scripts/b"),
                            database.root(i % 2 == 0 ? "scripts/b" : "scripts/a"));
  database.replace(2);
  waitFor(s_system.heldBackReads);
  EXPECT_EQ(s_system.overflows, 0);
  s_system.areEventsHeldBack = false;
  waitFor(s_system.overflows);
  EXPECT_TRUE(database.framesUntil([&] { return listener.reads.back() == 2; }));
  database.letEverythingBeTold();
  expectASaveToBeSeen(database, listener, 3);
  EXPECT_THAT(listener.reads, testing::Each(testing::AnyOf(1, 2, 3)));
}

TEST(AMonitorWithoutMemory, GivesOneMessageAndLosesNoChange) {
  const MessageRecorder messages;
  Fixture database;
  database.write(1);
  const ReadingListener listener(database);
  for (const int version : {2, 3}) {
    s_system.readsWithoutMemory = 2;
    expectASaveToBeSeen(database, listener, version);
  }
  s_system.readsWithoutMemory = 0;
  expectASaveToBeSeen(database, listener, 4);
  EXPECT_THAT(messages.texts(), ElementsAre(HasSubstr("memory ran short")));
}

TEST(AMonitorWithoutMemory, LosesNoChangeWithoutAThreadEither) {
  const MessageRecorder messages;
  const Scarcity scarcity(INT_MAX, INT_MAX, INT_MAX, 0);
  Fixture database;
  database.write(1);
  const ReadingListener listener(database);
  s_system.readsWithoutMemory = 2;
  expectASaveToBeSeen(database, listener, 2);
  s_system.readsWithoutMemory = 0;
  expectASaveToBeSeen(database, listener, 3);
  EXPECT_THAT(messages.texts(),
              ElementsAre(HasSubstr("Resource temporarily unavailable"), HasSubstr("memory ran short")));
}

TEST(AMonitorWithoutMemory, DoesNotTakeAFolderThatCannotBeListedForAnEmptyOne) {
  WatchedRoot root("scripts/deep/a.xml", "<r/>");
  root.write("scripts/b.xml", "<r/>");
  root.listen();
  root.changes();
  s_system.listingsWithoutMemory = 3;  // the root and the two folders below it
  s_system.readsWithoutMemory = 1;
  root.write("scripts/b.xml", "<r>2</r>");
  EXPECT_TRUE(pumpUntil(root, [] { return s_system.listingsWithoutMemory == 0; }));
  EXPECT_THAT(root.changes(), AllOf(testing::Contains("modified scripts/b.xml"),
                                    testing::Contains("modified scripts/deep/a.xml"),
                                    testing::Each(testing::StartsWith("modified "))));
  root.write("scripts/deep/a.xml", "<r>3</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/deep/a.xml"));
}

TEST(AMonitorWithoutMemory, WaitsBeforeItTriesAgain) {
  using Clock = std::chrono::steady_clock;
  const support::TemporaryFolder root;
  const Tal::FS::ResourceMonitor monitor({root.path()});
  const Clock::time_point begin = Clock::now();
  s_system.readsThatThrew = 0;
  s_system.readsWithoutMemory = INT_MAX;
  while (Clock::now() - begin < std::chrono::milliseconds(400)) root.write("a.xml", "");
  s_system.readsWithoutMemory = 0;
  EXPECT_GT(s_system.readsThatThrew, 0);
  EXPECT_LE(s_system.readsThatThrew, 1 + (Clock::now() - begin) / std::chrono::milliseconds(200));
}

TEST(AQueueThatIsNeverEmpty, DoesNotKeepTheMonitorFromItsEnd) {
  const support::TemporaryFolder root;
  auto monitor = std::make_unique<Tal::FS::ResourceMonitor>(std::vector<std::filesystem::path>{root.path()});
  s_system.inventedEvents = 0;
  s_system.eventsToInvent = 50'000;
  root.write("a.xml", "");
  waitFor(s_system.inventedEvents);
  monitor.reset();
  EXPECT_GT(s_system.eventsToInvent, 0);
  s_system.eventsToInvent = 0;
}

TEST(AQueueThatIsLongInBecomingEmpty, LosesNoChange) {
  const MessageRecorder messages;
  Fixture database;
  database.write(1);
  const ReadingListener listener(database);
  s_system.eventsToInvent = 350;
  expectASaveToBeSeen(database, listener, 2);
  EXPECT_EQ(s_system.eventsToInvent, 0);  // the save was waiting behind them
  EXPECT_THAT(messages.texts(), IsEmpty());
}

TEST(ALaterListener, HearsOfWhatWasNoticedButNotDelivered) {
  WatchedRoot root("a.xml", "<r/>");
  root.listen();
  s_system.emptyReads = 0;
  root.write("a.xml", "<r>2</r>");
  // The thread notices the change, and then finds its queue empty.
  waitFor(s_system.emptyReads);
  RecordingListener late;
  root.fileSystem().getFilesystemMonitor()->addModificationListener(&late);
  EXPECT_TRUE(pumpUntil(root, [&] { return late.heard("modified a.xml"); }));
  root.fileSystem().getFilesystemMonitor()->removeModificationListener(&late);
}

TEST(AListenerThatLeft, DoesNotHearOfWhatWasNoticedBefore) {
  WatchedRoot root("a.xml", "<r/>");
  root.listen();
  RecordingListener leaving;
  root.fileSystem().getFilesystemMonitor()->addModificationListener(&leaving);
  s_system.emptyReads = 0;
  root.write("a.xml", "<r>2</r>");
  waitFor(s_system.emptyReads);
  root.fileSystem().getFilesystemMonitor()->removeModificationListener(&leaving);
  EXPECT_THAT(root.changes(), ElementsAre("modified a.xml"));
  EXPECT_THAT(leaving.calls, IsEmpty());
}

}  // namespace
