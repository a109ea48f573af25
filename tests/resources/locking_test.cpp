#include "save_patience.h"

#include <files/file_lock.h>
#include <resources/data_section.h>
#include <resources/save_group.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>
#include <support/replace_file.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <fcntl.h>
#include <unistd.h>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using support::MountedRoot;
using support::openResource;
using Tal::files::FileLock;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::chrono::milliseconds kShort{50};
constexpr std::chrono::milliseconds kLong{20'000};

/// Another program.
class Child {
 public:
  template <class Work>
  explicit Child(const Work& work) : id_(fork()) {
    if (id_ != 0) return;
    work();
    _exit(0);
  }
  ~Child() {
    kill(id_, SIGKILL);
    wait();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void wait() const { waitpid(id_, nullptr, 0); }
  void killHard() const { kill(id_, SIGKILL); }
  pid_t id() const { return id_; }

 private:
  pid_t id_;
};

/// Another program that holds the lock of a file; returns when it has it.
Child holderOf(const fs::path& file, const fs::path& sign) {
  return Child([&] {
    const auto lock = FileLock::acquire(file, kLong);
    support::writeFile(sign, "locked");
    while (true) pause();
  });
}

/// How a message names another process of this program.
std::string nameOf(const Child& process) {
  const std::string command = support::readFile("/proc/self/comm");
  const std::string program = command.substr(0, command.find('\n'));
  return "process " + std::to_string(process.id()) + " (" + program + ')';
}

/// Whether another program could save a file now.
bool isFree(const fs::path& file) {
  return static_cast<bool>(FileLock::acquire(file, std::chrono::milliseconds(0)));
}

void awaitFile(const fs::path& file) {
  const auto deadline = std::chrono::steady_clock::now() + kLong;
  while (!fs::exists(file) && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  ASSERT_TRUE(fs::exists(file));
}

TEST(AFileLock, IsWaitedForAsLongAsOneIsPatientAndNamesItsHolder) {
  const MountedRoot root("a.xml", "<r/>");
  const Child other = holderOf(root / "a.xml", root / "sign");
  awaitFile(root / "sign");
  const auto lock = FileLock::acquire(root / "a.xml", kShort);
  ASSERT_FALSE(lock);
  EXPECT_EQ(lock.fault().kind, Tal::FaultKind::busy);
  EXPECT_EQ(lock.fault().what, nameOf(other) + " is saving it and does not come to an end");
}

TEST(TheLockOfAnOpenFolder, IsWaitedForAsLongAsOneIsPatientAndNamesItsHolder) {
  const MountedRoot root;
  const support::TemporaryFolder signs;
  const Tal::files::FileDescriptor folder(open(root.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const Child other = holderOf(root.path(), signs / "sign");
  awaitFile(signs / "sign");
  const auto lock = Tal::files::waitForLock(folder.get(), kShort);
  ASSERT_FALSE(lock);
  EXPECT_EQ(lock.fault().what, nameOf(other) + " is writing there and does not come to an end");
  other.killHard();
  other.wait();
  EXPECT_TRUE(Tal::files::waitForLock(folder.get(), kLong));
}

TEST(AFileLock, EndsWithTheProcessHoweverThatEnds) {
  const MountedRoot root("a.xml", "<r/>");
  const Child other = holderOf(root / "a.xml", root / "sign");
  awaitFile(root / "sign");
  other.killHard();
  EXPECT_TRUE(FileLock::acquire(root / "a.xml", kLong));
}

TEST(AFileLock, OfAFileThatIsNotThereHoldsNothing) {
  const support::TemporaryFolder folder;
  EXPECT_TRUE(FileLock::acquire(folder / "a.xml", kShort));
  EXPECT_FALSE(fs::exists(folder / "a.xml"));
}

TEST(AFileLock, IsOfTheNewFileWhenTheHolderHasReplacedIt) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const Child other([&] {
    const auto lock = FileLock::acquire(root / "a.xml", kLong);
    support::writeFile(root / "sign", "locked");
    std::this_thread::sleep_for(kShort);
    static_cast<void>(
        support::replaceFileIn(root.path(), "a.xml", "<r>2</r>"));  // the file tells whether it is done
  });
  awaitFile(root / "sign");
  const auto lock = FileLock::acquire(root / "a.xml", kLong);
  ASSERT_TRUE(lock);
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
  EXPECT_FALSE(FileLock::acquire(root / "a.xml", kShort)) << "the new file is the one that is locked";
}

TEST(ASaveGroup, RefusesToOpenWhatAnotherProgramIsSaving) {
  const MountedRoot root("a.xml", "<r/>");
  const Child other = holderOf(root / "a.xml", root / "sign");
  awaitFile(root / "sign");
  const SavePatience patience(kShort);
  const support::MessageRecorder messages;
  {
    Tal::SaveGroup group;
    EXPECT_FALSE(openResource("a.xml"));
  }
  EXPECT_THAT(
      messages.texts(),
      ElementsAre(AllOf(HasSubstr((root / "a.xml").string()),
                        HasSubstr(nameOf(other) + " is saving it and does not come to an end"),
                        HasSubstr("edits are kept"), HasSubstr("wait until it has ended and save again"))));
  EXPECT_EQ(messages.criticalCount(), 1);
  EXPECT_TRUE(openResource("a.xml")) << "reading needs no lock";
}

TEST(ASaveGroup, LetsGoOfItsFilesWhenItIsClosed) {
  const MountedRoot root("a.xml", "<r/>");
  {
    Tal::SaveGroup group;
    openResource("a.xml")->setValue("1");
    EXPECT_FALSE(FileLock::acquire(root / "a.xml", kShort));
    EXPECT_TRUE(openResource("a.xml")) << "the group itself opens it as often as it likes";
  }
  EXPECT_TRUE(FileLock::acquire(root / "a.xml", kShort));
}

TEST(ASaveLock, GoesOverToTheNewFileThatASaveHasMade) {
  const MountedRoot root("a.xml", "<r/>");
  std::optional lock = Tal::SaveLock::acquire("a.xml");
  for (const char* const value : {"1", "2"}) {
    openResource("a.xml")->setValue(value);
    EXPECT_TRUE(openResource("a.xml")->save());
    EXPECT_FALSE(isFree(root / "a.xml"));
    EXPECT_EQ(root.read("a.xml"), "<r>" + std::string(value) + "</r>");
  }
  lock.reset();
  EXPECT_TRUE(isFree(root / "a.xml"));
}

TEST(ASaveGroup, LocksTheNewFileThatASaveUnderASaveLockHasMade) {
  const MountedRoot root("a.xml", "<r/>");
  std::optional lock = Tal::SaveLock::acquire("a.xml");
  openResource("a.xml")->setValue("1");
  EXPECT_TRUE(openResource("a.xml")->save());
  const Tal::SaveGroup group;
  EXPECT_TRUE(openResource("a.xml"));
  lock.reset();
  EXPECT_FALSE(isFree(root / "a.xml"));
}

TEST(ASaveLock, OfTwoNamesOfOneFileStaysWithTheNameThatWasNotSaved) {
  const MountedRoot root("a.xml", "<r/>");
  std::filesystem::create_hard_link(root / "a.xml", root / "b.xml");
  const auto a = Tal::SaveLock::acquire("a.xml");
  const auto b = Tal::SaveLock::acquire("b.xml");
  openResource("a.xml")->setValue("1");
  EXPECT_TRUE(openResource("a.xml")->save());
  EXPECT_FALSE(isFree(root / "b.xml"));
  EXPECT_EQ(openResource("b.xml")->value(), "");
}

TEST(ASaveLock, HoldsTheFileUntilItEnds) {
  const MountedRoot root("a.xml", "<r/>");
  {
    const auto lock = Tal::SaveLock::acquire("a.xml");
    EXPECT_TRUE(lock);
    EXPECT_FALSE(isFree(root / "a.xml"));
  }
  EXPECT_TRUE(isFree(root / "a.xml"));
}

TEST(ASaveLock, KeepsAnotherProgramFromSavingWhileItLives) {
  const MountedRoot root("a.xml", "<r/>");
  const SavePatience patience(kShort);
  const Child other([&] {
    awaitFile(root / "locked");
    const support::MessageRecorder messages;
    const Tal::SaveGroup group;
    root.write("outcome", openResource("a.xml") ? "let in" : "kept out");
  });
  const auto lock = Tal::SaveLock::acquire("a.xml");
  root.write("locked", "");
  other.wait();
  EXPECT_EQ(root.read("outcome"), "kept out");
}

TEST(ASaveLock, IsHeldAtOnceWhereAnOpenGroupHoldsTheFile) {
  const MountedRoot root("a.xml", "<r/>");
  const SavePatience patience(kShort);
  const support::MessageRecorder messages;
  {
    const Tal::SaveGroup group;
    EXPECT_TRUE(openResource("a.xml"));
    {
      const auto lock = Tal::SaveLock::acquire("a.xml");
      EXPECT_TRUE(lock);
    }
    EXPECT_FALSE(isFree(root / "a.xml")) << "the group still holds it";
  }
  EXPECT_TRUE(isFree(root / "a.xml"));
  EXPECT_THAT(messages.texts(), IsEmpty());
}

TEST(ASaveLock, OutlivesTheGroupThatHeldTheFileBefore) {
  const MountedRoot root("a.xml", "<r/>");
  std::optional<Tal::SaveGroup> group(std::in_place);
  EXPECT_TRUE(openResource("a.xml"));
  const auto lock = Tal::SaveLock::acquire("a.xml");
  group.reset();
  EXPECT_FALSE(isFree(root / "a.xml"));
}

TEST(ASaveLock, WithinAnotherIsHeldAndLeavesTheFileToTheOuterOne) {
  const MountedRoot root("a.xml", "<r/>");
  const SavePatience patience(kShort);
  {
    const auto outer = Tal::SaveLock::acquire("a.xml");
    {
      const auto inner = Tal::SaveLock::acquire("a.xml");
      EXPECT_TRUE(inner);
    }
    EXPECT_FALSE(isFree(root / "a.xml"));
  }
  EXPECT_TRUE(isFree(root / "a.xml"));
}

TEST(ASaveLock, IsNotHeldWhileAnotherProgramIsSaving) {
  const MountedRoot root("a.xml", "<r/>");
  const Child other = holderOf(root / "a.xml", root / "sign");
  awaitFile(root / "sign");
  const SavePatience patience(kShort);
  const auto lock = Tal::SaveLock::acquire("a.xml");
  ASSERT_FALSE(lock);
  EXPECT_THAT(lock.fault().what, HasSubstr(nameOf(other) + " is saving it"));
}

TEST(ASaveLock, OfAResourceThatIsNotThereIsNotNeeded) {
  const MountedRoot root("a.xml", "<r/>");
  EXPECT_TRUE(Tal::SaveLock::acquire("b.xml"));
}

TEST(TwoPrograms, LoseNoneOfTheirEditsWhenTheySaveAtTheSameTime) {
  constexpr int kRounds = 40;
  const MountedRoot root("a.xml", "<r><mine>0</mine><theirs>0</theirs></r>");
  const auto work = [](const char* key) {
    for (int round = 1; round <= kRounds; ++round) {
      Tal::SaveGroup group;
      const auto document = openResource("a.xml");
      if (!document || document->readInt(key, -1) != round - 1) return;
      document->writeInt(key, round);
      document->save();
      if (!group.commit()) return;
    }
  };
  const Child other([&] { work("theirs"); });
  work("mine");
  other.wait();
  EXPECT_EQ(root.read("a.xml"), "<r><mine>40</mine><theirs>40</theirs></r>");
}

TEST(ASave, RemovesWhatAKilledProcessLeftBesideTheFile) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const Child gone([] {});
  gone.wait();
  const std::string dead = ".a.xml." + std::to_string(gone.id()) + "-1.saving";
  const std::string young = ".a.xml." + std::to_string(gone.id()) + "-2.saving";
  const std::string living = ".a.xml." + std::to_string(getppid()) + "-1.saving";
  const std::string ofAPerson = ".a.xml.old-copy.saving";
  const std::string ofAnother = ".b.xml." + std::to_string(gone.id()) + "-1.saving";
  const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(1);
  for (const std::string& name : {dead, young, living, ofAPerson, ofAnother}) {
    root.write(name, "half");
    if (name != young) fs::last_write_time(root / name, longAgo);
  }
  EXPECT_TRUE(support::replaceFileIn(root.path(), "a.xml", "<r>2</r>"));
  EXPECT_THAT(root.listing(), testing::UnorderedElementsAre("a.xml", young, living, ofAPerson, ofAnother));
}

TEST(ASaveGroup, OfTwoNamesOfOneFileDoesNotWaitForItself) {
  const MountedRoot root("a.xml", "<r>1</r>");
  fs::create_symlink("a.xml", root / "link.xml");
  fs::create_hard_link(root / "a.xml", root / "other.xml");
  const support::MessageRecorder messages;
  const SavePatience patience(kShort);
  const auto lock = Tal::SaveLock::acquire("other.xml");
  EXPECT_TRUE(lock);
  const Tal::SaveGroup group;
  EXPECT_TRUE(openResource("a.xml"));
  EXPECT_TRUE(openResource("link.xml"));
  EXPECT_THAT(messages.texts(), testing::IsEmpty());
}

TEST(ASave, ByAProcessOfTheNumberOfAKilledOneRemovesWhatThatLeftToo) {
  // Where every process is the first one of its container, the names of temporary files come again.
  const MountedRoot root("a.xml", "<r>1</r>");
  const std::string own = ".a.xml." + std::to_string(getpid()) + "-1000000001.saving";
  const std::string inUse = ".a.xml." + std::to_string(getpid()) + "-1000000002.saving";
  for (const std::string& name : {own, inUse}) {
    root.write(name, "half");
    fs::last_write_time(root / name, fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  const auto lock = FileLock::acquire(root / inUse, kShort);
  EXPECT_TRUE(support::replaceFileIn(root.path(), "a.xml", "<r>2</r>"));
  EXPECT_THAT(root.listing(), testing::UnorderedElementsAre("a.xml", inUse));
}

TEST(ASave, TakesAnotherNameWhenThatOfItsTemporaryFileIsTaken) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const std::string latest = Tal::files::temporaryNameFor("a.xml");
  const std::size_t number = latest.rfind('-') + 1;
  const int next = std::stoi(latest.substr(number)) + 1;
  std::vector<std::string> expected = {"a.xml"};
  for (int i = next; i < next + 3; ++i) {
    expected.push_back(latest.substr(0, number) + std::to_string(i) + ".saving");
    root.write(expected.back(), "young");
  }
  EXPECT_TRUE(support::replaceFileIn(root.path(), "a.xml", "<r>2</r>"));
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
  EXPECT_THAT(root.listing(), testing::UnorderedElementsAreArray(expected));
}

}  // namespace
