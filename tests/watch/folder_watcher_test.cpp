#include <support/mapped_file.h>
#include <support/temporary_folder.h>

#include <files/file_identity.h>
#include <watch/folder_watcher.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using support::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

/// A watcher that is asked by hand, without a thread.
class HandWatch {
 public:
  explicit HandWatch(const TemporaryFolder& root, std::chrono::steady_clock::duration longestWriterPause =
                                                      Tal::watch::FolderWatcher::kLongestWriterPause)
      : root_(root.path()),
        collector_({root.path().native()}),
        watcher_({root.path()}, collector_, longestWriterPause) {}

  void poll() { watcher_.poll(); }

  /// What polls find when every change has become old enough to count.
  std::vector<std::string> changesFoundByPolls() {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root_)) {
      // A link may lead to nothing.
      const auto identity = Tal::files::identityAt(entry.path());
      while (identity && Tal::files::isRecent(*identity)) std::this_thread::yield();
    }
    poll();
    poll();
    return changes();
  }

  std::vector<std::string> changes() {
    watcher_.collect();
    std::vector<std::string> lines;
    const std::vector<std::string> verbs = {"added ", "modified ", "removed "};
    for (const Tal::watch::ResourceChange& change : collector_.take())
      lines.push_back(verbs.at(static_cast<std::size_t>(change.action)) + change.resourceName);
    EXPECT_EQ(collector_.takeProblem(), "");
    return lines;
  }

 private:
  fs::path root_;
  Tal::watch::ChangeCollector collector_;
  Tal::watch::FolderWatcher watcher_;
};

TEST(TheWatcher, MakesOneChangeOfABurst) {
  const TemporaryFolder root;
  root.write("a.xml", "");
  HandWatch watch(root);
  for (int i = 0; i < 100; ++i) {
    root.write("a.xml", std::to_string(i));
    root.replace("a.xml", std::to_string(i));
  }
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml"));
  EXPECT_THAT(watch.changes(), IsEmpty());
}

TEST(TheWatcher, BearsALinkThatIsExchangedWhileItPolls) {
  const TemporaryFolder root;
  root.write("one.xml", "1");
  root.write("two.xml", "2");
  fs::create_symlink("one.xml", root / "a.xml");
  HandWatch watch(root);
  std::atomic<bool> isDone = false;
  std::thread other([&] {
    for (int i = 0; i < 3000; ++i) {
      fs::create_symlink(i % 2 == 0 ? "two.xml" : "one.xml", root / "next.xml");
      fs::rename(root / "next.xml", root / "a.xml");
      if (i % 10 == 0) root.replace("a.xml", "3");
    }
    isDone = true;
  });
  while (!isDone) watch.changes();
  other.join();
  watch.changes();
  root.replace("a.xml", "4");
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml"));
}

TEST(TheWatcher, CountsEverythingAsChangedWhenTheSystemsQueueOverflows) {
  int longestQueue = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> longestQueue;
  ASSERT_GT(longestQueue, 0);
  const TemporaryFolder root;
  for (const char* name : {"a.xml", "folder/b.xml", "leaving.xml", "x", "gone/c.xml"}) root.write(name, "");
  HandWatch watch(root);
  for (int i = 0; i < longestQueue; ++i)
    fs::rename(root / (i % 2 == 0 ? "x" : "y"), root / (i % 2 == 0 ? "y" : "x"));
  fs::remove(root / "leaving.xml");
  fs::remove_all(root / "gone");
  root.write("new.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml", "modified folder/b.xml", "removed gone/c.xml",
                                           "removed leaving.xml", "added new.xml",
                                           longestQueue % 2 == 0 ? "modified x" : "removed x"));
  root.write("folder/b.xml", "");
  root.replace("a.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml", "modified folder/b.xml"));
}

TEST(TheWatcher, FindsWhatAFolderHoldsThatIsFilledAsItIsMade) {
  const TemporaryFolder root;
  HandWatch watch(root);
  root.write("a/b/c/d.xml", "");
  root.write("a/e.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("added a/b/c/d.xml", "added a/e.xml"));
  fs::rename(root / "a/b", root / "f");
  fs::remove_all(root / "a");
  EXPECT_THAT(watch.changes(), ElementsAre("removed a/b/c/d.xml", "removed a/e.xml", "added f/c/d.xml"));
  fs::create_directory(root / "f/c/new");
  root.write("f/c/new/g.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("added f/c/new/g.xml"));
}

TEST(APoll, FindsNothingWhereEverythingWasReported) {
  const TemporaryFolder root;
  root.write("a.xml", "");
  HandWatch watch(root);
  root.write("a.xml", "1");
  root.write("b/c.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml", "added b/c.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
}

TEST(APoll, NotesAFileOnlyWhenItIsAsThePollBeforeFoundIt) {
  const TemporaryFolder root;
  root.write("a.xml", "....");
  root.write("b.xml", "....");
  HandWatch watch(root);
  const auto memory = support::mapFile(root / "a.xml", 4);
  memory.get()[0] = '1';
  watch.poll();
  EXPECT_THAT(watch.changes(), IsEmpty());
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("modified a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
}

/// Writes in a file and keeps it open.
std::ofstream beginToWrite(const fs::path& file) {
  std::ofstream stream(file, std::ios::binary);
  stream << "half" << std::flush;
  return stream;
}

TEST(APoll, LeavesAFileAloneWhoseWriterPauses) {
  const TemporaryFolder root;
  root.write("a.xml", "");
  HandWatch watch(root, std::chrono::hours(1));
  std::ofstream changed = beginToWrite(root / "a.xml");
  std::ofstream added = beginToWrite(root / "b.xml");
  EXPECT_THAT(watch.changes(), IsEmpty());
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  changed.close();
  added.close();
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml", "added b.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
}

TEST(APoll, LeavesALinkAloneWhileTheWriterOfItsTargetPauses) {
  const TemporaryFolder root;
  root.write("store/a.xml", "");
  fs::create_symlink("store/a.xml", root / "a.xml");
  HandWatch watch(root, std::chrono::hours(1));
  std::ofstream stream = beginToWrite(root / "store/a.xml");
  EXPECT_THAT(watch.changes(), IsEmpty());
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  stream.close();
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml", "modified store/a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
}

TEST(APoll, LeavesALinkAloneWhileTheWriterOfItsNewTargetPauses) {
  const TemporaryFolder root;
  root.write("store/a.xml", "whole");
  fs::create_symlink("store/a.xml", root / "a.xml");
  HandWatch watch(root, std::chrono::hours(1));
  fs::rename(root / "store/a.xml", root / "store/a.xml~");
  std::ofstream stream(root / "store/a.xml");
  watch.changes();
  stream << "half" << std::flush;
  EXPECT_THAT(watch.changes(), IsEmpty());
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  stream.close();
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml", "modified store/a.xml"));
}

TEST(APoll, FollowsADanglingLinkWhenItsTargetComes) {
  const TemporaryFolder root;
  root.write("scripts/other.xml", "");
  fs::create_symlink("../store/a.xml", root / "scripts/a.xml");
  HandWatch watch(root);
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  root.write("store/a.xml", "1");
  EXPECT_THAT(watch.changes(), ElementsAre("added store/a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("added scripts/a.xml"));
  root.replace("store/a.xml", "2");
  EXPECT_THAT(watch.changes(), ElementsAre("modified scripts/a.xml", "modified store/a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
}

TEST(APoll, FollowsALinkWhoseTargetVanishedBeforeItWasNoted) {
  const TemporaryFolder root;
  fs::create_symlink("store/a.xml", root / "a.xml");
  fs::create_directory(root / "store");
  HandWatch watch(root);
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  root.write("store/a.xml", "1");
  watch.poll();
  fs::remove(root / "store/a.xml");
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  root.write("store/a.xml", "2");
  EXPECT_THAT(watch.changes(), ElementsAre("added store/a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("added a.xml"));
}

TEST(APoll, FollowsALinkedFolderThatCameBack) {
  const TemporaryFolder root;
  root.write("versions/v1/a.xml", "");
  fs::create_directory_symlink("versions/v1", root / "scripts");
  HandWatch watch(root);
  fs::remove_all(root / "versions/v1");
  EXPECT_THAT(watch.changes(), ElementsAre("removed scripts/a.xml", "removed versions/v1/a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  root.write("versions/v1/a.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("added versions/v1/a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("added scripts/a.xml"));
  root.replace("versions/v1/a.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("modified scripts/a.xml", "modified versions/v1/a.xml"));
}

TEST(APoll, FollowsALinkWhoseTargetTurnsFromAFileIntoAFolder) {
  const TemporaryFolder root;
  root.write("store/a", "");
  fs::create_symlink("store/a", root / "a");
  HandWatch watch(root);
  fs::remove(root / "store/a");
  root.write("store/a/b.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("removed store/a", "added store/a/b.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("removed a", "added a/b.xml"));
}

TEST(APoll, FollowsALinkWhoseTargetTurnsFromAFolderIntoAFile) {
  const TemporaryFolder root;
  root.write("store/a/b.xml", "");
  fs::create_symlink("store/a", root / "a");
  HandWatch watch(root);
  fs::remove_all(root / "store/a");
  root.write("store/a", "1");
  EXPECT_THAT(watch.changes(), ElementsAre("removed a/b.xml", "added store/a", "removed store/a/b.xml"));
  watch.poll();
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("added a"));
}

TEST(APoll, FindsNothingInLinksThatLeadToEachOther) {
  const TemporaryFolder root;
  fs::create_symlink("two.xml", root / "one.xml");
  fs::create_symlink("one.xml", root / "two.xml");
  fs::create_symlink("self", root / "self");
  HandWatch watch(root);
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  root.replace("two.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("added two.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("added one.xml"));
}

TEST(APoll, FollowsALinkWhenItLeadsOutOfItsRootNoMore) {
  const TemporaryFolder outside;
  outside.write("a.xml", "");
  const TemporaryFolder root;
  root.write("store/a.xml", "");
  fs::create_directory(root / "links");
  fs::create_directory_symlink(outside.path(), root / "links/current");
  fs::create_directory_symlink("links/current", root / "scripts");
  HandWatch watch(root);
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  fs::create_directory_symlink("../store", root / "links/next");
  fs::rename(root / "links/next", root / "links/current");
  EXPECT_THAT(watch.changes(), ElementsAre("added links/current/a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("added scripts/a.xml"));
}

TEST(APoll, LeavesADanglingLinkAloneWhileTheWriterOfItsTargetPauses) {
  const TemporaryFolder root;
  fs::create_directory(root / "store");
  fs::create_symlink("store/a.xml", root / "a.xml");
  HandWatch watch(root, std::chrono::hours(1));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  std::ofstream stream = beginToWrite(root / "store/a.xml");
  EXPECT_THAT(watch.changes(), IsEmpty());
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  stream.close();
  EXPECT_THAT(watch.changes(), ElementsAre("added store/a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("added a.xml"));
}

TEST(APoll, NotesAFileWhoseWriterPausesForLongAndAgainAtItsEnd) {
  const TemporaryFolder root;
  root.write("a.xml", "");
  HandWatch watch(root, std::chrono::seconds(0));
  std::ofstream stream = beginToWrite(root / "a.xml");
  EXPECT_THAT(watch.changes(), IsEmpty());
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("modified a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  stream.close();
  EXPECT_THAT(watch.changes(), ElementsAre("modified a.xml"));
}

TEST(APoll, NotesANewFileWhoseWriterPausesForLong) {
  const TemporaryFolder root;
  HandWatch watch(root, std::chrono::milliseconds(100));
  const std::ofstream stream = beginToWrite(root / "a.xml");
  EXPECT_THAT(watch.changes(), IsEmpty());
  std::vector<std::string> found;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (found.empty() && std::chrono::steady_clock::now() < deadline) {
    watch.poll();
    found = watch.changes();
  }
  EXPECT_THAT(found, ElementsAre("added a.xml"));
}

TEST(APoll, NotesATruncationByPath) {
  const TemporaryFolder root;
  root.write("a.xml", "....");
  HandWatch watch(root, std::chrono::seconds(0));
  fs::resize_file(root / "a.xml", 2);
  EXPECT_THAT(watch.changes(), IsEmpty());
  EXPECT_THAT(watch.changesFoundByPolls(), ElementsAre("modified a.xml"));
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
}

TEST(TheWatcher, PassesOverFilesOfTemporaryNames) {
  const TemporaryFolder root;
  root.write(".hidden.xml", "");
  HandWatch watch(root);
  for (const char* name :
       {"a.xml~", "a.xml.tmp", "a.xml.new", "a.xml.temp", "a.xml.part", "a.xml.swp", "a.xml.kate-swp",
        "a.xml___jb_tmp___", "a.xml___jb_old___", "#a.xml#", ".hidden.xml", ".a.xml.1-1.saving"})
    root.write(name, "1");
  EXPECT_THAT(watch.changesFoundByPolls(), IsEmpty());
  for (const char* name : {"a.xml.bak", "tmp", "new.xml", "~a", "a#"}) root.write(name, "1");
  EXPECT_THAT(watch.changes(),
              ElementsAre("added a#", "added a.xml.bak", "added new.xml", "added tmp", "added ~a"));
  fs::rename(root / "a.xml.tmp", root / "a.xml");
  root.write(".folder/b.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("added .folder/b.xml", "added a.xml"));
}

TEST(TheWatcher, HearsOfAHardLinkThatIsMade) {
  const TemporaryFolder root;
  root.write("a.xml", "");
  HandWatch watch(root);
  fs::create_hard_link(root / "a.xml", root / "b.xml");
  EXPECT_THAT(watch.changes(), ElementsAre("added b.xml"));
}

TEST(TheWatcher, SeesAFolderTakeTheNameOfAFileAndTheOtherWayRound) {
  const TemporaryFolder root;
  root.write("name", "");
  HandWatch watch(root);
  fs::remove(root / "name");
  root.write("name/a.xml", "");
  EXPECT_THAT(watch.changes(), ElementsAre("removed name", "added name/a.xml"));
  fs::remove_all(root / "name");
  root.write("name", "");
  EXPECT_THAT(watch.changes(), ElementsAre("added name", "removed name/a.xml"));
}

}  // namespace
