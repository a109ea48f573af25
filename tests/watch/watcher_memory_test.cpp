// Whatever allocation of collecting or polling fails: no change is lost, none is made up, and the watcher
// goes on.

#include <support/failing_allocation.h>
#include <support/temporary_folder.h>

#include <watch/folder_watcher.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using support::TemporaryFolder;
using testing::IsSubsetOf;
using Action = Tal::watch::Action;
using Names = std::set<std::string>;

Names filesBelow(const TemporaryFolder& root) {
  Names names;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root.path())) {
    if (entry.is_regular_file()) names.insert(entry.path().lexically_relative(root.path()).generic_string());
  }
  return names;
}

/// A watcher without a thread, and what a listener makes of its changes.
class Follower {
 public:
  explicit Follower(const TemporaryFolder& root)
      : present(filesBelow(root)),
        collector_({root.path().native()}),
        watcher_({root.path()}, collector_, std::chrono::seconds(0)) {}

  void work() {
    watcher_.collect();
    // A file that has changed without a closing is noted by the second poll.
    watcher_.poll();
    watcher_.poll();
  }

  /// Works with one allocation failing; false when the work needs fewer than that.
  bool failsAt(long place) {
    const support::FailingAllocation failing(place);
    try {
      work();
    } catch (const std::bad_alloc&) {
    }
    return failing.hasFailed();
  }

  void beTold() {
    for (const Tal::watch::ResourceChange& change : collector_.take()) {
      if (change.action == Action::added) added.insert(change.resourceName);
      if (change.action == Action::modified) modified.insert(change.resourceName);
      if (change.action == Action::removed) removed.insert(change.resourceName);
      if (change.action == Action::removed) {
        present.erase(change.resourceName);
      } else {
        present.insert(change.resourceName);
      }
    }
  }

  void forget() {
    added.clear();
    modified.clear();
    removed.clear();
  }

  Names present;  ///< the files that are there, as far as the listener knows
  Names added;
  Names modified;
  Names removed;

 private:
  Tal::watch::ChangeCollector collector_;
  Tal::watch::FolderWatcher watcher_;
};

void fill(const TemporaryFolder& root) {
  for (const char* name :
       {"kept.xml", "changed.xml", "leaving.xml", "cut.xml", "folder/inner.xml", "gone/c.xml"})
    root.write(name, "....");
  fs::create_symlink("changed.xml", root / "link.xml");
  fs::create_hard_link(root / "folder/inner.xml", root / "second.xml");
}

void change(const TemporaryFolder& root) {
  root.replace("changed.xml", "1");
  fs::remove(root / "leaving.xml");
  fs::remove_all(root / "gone");
  fs::rename(root / "folder", root / "moved");
  root.write("new/made.xml", "");
  fs::resize_file(root / "cut.xml", 2);
  // A time far from now, so that polls do not wait until the file is old enough to count.
  fs::last_write_time(root / "cut.xml", fs::file_time_type::clock::now() + std::chrono::hours(1));
}

void expectTheChanges(const Follower& follower, const TemporaryFolder& root) {
  EXPECT_EQ(follower.present, filesBelow(root));
  EXPECT_EQ(follower.added, (Names{"moved/inner.xml", "new/made.xml"}));
  EXPECT_EQ(follower.removed, (Names{"folder/inner.xml", "gone/c.xml", "leaving.xml"}));
  EXPECT_THAT((Names{"changed.xml", "cut.xml", "link.xml"}), IsSubsetOf(follower.modified));
}

void expectToGoOn(Follower& follower, const TemporaryFolder& root) {
  follower.forget();
  root.replace("kept.xml", "2");
  fs::remove(root / "second.xml");
  root.write("moved/later.xml", "");
  follower.work();
  follower.beTold();
  EXPECT_EQ(follower.modified, Names{"kept.xml"});
  EXPECT_EQ(follower.removed, Names{"second.xml"});
  EXPECT_EQ(follower.added, Names{"moved/later.xml"});
}

/// Lets the first allocation of the work fail `before` times, then each of the next work in turn, each time
/// below a root of its own; returns how many those are.
long failEach(int before) {
  for (long place = 0;; ++place) {
    SCOPED_TRACE("allocation " + std::to_string(place));
    const TemporaryFolder root;
    fill(root);
    Follower follower(root);
    change(root);
    for (int i = 0; i < before; ++i) EXPECT_TRUE(follower.failsAt(0));
    const bool hasFailed = follower.failsAt(place);
    follower.beTold();
    follower.work();
    follower.beTold();
    expectTheChanges(follower, root);
    expectToGoOn(follower, root);
    if (!hasFailed || testing::Test::HasFailure()) return place;
  }
}

TEST(AWatcherWithoutMemory, LosesNoChange) {
  EXPECT_GT(failEach(0), 50) << "so many allocations were made to fail";
}

TEST(AWatcherWithoutMemory, LosesNoChangeWhenStartingAnewFailsToo) {
  EXPECT_GT(failEach(1), 50) << "so many allocations were made to fail";
}

TEST(AWatcherWithoutMemory, IsNotMadeAtAll) {
  const TemporaryFolder root;
  fill(root);
  Tal::watch::ChangeCollector collector({root.path().native()});
  const std::vector<fs::path> roots = {root.path()};
  long place = 0;
  for (bool isMade = false; !isMade; ++place) {
    std::vector<fs::path> given = roots;
    const support::FailingAllocation failing(place);
    try {
      const Tal::watch::FolderWatcher watcher(std::move(given), collector);
      isMade = true;
    } catch (const std::bad_alloc&) {
    }
  }
  EXPECT_GT(place, 10) << "so many allocations were made to fail";
  EXPECT_TRUE(collector.take().empty());
}

}  // namespace
