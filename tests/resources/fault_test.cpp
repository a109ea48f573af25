#include <support/faulty_system.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <resources/file_system.h>
#include <resources/save_group.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/file.h>

#include <fcntl.h>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using support::FaultySystem;
using support::Locks;
using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

FaultySystem s_system;

struct OperationCase {
  const char* operation;
  int code;
  const char* reason;
  int leastCalls;  ///< how often a save is known to use the operation
};

void PrintTo(const OperationCase& one, std::ostream* stream) {
  *stream << one.operation;
}

class AFaultOf : public testing::TestWithParam<OperationCase> {
 protected:
  void TearDown() override { s_system.order = {}; }
};

/// Saves "<r>1</r>" as "<r>2...</r>" with the n-th call of the operation going wrong. Whether it did.
bool saveWithFault(const OperationCase& one, int number) {
  const std::string old = "<r>1</r>";
  const std::string text(2000, '2');
  const MountedRoot root("a.xml", old);
  const auto section = openResource("a.xml");
  section->setValue(text);
  MessageRecorder recorder;
  s_system.order = {one.operation, number, one.code, true, 0};
  const bool isSaved = section->save();
  const int calls = s_system.order.calls;
  s_system.order = {};
  EXPECT_THAT(root.listing(), ElementsAre("a.xml")) << "nothing is left beside it";
  if (calls < number) {
    EXPECT_TRUE(isSaved);
    EXPECT_THAT(recorder.texts(), IsEmpty());
    EXPECT_EQ(root.read("a.xml"), "<r>" + text + "</r>");
    return false;
  }
  if (isSaved) {
    // Only the folder's descriptor is closed without a check, when everything is done.
    EXPECT_STREQ(one.operation, "close");
    EXPECT_EQ(root.read("a.xml"), "<r>" + text + "</r>");
    return true;
  }
  EXPECT_EQ(recorder.criticalCount(), 1);
  EXPECT_THAT(recorder.texts(), ElementsAre(AllOf(HasSubstr("\"a.xml\""), HasSubstr(one.reason),
                                                  HasSubstr("edits are kept"), HasSubstr("save again"))));
  EXPECT_THAT(root.read("a.xml"), AnyOf(old, "<r>" + text + "</r>"));
  EXPECT_EQ(section->value(), text);
  EXPECT_EQ(openResource("a.xml")->value(), text);
  s_system.order = {"fsync", 0, 0, false, 0};
  EXPECT_TRUE(section->save()) << "asked again, when the cause is gone";
  EXPECT_EQ(s_system.order.calls, 2) << "the file and its folder are flushed";
  s_system.order = {};
  EXPECT_EQ(root.read("a.xml"), "<r>" + text + "</r>");
  EXPECT_THAT(root.listing(), ElementsAre("a.xml"));
  return true;
}

TEST_P(AFaultOf, LeavesTheOldFileOrTheNewOneAndKeepsTheEdits) {
  int number = 1;
  while (saveWithFault(GetParam(), number) && number < 100) ++number;
  EXPECT_GT(number, GetParam().leastCalls);
}

INSTANTIATE_TEST_SUITE_P(Every, AFaultOf,
                         testing::Values(OperationCase{"write", ENOSPC, "No space left", 5},
                                         OperationCase{"write", EIO, "Input/output error", 5},
                                         OperationCase{"write", EDQUOT, "quota", 5},
                                         OperationCase{"fsync", EIO, "Input/output error", 2},
                                         OperationCase{"close", EIO, "Input/output error", 1},
                                         OperationCase{"rename", EROFS, "Read-only", 1},
                                         OperationCase{"fchmod", EPERM, "not permitted", 1},
                                         OperationCase{"open", EMFILE, "Too many open files", 2},
                                         OperationCase{"open", EIO, "Input/output error", 2}));

/// Saves a new document below two folders that are missing, with the n-th call of the operation going wrong,
/// and again. Whether it did.
bool makeWithFault(const OperationCase& one, int number) {
  const MountedRoot root;
  const auto section = Tal::FS::Utils::openSection("new/deep/a.xml", true, nullptr);
  section->setValue("1");
  MessageRecorder recorder;
  s_system.order = {one.operation, number, one.code, false, 0};
  const bool isSaved = section->save();
  const bool hasFailed = s_system.order.calls >= number;
  s_system.order = {};
  EXPECT_EQ(isSaved, !hasFailed) << one.operation << ' ' << number;
  if (hasFailed) {
    EXPECT_THAT(recorder.texts(), ElementsAre(AllOf(HasSubstr("\"new/deep/a.xml\""), HasSubstr(one.reason),
                                                    HasSubstr("edits are kept"), HasSubstr("save again"))));
  }
  EXPECT_TRUE(section->save()) << one.operation << ' ' << number;
  EXPECT_EQ(root.read("new/deep/a.xml"), "<root>1</root>\n");
  EXPECT_THAT(root.listing(), ElementsAre("new", "new/deep", "new/deep/a.xml"));
  return hasFailed;
}

TEST(ASaveThatMakesFolders, SaysWhichStepFailsAndCanBeMadeAgain) {
  const std::vector<OperationCase> cases = {{"mkdir", EACCES, "Permission denied", 2},
                                            {"mkdir", ENOSPC, "No space left", 2},
                                            {"fsync", EIO, "Input/output error", 4},
                                            {"open", EMFILE, "Too many open files", 4}};
  for (const OperationCase& one : cases) {
    int number = 1;
    while (makeWithFault(one, number) && number < 100) ++number;
    EXPECT_GT(number, one.leastCalls) << one.operation;
    s_system.order = {};
  }
}

TEST(ASaveThatMakesFolders, BringsEachOfThemToTheDiskAlsoWhenThatFailedBefore) {
  // Of two folders, the file, and the folder that holds it. Both folders are made anew when one of them
  // failed.
  const std::vector<int> flushesAgain = {4, 4, 2, 2};
  for (std::size_t failing = 0; failing < flushesAgain.size(); ++failing) {
    const MountedRoot root;
    const auto section = Tal::FS::Utils::openSection("new/deep/a.xml", true, nullptr);
    section->setValue("1");
    const MessageRecorder recorder;
    s_system.order = {"fsync", static_cast<int>(failing) + 1, EIO, false, 0};
    EXPECT_FALSE(section->save());
    s_system.order = {"fsync", 0, 0, false, 0};
    EXPECT_TRUE(section->save());
    EXPECT_EQ(s_system.order.calls, flushesAgain[failing]) << failing;
    s_system.order = {};
  }
}

TEST(ASaveThatMakesFolders, IsRefusedWhereAFileIsInTheWay) {
  const MountedRoot root("new", "a file");
  const auto section = Tal::FS::Utils::openSection("new/deep/a.xml", true, nullptr);
  ASSERT_TRUE(section);
  const MessageRecorder recorder;
  EXPECT_FALSE(section->save());
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("move the file of that name away")));
  EXPECT_EQ(root.read("new"), "a file");
}

TEST(AnInterruptedCall, IsMadeAgain) {
  for (const char* operation : {"write", "fsync", "close"}) {
    const MountedRoot root("a.xml", "<r>1</r>");
    const auto section = openResource("a.xml");
    section->setValue("2");
    s_system.order = {operation, 1, EINTR, false, 0};
    EXPECT_TRUE(section->save()) << operation;
    s_system.order = {};
    EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
  }
}

TEST(AFlushOfTheFolderThatFails, SaysThatTheNewFileIsThereButNotSafe) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue("2");
  MessageRecorder recorder;
  s_system.order = {"fsync", 2, EIO, false, 0};
  EXPECT_FALSE(section->save());
  s_system.order = {};
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("may be lost in a power cut")));
}

/// What another program does with a file while it is being written anew.
class AFileThatChangesWhileItIsSaved : public testing::Test {
 protected:
  AFileThatChangesWhileItIsSaved() { section_->setValue("mine"); }
  ~AFileThatChangesWhileItIsSaved() override { s_system.order = {}; }

  bool saveWhile(std::function<void()> scenario) {
    s_system.order = {"fsync", 1, 0, false, 0, std::move(scenario)};
    const bool isSaved = section_->save();
    s_system.order = {};
    EXPECT_THAT(root_.listing(), testing::Each(testing::Not(HasSubstr("saving")))) << "nothing is left";
    return isSaved;
  }

  void replaceByHand(const std::string& text) {
    root_.write("by hand", text);
    std::filesystem::rename(root_ / "by hand", root_ / "a.xml");
  }

  std::string text() const { return root_.read("a.xml"); }

  MountedRoot root_{"a.xml", "<r>old</r>"};
  Tal::SmartPointer<Tal::DataSection> section_ = openResource("a.xml");
  MessageRecorder recorder_;
};

TEST_F(AFileThatChangesWhileItIsSaved, IsNotReplaced) {
  EXPECT_FALSE(saveWhile([this] { replaceByHand("<r>theirs</r>"); }));
  EXPECT_EQ(text(), "<r>theirs</r>");
  EXPECT_THAT(recorder_.texts(), ElementsAre(AllOf(HasSubstr("\"a.xml\""), HasSubstr("another program"),
                                                   HasSubstr("save again"))));
  EXPECT_EQ(section_->value(), "mine");
  EXPECT_TRUE(section_->save()) << "asked to put it in the place of that change";
  EXPECT_EQ(text(), "<r>mine</r>");
}

TEST_F(AFileThatChangesWhileItIsSaved, IsReplacedWhenItIsWellFormedAgain) {
  EXPECT_FALSE(saveWhile([this] { replaceByHand("<r>"); }));
  EXPECT_THAT(recorder_.texts(), ElementsAre(AllOf(HasSubstr("a.xml:1:4: "), HasSubstr("edits are kept"))));
  EXPECT_FALSE(section_->save()) << "asked to save over what is not well-formed";
  EXPECT_EQ(text(), "<r>");
  replaceByHand("<r>theirs</r>");
  EXPECT_FALSE(section_->save()) << "that it is another's work is still to be said";
  EXPECT_EQ(text(), "<r>theirs</r>");
  EXPECT_TRUE(section_->save());
  EXPECT_EQ(text(), "<r>mine</r>");
}

TEST_F(AFileThatChangesWhileItIsSaved, IsReplacedWhenItsContentIsTheSame) {
  EXPECT_TRUE(saveWhile([this] { replaceByHand("<r>old</r>"); }));
  EXPECT_THAT(recorder_.texts(), IsEmpty());
  EXPECT_EQ(text(), "<r>mine</r>");
}

TEST_F(AFileThatChangesWhileItIsSaved, IsMadeWhenItIsDeleted) {
  EXPECT_TRUE(saveWhile([this] { std::filesystem::remove(root_ / "a.xml"); }));
  EXPECT_THAT(recorder_.texts(), IsEmpty());
  EXPECT_EQ(text(), "<r>mine</r>");
}

TEST_F(AFileThatChangesWhileItIsSaved, IsLeftWhenItIsTouchedAgainAndAgain) {
  const std::function<void()> touch = [&] {
    replaceByHand("<r>old</r>");
    s_system.order.countdown = 1;
    s_system.order.meanwhile = touch;
  };
  EXPECT_FALSE(saveWhile(touch));
  EXPECT_EQ(text(), "<r>old</r>");
  EXPECT_THAT(recorder_.texts(), ElementsAre(AllOf(HasSubstr("another program has changed"),
                                                   HasSubstr("edits are kept"), HasSubstr("save again"))));
  EXPECT_TRUE(section_->save());
  EXPECT_EQ(text(), "<r>mine</r>");
}

TEST_F(AFileThatChangesWhileItIsSaved, IsNotReplacedWhenItWasNotThereBefore) {
  section_ = Tal::FS::Utils::openSection("new.xml", true, nullptr);
  section_->setValue("mine");
  EXPECT_FALSE(saveWhile([this] { root_.write("new.xml", "<r>theirs</r>"); }));
  EXPECT_EQ(root_.read("new.xml"), "<r>theirs</r>");
}

/// Puts a link to a place outside the root in the place of a file or folder of the root.
struct Exchange {
  const char* name;     ///< what is exchanged
  const char* outside;  ///< what the link leads to
};

class ALinkOutOfTheRoot : public testing::TestWithParam<Exchange> {
 protected:
  ~ALinkOutOfTheRoot() override { s_system.order = {}; }
};

void PrintTo(const Exchange& exchange, std::ostream* stream) {
  *stream << exchange.name;
}

/// Saves, with the exchange just before the n-th call of an operation, and again. False when there are not so
/// many calls.
bool saveAround(const Exchange& exchange, const std::string& operation, int number) {
  const MountedRoot root("scripts/a.xml", "<r>old</r>");
  const support::TemporaryFolder outside;
  outside.write("a.xml", "<r>outside</r>");
  const auto section = openResource("scripts/a.xml");
  section->setValue("mine");
  MessageRecorder recorder;
  s_system.order = {operation, number, 0, false, 0, [&] {
                      std::filesystem::rename(root / exchange.name, root / "moved");
                      std::filesystem::create_symlink(outside / exchange.outside, root / exchange.name);
                    }};
  section->save();
  const bool isReached = s_system.order.calls >= number;
  s_system.order = {};
  section->save();
  section->save();
  EXPECT_EQ(outside.read("a.xml"), "<r>outside</r>");
  EXPECT_THAT(outside.listing(), ElementsAre("a.xml")) << "nor is anything left there";
  EXPECT_EQ(section->value(), "mine");
  return isReached;
}

TEST_P(ALinkOutOfTheRoot, IsNotFollowedByASaveWheneverItIsPutThere) {
  for (const char* operation : {"open", "fchmod", "write", "fsync", "close", "rename"}) {
    int number = 1;
    while (saveAround(GetParam(), operation, number) && !HasFailure()) ++number;
    if (HasFailure()) FAIL() << operation << ' ' << number;
    EXPECT_GT(number, 1) << operation;
  }
}

INSTANTIATE_TEST_SUITE_P(InThePlaceOf, ALinkOutOfTheRoot,
                         testing::Values(Exchange{"scripts", ""}, Exchange{"scripts/a.xml", "a.xml"}));

/// Saves, with another folder put in the root's place just before the n-th call of an operation, and again.
/// False when there are not so many calls.
bool saveAroundExchange(const std::string& operation, int number) {
  const support::TemporaryFolder folder;
  folder.write("root/scripts/a.xml", "<r>old</r>");
  Tal::FS::setFileSystem(
      std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{folder / "root"}));
  const auto section = openResource("scripts/a.xml");
  section->setValue("mine");
  MessageRecorder recorder;
  s_system.order = {operation, number, 0, false, 0, [&] {
                      std::filesystem::rename(folder / "root", folder / "moved");
                      folder.write("root/stranger", "");
                    }};
  section->save();
  const bool isReached = s_system.order.calls >= number;
  s_system.order = {};
  section->save();
  EXPECT_EQ(section->value(), "mine");
  EXPECT_TRUE(!isReached || !std::filesystem::exists(folder / "root/scripts"));
  Tal::FS::setFileSystem(nullptr);
  return isReached;
}

TEST(AFolderInThePlaceOfTheRoot, IsNotSavedToWheneverItIsPutThere) {
  for (const char* operation : {"open", "fchmod", "write", "fsync", "close", "rename"}) {
    int number = 1;
    while (saveAroundExchange(operation, number) && !HasFailure()) ++number;
    s_system.order = {};
    if (HasFailure()) FAIL() << operation << ' ' << number;
    EXPECT_GT(number, 1) << operation;
  }
}

/// A network drive, for one.
class AFileSystemWithFewerLocks : public testing::Test {
 protected:
  ~AFileSystemWithFewerLocks() override { s_system.locks = Locks::everything; }

  bool isLocked() const {
    const int descriptor = ::open((root_ / "a.xml").c_str(), O_RDONLY | O_CLOEXEC);
    const bool isFree = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    ::close(descriptor);
    return !isFree;
  }

  MountedRoot root_{"a.xml", "<r>1</r>"};
  MessageRecorder recorder_;
};

TEST_F(AFileSystemWithFewerLocks, IsLockedAlsoWhereThatNeedsAFileThatIsOpenForWriting) {
  s_system.locks = Locks::onlyWhatIsOpenForWriting;
  Tal::SaveGroup group;
  openResource("a.xml")->setValue("2");
  EXPECT_TRUE(isLocked());
  EXPECT_TRUE(group.commit());
  EXPECT_FALSE(isLocked());
  EXPECT_THAT(recorder_.texts(), IsEmpty());
}

TEST_F(AFileSystemWithFewerLocks, IsSavedToWithAWarningForEachFileWhereItHasNone) {
  s_system.locks = Locks::nothing;
  for (const char* const value : {"2", "3"}) {
    Tal::SaveGroup group;
    const auto section = openResource("a.xml");
    section->setValue(value);
    section->save();
    EXPECT_TRUE(group.commit());
  }
  EXPECT_EQ(root_.read("a.xml"), "<r>3</r>");
  EXPECT_THAT(recorder_.texts(),
              ElementsAre(AllOf(HasSubstr("a.xml\" cannot be locked here (No locks available)"),
                                HasSubstr("no other program"))));
}

}  // namespace
