// Every call to the system that a save makes fails once, with every reason that it may have.

#include <durability/fault_shim.h>
#include <durability/instruction.h>
#include <durability/studio_database.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/xattr.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using durability::instructionFor;
using durability::kDatabase;
using durability::StudioDatabase;
using support::MessageRecorder;
using support::MountedRoot;
using testing::AllOf;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A way for the calls of one operation to go wrong.
struct Fault {
  const char* operation;
  int code;
  bool isLasting = false;         ///< it stays so until the cause is gone
  int leastCalls = 1;             ///< how many calls of the operation a save is known to make
  void (*meanwhile)() = nullptr;  ///< what happens before the call instead of a failure
};

std::string nameOf(const Fault& fault) {
  return std::string(fault.operation) + (fault.isLasting ? " from call to call: " : ": ") +
         std::strerror(fault.code);
}

constexpr int kLargestWrite = 4000;  // every write comes back short, so that there are several
constexpr int kWrites = 8;

/// Gives a file an attribute, where the file system has any.
bool addAttribute(const fs::path& file) {
  return ::setxattr(file.c_str(), "user.note", "n", 1, 0) == 0;
}

bool hasAttributes() {
  const MountedRoot root("a.xml", "<r/>");
  return addAttribute(root / "a.xml");
}

const std::vector<Fault>& faults() {
  static const std::vector<Fault> all = {
      {"write", ENOSPC, false, kWrites},
      {"write", ENOSPC, true, kWrites},
      {"write", EDQUOT, true, kWrites},
      {"write", EIO, false, kWrites},
      {"flush", EIO},
      {"flush", ENOSPC, true},
      {"flush", EDQUOT, true},
      {"flush-folder", EIO},
      {"flush-folder", EROFS, true},
      {"close", EIO, false, 3},
      {"close", ENOSPC, true, 3},
      {"close", EDQUOT, true, 3},
      {"rename", EROFS, true},
      {"rename", EIO},
      {"rename", ENOSPC},
      {"rename", EDQUOT},
      {"rename", EACCES, true},
      {"open-write", ENOSPC, true},
      {"open-write", EDQUOT},
      {"open-write", EROFS, true},
      {"open-write", EIO},
      {"open-write", EACCES, true},    // a folder that only others may write
      {"open-beneath", ENOSYS, true},  // a system that does not know the call
      {"access", EACCES, true},        // a file that only others may write
      {"access", EROFS, true},
      {"mode", EROFS},
      {"mode", EIO},
      {"mode", EPERM},
      {"owner", EIO, false, ::geteuid() == 0 ? 1 : 0},
      {"owner", EINVAL, false, ::geteuid() == 0 ? 1 : 0},  // in a container that does not know the owner
      {"attribute", EIO, false, hasAttributes() ? 1 : 0},
      {"attribute", ENOSPC, true, hasAttributes() ? 1 : 0},
  };
  return all;
}

/// One save of a version, with the database of the one before.
class Attempt {
 public:
  explicit Attempt(int version)
      : version_(version),
        root_(kDatabase, StudioDatabase::textOf(version - 1)),
        trace_(traceFolder_ / "trace") {
    // Only the superuser can see to it that the owner has to be set.
    const bool isOwned = ::geteuid() != 0 || ::chown((root_ / kDatabase).c_str(), 12345, 12345) == 0;
    EXPECT_TRUE(isOwned);
    addAttribute(root_ / kDatabase);
    database_.edit(version);
    messages_.clear();
  }

  /// Saves; whether that was done.
  bool save() { return database_.save(version_); }

  /// Saves with a call going wrong. Whether the save is said to be done, without a message.
  bool saveWith(const Fault& fault, int number) {
    const std::string below = fs::canonical(root_.path()).string();
    const FaultOrder order{below.c_str(), trace_.c_str(),          fault.operation, number,
                           fault.code,    fault.isLasting ? 1 : 0, kLargestWrite,   fault.meanwhile};
    faultShimArm(&order);
    const bool isSaved = save();
    calls_ = faultShimDisarm();
    return isSaved && messages_.messages().empty();
  }

  /// How many calls of the operation there were.
  int calls() const { return calls_; }
  /// Every call that saveWith made, in order.
  std::string trace() const { return support::readFile(trace_); }

  std::string text() const { return root_.read(kDatabase); }
  std::vector<std::string> listing() const { return root_.listing(); }
  MessageRecorder& messages() { return messages_; }

 private:
  int version_;
  int calls_ = 0;
  MountedRoot root_;
  support::TemporaryFolder traceFolder_;
  fs::path trace_;
  StudioDatabase database_;
  MessageRecorder messages_;
};

std::string withoutNumbers(std::string text) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  text.erase(std::remove_if(text.begin(), text.end(), isDigit), text.end());
  return text;
}

/// The saves of a database that differ, by the version.
class ASaveWithAFault : public testing::TestWithParam<int> {
 protected:
  static int version() { return GetParam(); }

  /// "old", "new", or the text that is neither.
  static std::string stateOf(const Attempt& attempt) {
    const std::string text = attempt.text();
    if (text == StudioDatabase::textOf(version() - 1)) return "old";
    return text == StudioDatabase::textOf(version()) ? "new" : text;
  }

  static void expectOneMessage(Attempt& attempt, const Fault& fault) {
    EXPECT_EQ(attempt.messages().criticalCount(), 1);
    EXPECT_THAT(attempt.messages().texts(),
                ElementsAre(AllOf(HasSubstr(kDatabase), HasSubstr(std::strerror(fault.code)),
                                  HasSubstr("edits are kept"), HasSubstr(instructionFor(fault.code)))));
  }

  static void expectNoTemporaryFile(const Attempt& attempt) {
    EXPECT_THAT(attempt.listing(), ElementsAre("scripts", kDatabase));
  }

  /// Lets the n-th call go wrong, judges what became of it, and saves again when the cause is gone. False
  /// when there are not so many calls.
  static bool tryCall(const Fault& fault, int number) {
    Attempt attempt(version());
    const bool isSaved = attempt.saveWith(fault, number);
    expectNoTemporaryFile(attempt);
    if (isSaved) {
      EXPECT_EQ(stateOf(attempt), "new");
      EXPECT_THAT(attempt.messages().texts(), IsEmpty());
      return attempt.calls() >= number;
    }
    EXPECT_GE(attempt.calls(), number) << "nothing went wrong";
    EXPECT_THAT(stateOf(attempt), AnyOf("old", "new"));
    expectOneMessage(attempt, fault);
    attempt.messages().clear();
    const std::size_t before = attempt.trace().size();
    EXPECT_TRUE(attempt.saveWith({"", 0}, 0)) << "the cause is gone, and nothing was typed again";
    EXPECT_THAT(attempt.trace().substr(before), HasSubstr("flush-folder scripts"));
    EXPECT_EQ(stateOf(attempt), "new");
    expectNoTemporaryFile(attempt);
    return true;
  }
};

TEST_P(ASaveWithAFault, LeavesTheOldFileOrTheNewOneAndIsMadeUpForByTheNext) {
  int tried = 0;
  for (const Fault& fault : faults()) {
    SCOPED_TRACE(nameOf(fault));
    int number = 1;
    while (tryCall(fault, number) && !HasFailure()) ++number;
    if (HasFailure()) FAIL() << "call " << number;
    EXPECT_GT(number, fault.leastCalls);
    tried += number - 1;
  }
  RecordProperty("faults", tried);
}

TEST_P(ASaveWithAFault, IsDoneWhenTheCallsWereOnlyInterrupted) {
  for (const char* operation : {"open", "open-write", "open-beneath", "read", "write", "flush",
                                "flush-folder", "close", "rename", "mode", "owner", "lock"}) {
    for (int number = 1;; ++number) {
      SCOPED_TRACE(operation + (" call " + std::to_string(number)));
      Attempt attempt(version());
      EXPECT_TRUE(attempt.saveWith({operation, EINTR}, number));
      EXPECT_THAT(attempt.messages().texts(), IsEmpty());
      EXPECT_EQ(stateOf(attempt), "new");
      expectNoTemporaryFile(attempt);
      if (HasFailure()) return;
      if (attempt.calls() < number) break;
    }
  }
}

/// What was not asked for: that reading, locking and looking cannot be done either.
TEST_P(ASaveWithAFault, LosesNothingWhenTheFileCannotBeRead) {
  for (const Fault& fault : {Fault{"open", EMFILE}, Fault{"open", EIO, true}, Fault{"read", EIO}}) {
    for (int number = 1;; ++number) {
      SCOPED_TRACE(nameOf(fault) + " call " + std::to_string(number));
      Attempt attempt(version());
      const bool isSaved = attempt.saveWith(fault, number);
      const bool isDone = stateOf(attempt) == "new";
      EXPECT_THAT(stateOf(attempt), AnyOf("old", "new"));
      EXPECT_TRUE(isDone || !isSaved);
      EXPECT_TRUE(isDone || attempt.messages().messages().size() == 1);
      EXPECT_LE(attempt.messages().messages().size(), 1U);
      EXPECT_THAT(
          attempt.messages().texts(),
          Each(AllOf(HasSubstr(kDatabase), HasSubstr(std::strerror(fault.code)), HasSubstr("again"))));
      expectNoTemporaryFile(attempt);
      const bool isTried = attempt.calls() >= number;
      EXPECT_TRUE(attempt.save());
      EXPECT_EQ(stateOf(attempt), "new");
      if (HasFailure()) return;
      if (!isTried) break;
    }
  }
}

/// Adds a comment to the database as another program does that knows no lock.
void editByHand() {
  const auto found = Tal::FS::fileSystem()->find(kDatabase);
  if (!found) return;
  const std::string text = support::readFile(found->path());
  std::ofstream(found->path(), std::ios::binary | std::ios::trunc) << text << "<!-- by hand -->\n";
}

TEST_P(ASaveWithAFault, DoesNotReplaceWhatAnotherProgramWritesMeanwhile) {
  for (const char* operation : {"open-write", "write", "flush", "close"}) {
    SCOPED_TRACE(operation);
    Attempt attempt(version());
    EXPECT_FALSE(attempt.saveWith({operation, 0, false, 1, &editByHand}, 1));
    EXPECT_EQ(attempt.text(), StudioDatabase::textOf(version() - 1) + "<!-- by hand -->\n");
    EXPECT_THAT(attempt.messages().texts(),
                ElementsAre(AllOf(HasSubstr(kDatabase), HasSubstr("another program has changed the file"),
                                  HasSubstr("edits are kept"), HasSubstr("save again"))));
    expectNoTemporaryFile(attempt);
    EXPECT_TRUE(attempt.save());
    EXPECT_EQ(attempt.text(), StudioDatabase::textOf(version()) + "<!-- by hand -->\n");
    expectNoTemporaryFile(attempt);
  }
}

TEST_P(ASaveWithAFault, GoesOnWhereTheFileSystemHasNoLocksAndSaysSoOnce) {
  Attempt attempt(version());
  attempt.saveWith({"lock", ENOLCK, true}, 1);
  EXPECT_EQ(stateOf(attempt), "new");
  EXPECT_THAT(attempt.messages().texts(),
              ElementsAre(AllOf(HasSubstr(kDatabase), HasSubstr(std::strerror(ENOLCK)),
                                HasSubstr("take care that no other program saves it"))));
  attempt.messages().clear();
  attempt.saveWith({"lock", ENOLCK, true}, 1);
  EXPECT_THAT(attempt.messages().texts(), IsEmpty());
}

TEST_P(ASaveWithAFault, WritesFlushesClosesAndRenamesInThisOrderAndThenFlushesTheFolder) {
  Attempt attempt(version());
  EXPECT_TRUE(attempt.saveWith({"", 0}, 0));
  const std::string temporary = "scripts/.destructibles.xml.-.saving";
  std::vector<std::string> calls;
  std::istringstream trace(withoutNumbers(attempt.trace()));
  for (std::string call; std::getline(trace, call);) {
    const bool isOfInterest =
        call.ends_with(temporary) || call.starts_with("rename") || call.starts_with("flush");
    if (isOfInterest && (calls.empty() || calls.back() != call)) calls.push_back(call);
  }
  std::erase(calls, "owner " + temporary);
  std::erase(calls, "attribute " + temporary);
  EXPECT_THAT(calls,
              ElementsAre("open-write " + temporary, "open " + temporary, "lock " + temporary,
                          "mode " + temporary, "write " + temporary, "flush " + temporary,
                          "close " + temporary, "rename " + std::string(kDatabase), "flush-folder scripts"));
}

std::string nameOfKind(const testing::TestParamInfo<int>& info) {
  const std::vector<std::string> names = {"OfAFragile", "OfAStructure", "OfAFallingAtom"};
  const auto kind = static_cast<std::size_t>(StudioDatabase::kindOf(info.param));
  if (kind < names.size()) return names[kind];
  return info.param == 3 ? "OfAnEntryThatIsNew" : "OfAModelOfNoCategory";
}

INSTANTIATE_TEST_SUITE_P(Each, ASaveWithAFault, testing::Values(1, 2, 3, 4, 7), nameOfKind);

}  // namespace
