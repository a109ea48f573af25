#include "recording_listener.h"

#include <support/message_recorder.h>

#include <resources/data_section_cache.h>
#include <resources/save_group.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mman.h>

#include <fcntl.h>
#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

namespace fs = std::filesystem;
using support::openResource;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr const char* kName = "scripts/a.xml";

/// What one scenario on a root that holds "scripts/a.xml" and "scripts/b.xml" makes the listener hear.
std::vector<std::string> heardAfter(const std::function<void(WatchedRoot&)>& scenario) {
  WatchedRoot root(kName, "<r>1</r>");
  root.write("scripts/b.xml", "<r/>");
  root.listen();
  scenario(root);
  return root.changes();
}

TEST(TheMonitor, HearsOfAFileReplacedByRename) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) { root.replace(kName, "<r>2</r>"); }),
              ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, HearsOfAFileTruncatedAndWritten) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) { root.write(kName, "<r>2</r>"); }),
              ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, HearsOfASlowWriterOnlyWhenHeIsDone) {
  WatchedRoot root(kName, "<r>1</r>");
  root.listen();
  std::ofstream stream(root / kName, std::ios::binary);
  for (int chunk = 0; chunk < 10; ++chunk) {
    stream << "<r>" << std::flush;
    EXPECT_THAT(root.changes(), IsEmpty());
  }
  stream.close();
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, DoesNotHaveTheSameRefusalReportedAgain) {
  const support::MessageRecorder messages;
  WatchedRoot root(kName, "<r/>");
  root.listen();
  root.write(kName, "<r>");
  EXPECT_FALSE(support::openResource(kName));
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
  EXPECT_FALSE(support::openResource(kName));
  EXPECT_THAT(messages.texts(), testing::SizeIs(1));
}

TEST(TheMonitor, HearsOfAFileDeletedAndMadeAnew) {
  WatchedRoot root(kName, "<r>1</r>");
  root.listen();
  fs::remove(root / kName);
  EXPECT_THAT(root.changes(), ElementsAre("removed scripts/a.xml"));
  root.write(kName, "<r>2</r>");
  EXPECT_THAT(root.changes(), ElementsAre("added scripts/a.xml"));
  root.replace(kName, "<r>3</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, HearsOfAFileThatWasAbsentAtTheStart) {
  WatchedRoot root;
  root.listen();
  root.write(kName, "<r/>");
  EXPECT_THAT(root.changes(), ElementsAre("added scripts/a.xml"));
}

TEST(TheMonitor, HearsOfAChangeThatKeepsSizeAndModificationTime) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) {
                const auto time = fs::last_write_time(root / kName);
                root.write(kName, "<r>2</r>");
                fs::last_write_time(root / kName, time);
              }),
              ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, HearsOfABackupStyleSave) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) {
                fs::rename(root / kName, root / "scripts/a.xml~");
                root.write(kName, "<r>2</r>");
              }),
              ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, HearsOfTwoFilesThatAreExchanged) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) {
                EXPECT_EQ(::renameat2(AT_FDCWD, (root / kName).c_str(), AT_FDCWD,
                                      (root / "scripts/b.xml").c_str(), RENAME_EXCHANGE),
                          0);
              }),
              ElementsAre("modified scripts/a.xml", "modified scripts/b.xml"));
}

TEST(TheMonitor, HearsOfAWriteThroughMappedMemory) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) {
                const int file = ::open((root / kName).c_str(), O_RDWR | O_CLOEXEC);
                void* const memory = ::mmap(nullptr, 8, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
                ASSERT_NE(memory, MAP_FAILED);
                static_cast<char*>(memory)[3] = '2';
                ::munmap(memory, 8);
                ::close(file);
              }),
              ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, HearsOfEveryFileInAFolderThatComesAndGoes) {
  WatchedRoot root(kName, "<r/>");
  root.write("elsewhere/deep/c.xml", "<r/>");
  root.listen();
  fs::rename(root / "scripts", root / "moved");
  EXPECT_THAT(root.changes(), ElementsAre("added moved/a.xml", "removed scripts/a.xml"));
  fs::rename(root / "moved", root / "scripts");
  EXPECT_THAT(root.changes(), ElementsAre("removed moved/a.xml", "added scripts/a.xml"));
  root.write(kName, "<r>2</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
  fs::remove_all(root / "scripts");
  EXPECT_THAT(root.changes(), ElementsAre("removed scripts/a.xml"));
  root.write(kName, "<r>3</r>");
  EXPECT_THAT(root.changes(), ElementsAre("added scripts/a.xml"));
  fs::rename(root / "elsewhere", root / "scripts/below");
  EXPECT_THAT(root.changes(), ElementsAre("removed elsewhere/deep/c.xml", "added scripts/below/deep/c.xml"));
  root.replace("scripts/below/deep/c.xml", "<r>4</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/below/deep/c.xml"));
}

TEST(TheMonitor, HearsOfAFolderThatIsExchangedForAnother) {
  WatchedRoot root(kName, "<r>1</r>");
  root.write("other/a.xml", "<r>2</r>");
  root.write("other/c.xml", "<r/>");
  root.listen();
  EXPECT_EQ(
      ::renameat2(AT_FDCWD, (root / "scripts").c_str(), AT_FDCWD, (root / "other").c_str(), RENAME_EXCHANGE),
      0);
  EXPECT_THAT(root.changes(), UnorderedElementsAre("modified scripts/a.xml", "added scripts/c.xml",
                                                   "modified other/a.xml", "removed other/c.xml"));
  root.write(kName, "<r>3</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
  root.write("other/a.xml", "<r>4</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified other/a.xml"));
}

TEST(TheMonitor, HearsOfAFolderSwappedForAPreparedOne) {
  WatchedRoot root(kName, "<r>1</r>");
  root.write("next/a.xml", "<r>2</r>");
  root.listen();
  fs::rename(root / "scripts", root / "old");
  fs::rename(root / "next", root / "scripts");
  EXPECT_THAT(root.changes(),
              UnorderedElementsAre("removed next/a.xml", "added old/a.xml", "modified scripts/a.xml"));
  root.replace(kName, "<r>3</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, HearsOfARootThatIsMovedAwayAndBack) {
  const support::TemporaryFolder outside;
  outside.write("root/scripts/a.xml", "<r/>");
  Tal::FS::setFileSystem(std::make_unique<Tal::FS::MultiFileSystem>(std::vector<fs::path>{outside / "root"}));
  RecordingListener listener;
  Tal::FS::fileSystem()->getFilesystemMonitor()->addModificationListener(&listener);
  const auto waitFor = [&](const std::string& call) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!listener.heard(call) && std::chrono::steady_clock::now() < deadline) {
      Tal::FS::fileSystem()->pump();
      std::this_thread::yield();
    }
    return listener.heard(call);
  };
  fs::rename(outside / "root", outside / "away");
  EXPECT_TRUE(waitFor("removed scripts/a.xml"));
  fs::rename(outside / "away", outside / "root");
  EXPECT_TRUE(waitFor("added scripts/a.xml"));
  outside.write("root/scripts/a.xml", "<r>2</r>");
  EXPECT_TRUE(waitFor("modified scripts/a.xml"));
  Tal::FS::setFileSystem(nullptr);
}

TEST(TheMonitor, HearsOfALinkedFileWhoseTargetIsWritten) {
  WatchedRoot root("store/a.xml", "<r>1</r>");
  fs::create_directory(root / "scripts");
  fs::create_symlink("../store/a.xml", root / kName);
  root.listen();
  root.write("store/a.xml", "<r>2</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml", "modified store/a.xml"));
  root.replace("store/a.xml", "<r>3</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml", "modified store/a.xml"));
}

TEST(TheMonitor, HearsOfALinkThatIsRetargeted) {
  WatchedRoot root("store/a.xml", "<r>1</r>");
  root.write("store/b.xml", "<r>2</r>");
  fs::create_directory(root / "scripts");
  fs::create_symlink("../store/a.xml", root / kName);
  root.listen();
  fs::remove(root / kName);
  fs::create_symlink("../store/b.xml", root / kName);
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
  root.write("store/a.xml", "<r>3</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified store/a.xml"));
  root.write("store/b.xml", "<r>4</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml", "modified store/b.xml"));
}

TEST(TheMonitor, HearsOfFilesInALinkedFolderUnderBothNames) {
  WatchedRoot root("store/a.xml", "<r>1</r>");
  fs::create_directory_symlink("store", root / "scripts");
  root.listen();
  root.write("store/a.xml", "<r>2</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml", "modified store/a.xml"));
  fs::remove(root / "scripts");
  EXPECT_THAT(root.changes(), ElementsAre("removed scripts/a.xml"));
  root.write("store/a.xml", "<r>3</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified store/a.xml"));
}

TEST(TheMonitor, IsNotLedAstrayByLinksThatGoUpOrOut) {
  const support::TemporaryFolder outside;
  outside.write("c.xml", "<r/>");
  WatchedRoot root(kName, "<r/>");
  fs::create_directory_symlink("..", root / "scripts/up");
  fs::create_directory_symlink(outside.path(), root / "out");
  root.listen();
  outside.write("c.xml", "<r>2</r>");
  root.write(kName, "<r>2</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, StaysSilentWhenAFileIsOnlyRead) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) {
                EXPECT_EQ(root.read(kName), "<r>1</r>");
                EXPECT_TRUE(openResource(kName));
              }),
              IsEmpty());
}

TEST(TheMonitor, SaysNothingOfAFileWhenItsNeighbourChanges) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) { root.write("scripts/b.xml", "<r>2</r>"); }),
              ElementsAre("modified scripts/b.xml"));
}

TEST(TheMonitor, DoesNotTakeTheFilesOfASaveForResources) {
  EXPECT_THAT(heardAfter([](WatchedRoot& root) {
                root.write("scripts/.a.xml.1-1.saving", "left over");
                const auto section = openResource(kName);
                section->setValue("2");
                EXPECT_TRUE(section->save());
              }),
              ElementsAre("modified scripts/a.xml"));
}

TEST(TheMonitor, TellsTheRootThatHoldsTheResource) {
  const support::TemporaryFolder first;
  const support::TemporaryFolder second;
  Tal::FS::setFileSystem(
      std::make_unique<Tal::FS::MultiFileSystem>(std::vector<fs::path>{first.path(), second.path()}));
  RecordingListener listener;
  Tal::FS::fileSystem()->getFilesystemMonitor()->addModificationListener(&listener);
  second.write("a.xml", "<r/>");
  while (!listener.heard("added a.xml")) Tal::FS::fileSystem()->pump();
  EXPECT_EQ(listener.basePaths[0], second.path().native());
  Tal::FS::setFileSystem(nullptr);
}

TEST(ALaterListener, HearsOnlyOfLaterChanges) {
  WatchedRoot root(kName, "<r/>");
  root.listen();
  root.write(kName, "<r>2</r>");
  EXPECT_TRUE(pumpUntil(root, [&] { return root.listener.heard("modified scripts/a.xml"); }));
  RecordingListener late;
  root.fileSystem().getFilesystemMonitor()->addModificationListener(&late);
  root.write("b.xml", "<r/>");
  EXPECT_TRUE(pumpUntil(root, [&] { return late.heard("added b.xml"); }));
  EXPECT_THAT(late.calls, ElementsAre("added b.xml"));
  root.fileSystem().getFilesystemMonitor()->removeModificationListener(&late);
}

TEST(AListenerThatLeft, HearsNothingMore) {
  WatchedRoot root(kName, "<r/>");
  root.listen();
  RecordingListener leaving;
  auto* const monitor = root.fileSystem().getFilesystemMonitor();
  monitor->addModificationListener(&leaving);
  monitor->removeModificationListener(&leaving);
  monitor->removeModificationListener(&leaving);
  root.write(kName, "<r>2</r>");
  EXPECT_THAT(root.changes(), ElementsAre("modified scripts/a.xml"));
  EXPECT_THAT(leaving.calls, IsEmpty());
}

TEST(TheMonitor, CanBeTakenDownWhileChangesWait) {
  RecordingListener listener;
  {
    const support::MountedRoot root(kName, "<r/>");
    root.fileSystem().getFilesystemMonitor()->addModificationListener(&listener);
    for (int i = 0; i < 50; ++i) root.write("f" + std::to_string(i), "");
  }
  EXPECT_THAT(listener.calls, IsEmpty());
}

}  // namespace
