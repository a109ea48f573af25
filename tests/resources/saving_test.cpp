#include <support/mapped_file.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <files/file_identity.h>
#include <resources/data_section_cache.h>
#include <resources/save_group.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ino_t inodeOf(const fs::path& file) {
  struct stat status {};
  EXPECT_EQ(::stat(file.c_str(), &status), 0);
  return status.st_ino;
}

TEST(ASave, DoesNotOverwriteAChangeThatTheFilesTimesAreTooCoarseToTell) {
  // A second write to a mapped page leaves the times as the first set them, when the two are close together.
  bool isSeen = false;
  for (int attempt = 0; attempt < 200 && !isSeen; ++attempt) {
    const MountedRoot root("a.xml", "<r>1</r>");
    const MessageRecorder recorder;
    const auto file = support::mapFile(root / "a.xml", 8);
    ASSERT_TRUE(file);
    file.get()[3] = '2';
    const auto section = openResource("a.xml");
    const auto identity = Tal::files::identityAt(root / "a.xml");
    section->setValue("mine");
    file.get()[3] = '3';
    const bool isToldByTimes = Tal::files::identityAt(root / "a.xml") != identity;
    EXPECT_FALSE(section->save());
    EXPECT_EQ(root.read("a.xml"), "<r>3</r>");
    isSeen = !isToldByTimes;
  }
  EXPECT_TRUE(isSeen);
}

TEST(ASave, ReplacesTheFileAndLeavesNothingBesideIt) {
  const MountedRoot root("scripts/a.xml", "<r>1</r>");
  const ino_t before = inodeOf(root / "scripts/a.xml");
  const auto section = openResource("scripts/a.xml");
  section->setValue("2");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("scripts/a.xml"), "<r>2</r>");
  EXPECT_NE(inodeOf(root / "scripts/a.xml"), before);
  EXPECT_THAT(root.listing(), ElementsAre("scripts", "scripts/a.xml"));
}

TEST(ASave, DoesNotTouchAFileThatHoldsTheSameBytes) {
  const MountedRoot root("a.xml", "<r><a>1</a></r>");
  const ino_t before = inodeOf(root / "a.xml");
  const auto section = openResource("a.xml");
  EXPECT_TRUE(section->save());
  section->writeString("a", "2");
  section->writeString("a", "1");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(inodeOf(root / "a.xml"), before);
  section->writeString("a", "2");
  EXPECT_TRUE(section->save());
  const ino_t saved = inodeOf(root / "a.xml");
  EXPECT_NE(saved, before);
  EXPECT_TRUE(section->save());
  EXPECT_EQ(inodeOf(root / "a.xml"), saved);
}

TEST(ASave, KeepsThePermissions) {
  const MountedRoot root("a.xml", "<r>1</r>");
  for (const mode_t mode : {mode_t{0600}, mode_t{0664}, mode_t{0755}}) {
    ASSERT_EQ(::chmod((root / "a.xml").c_str(), mode), 0);
    const auto section = openResource("a.xml");
    section->setValue(std::to_string(mode));
    EXPECT_TRUE(section->save());
    struct stat status {};
    ASSERT_EQ(::stat((root / "a.xml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, mode);
  }
}

TEST(ASave, KeepsTheOwner) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const uid_t owner = ::geteuid() == 0 ? 12345 : ::geteuid();  // only the superuser may have files of others
  ASSERT_EQ(::chown((root / "a.xml").c_str(), owner, static_cast<gid_t>(-1)), 0);
  const auto section = openResource("a.xml");
  section->setValue("2");
  EXPECT_TRUE(section->save());
  struct stat status {};
  ASSERT_EQ(::stat((root / "a.xml").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, owner);
}

/// An access control list as the system holds it: a named user and the owner read and write, the group
/// nothing. Its mask reads as the group's permissions where the list is not known.
std::string accessControlList(std::uint32_t user) {
  struct Entry {
    std::uint16_t kind, rights;
    std::uint32_t who;
  };
  constexpr std::uint32_t kVersion = 2;
  constexpr std::uint32_t kNobody = 0xFFFFFFFF;
  const std::vector<Entry> entries = {
      {0x01, 6, kNobody}, {0x02, 6, user}, {0x04, 0, kNobody}, {0x10, 6, kNobody}, {0x20, 0, kNobody}};
  std::string list(sizeof(kVersion) + entries.size() * sizeof(Entry), '\0');
  std::memcpy(list.data(), &kVersion, sizeof(kVersion));
  std::memcpy(list.data() + sizeof(kVersion), entries.data(), entries.size() * sizeof(Entry));
  return list;
}

constexpr const char* kAccess = "system.posix_acl_access";

std::string attribute(const fs::path& file, const char* name) {
  std::string value(1024, '\0');
  const ssize_t size = ::getxattr(file.c_str(), name, value.data(), value.size());
  return size < 0 ? "none: " + std::string(std::strerror(errno))
                  : value.substr(0, static_cast<std::size_t>(size));
}

bool setAttribute(const fs::path& file, const char* name, const std::string& value) {
  return ::setxattr(file.c_str(), name, value.data(), value.size(), 0) == 0;
}

TEST(ASave, KeepsTheAccessControlListAndWhatUsersNoted) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const std::string list = accessControlList(12345);
  const bool hasLists = setAttribute(root / "a.xml", kAccess, list);
  const bool hasNotes = setAttribute(root / "a.xml", "user.note", "reviewed");
  if (!hasLists && !hasNotes) GTEST_SKIP() << "the file system holds neither: " << std::strerror(errno);
  const auto section = openResource("a.xml");
  section->setValue("2");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
  if (hasLists) {
    EXPECT_EQ(attribute(root / "a.xml", kAccess), list);
  }
  if (hasNotes) {
    EXPECT_EQ(attribute(root / "a.xml", "user.note"), "reviewed");
  }
}

TEST(ASave, GivesNobodyTheRightsThatTheFolderGivesNewFiles) {
  const MountedRoot root("a.xml", "<r>1</r>");
  ASSERT_EQ(::chmod((root / "a.xml").c_str(), 0640), 0);
  if (!setAttribute(root / "", "system.posix_acl_default", accessControlList(12345)))
    GTEST_SKIP() << "the file system holds no access control lists: " << std::strerror(errno);
  root.write("b.xml", "<r/>");
  EXPECT_NE(attribute(root / "b.xml", kAccess).substr(0, 5), "none:") << "a new file has them";
  const auto section = openResource("a.xml");
  section->setValue("2");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(attribute(root / "a.xml", kAccess), "none: " + std::string(std::strerror(ENODATA)));
  struct stat status {};
  ASSERT_EQ(::stat((root / "a.xml").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST(ASave, ReplacesTheTargetOfALink) {
  const MountedRoot root("store/a.xml", "<r>1</r>");
  fs::create_directory(root / "scripts");
  fs::create_symlink("../store/a.xml", root / "scripts/a.xml");
  const auto section = openResource("scripts/a.xml");
  section->setValue("2");
  EXPECT_TRUE(section->save());
  EXPECT_TRUE(fs::is_symlink(root / "scripts/a.xml"));
  EXPECT_EQ(root.read("store/a.xml"), "<r>2</r>");
  EXPECT_THAT(root.listing(), ElementsAre("scripts", "scripts/a.xml", "store", "store/a.xml"));
}

TEST(ASave, NeverReplacesAFileOutsideTheRoot) {
  const support::TemporaryFolder outside;
  outside.write("a.xml", "<r>outside</r>");
  const MountedRoot root("scripts/a.xml", "<r>1</r>");
  const auto section = openResource("scripts/a.xml");
  section->setValue("2");
  // The folder has become a link to the other one since it was read.
  fs::rename(root / "scripts", root / "before");
  fs::create_directory_symlink(outside.path(), root / "scripts");
  MessageRecorder recorder;
  for (int attempt = 0; attempt < 3; ++attempt) EXPECT_FALSE(section->save());
  EXPECT_THAT(recorder.texts(), testing::Each(AllOf(HasSubstr("leads out of its root through a link"),
                                                    HasSubstr("edits are kept"))));
  EXPECT_EQ(recorder.messages().size(), 3U);
  // Now the file itself has.
  fs::remove(root / "scripts");
  fs::create_directory(root / "scripts");
  fs::create_symlink(outside / "a.xml", root / "scripts/a.xml");
  for (int attempt = 0; attempt < 3; ++attempt) EXPECT_FALSE(section->save());
  EXPECT_EQ(outside.read("a.xml"), "<r>outside</r>");
  EXPECT_THAT(outside.listing(), ElementsAre("a.xml"));
  // And what stands there is a file again.
  fs::remove(root / "scripts/a.xml");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("scripts/a.xml"), "<r>2</r>");
}

TEST(ASave, FollowsLinksThatStayBelowTheRoot) {
  const MountedRoot root("store/deep/a.xml", "<r>1</r>");
  fs::create_directory_symlink("store", root / "relative");
  fs::create_directory_symlink(root / "store", root / "absolute");
  fs::create_symlink("deep/a.xml", root / "store/up.xml");
  int value = 1;
  for (const char* name : {"relative/deep/a.xml", "absolute/deep/a.xml", "store/up.xml"}) {
    const auto section = openResource(name);
    ASSERT_TRUE(section) << name;
    section->setValue(std::to_string(++value));
    EXPECT_TRUE(section->save()) << name;
    EXPECT_EQ(root.read("store/deep/a.xml"), "<r>" + std::to_string(value) + "</r>") << name;
  }
  EXPECT_TRUE(fs::is_symlink(root / "store/up.xml")) << "which leads to the new file";
}

TEST(ASave, ToAnotherNameWritesACopy) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue("2");
  EXPECT_TRUE(section->save("copies/b.xml"));
  EXPECT_EQ(root.read("copies/b.xml"), "<r>2</r>");
  EXPECT_EQ(root.read("a.xml"), "<r>1</r>");
  EXPECT_EQ(openResource("copies/b.xml")->value(), "2");
  EXPECT_TRUE(section->save("./a.xml")) << "which is its own";
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
}

TEST(ASave, ToARefusedNameFailsWithAMessage) {
  const MountedRoot root("a.xml", "<r>1</r>");
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml")->save("../b.xml"));
  EXPECT_EQ(recorder.criticalCount(), 1);
}

TEST(ASave, MakesTheFileOfANewDocument) {
  const MountedRoot root;
  const auto section = Tal::FS::Utils::openSection("new/a.xml", true, nullptr);
  ASSERT_TRUE(section);
  EXPECT_FALSE(fs::exists(root / "new")) << "opening alone makes nothing";
  section->writeString("entry/filename", "a.model");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("new/a.xml"),
            "<root>\n\t<entry>\n\t\t<filename>a.model</filename>\n\t</entry>\n</root>\n");
}

TEST(ASave, PutsAFileBackThatWasDeleted) {
  const MountedRoot root("scripts/a.xml", "<r>1</r>");
  const auto section = openResource("scripts/a.xml");
  section->setValue("2");
  fs::remove_all(root / "scripts");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("scripts/a.xml"), "<r>2</r>");
}

TEST(ASave, OfAProtectedFileIsRefusedAndMayBeMadeUpFor) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue("2");
  fs::permissions(root / "a.xml", fs::perms::owner_read);
  MessageRecorder recorder;
  EXPECT_FALSE(section->save());
  ASSERT_EQ(recorder.messages().size(), 1U);
  EXPECT_TRUE(recorder.messages()[0].isCritical);
  EXPECT_THAT(recorder.texts()[0], AllOf(HasSubstr("\"a.xml\""), HasSubstr("Permission denied"),
                                         HasSubstr("the old file is whole"), HasSubstr("edits are kept"),
                                         HasSubstr("writable and save again")));
  EXPECT_EQ(root.read("a.xml"), "<r>1</r>");
  fs::permissions(root / "a.xml", fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
}

/// Files of this process may not grow beyond a limit during the scope: a write comes back short, the next one
/// fails.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    rlimit limit = before_;
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    handler_ = std::signal(SIGXFSZ, SIG_IGN);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int) = nullptr;
};

TEST(ASave, ThatRunsOutOfRoomHalfwayLeavesTheOldFileWhole) {
  const std::string text(100'000, 'x');
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue(text);
  MessageRecorder recorder;
  {
    const FileSizeLimit limit(50'000);
    EXPECT_FALSE(section->save());
  }
  EXPECT_EQ(recorder.criticalCount(), 1);
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("File too large")));
  EXPECT_EQ(root.read("a.xml"), "<r>1</r>");
  EXPECT_THAT(root.listing(), ElementsAre("a.xml"));
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), "<r>" + text + "</r>");
}

TEST(AFailedSave, IsReportedOnceEachTimeWithNamesAsTheyAre) {
  const MountedRoot root("100%s\x1B.xml", "<r>1</r>");
  const auto section = openResource("100%s\x1B.xml");
  section->setValue("2");
  fs::permissions(root / "100%s\x1B.xml", fs::perms::owner_read);
  MessageRecorder recorder;
  EXPECT_FALSE(section->save());
  EXPECT_FALSE(section->save());
  EXPECT_THAT(recorder.texts(),
              ElementsAre(HasSubstr("\"100%s\\x1b.xml\""), HasSubstr("\"100%s\\x1b.xml\"")));
}

TEST(AFailedSave, KeepsTheDocumentInTheCacheWhateverHappens) {
  const MountedRoot root("a.xml", "<r>1</r>");
  {
    const auto section = openResource("a.xml");
    section->setValue("2");
    fs::permissions(root / "a.xml", fs::perms::owner_read);
    MessageRecorder recorder;
    EXPECT_FALSE(section->save());
  }
  Tal::DataSectionCache::purge("a.xml", false);
  Tal::DataSectionCache::purge("", true);
  EXPECT_EQ(openResource("a.xml")->value(), "2");
  fs::permissions(root / "a.xml", fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_TRUE(openResource("a.xml")->save());
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
  root.replace("a.xml", "<r>3</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "3") << "what is saved is held no longer";
}

TEST(AFailedSave, CanBeGivenUp) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue("2");
  fs::permissions(root / "a.xml", fs::perms::owner_read);
  MessageRecorder recorder;
  EXPECT_FALSE(section->save());
  Tal::DataSectionCache::discard("b.xml");
  EXPECT_EQ(openResource("a.xml")->value(), "2");
  Tal::DataSectionCache::discard("a.xml");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  EXPECT_EQ(section->value(), "2") << "handles stay valid";
}

TEST(ASaveOverAnotherProgramsChange, IsRefusedOnceAndDoneWhenAskedAgain) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue("mine");
  root.replace("a.xml", "<r>theirs</r>");
  MessageRecorder recorder;
  EXPECT_FALSE(section->save());
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("another program has changed the file")));
  EXPECT_EQ(recorder.criticalCount(), 1);
  EXPECT_EQ(root.read("a.xml"), "<r>theirs</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "mine");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(root.read("a.xml"), "<r>mine</r>");
}

TEST(ASaveOverAnotherProgramsChange, IsNoneWhenOnlyTheFilesDatesChanged) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  for (const char* value : {"2", "3"}) {
    section->setValue(value);
    root.replace("a.xml", root.read("a.xml"));
    EXPECT_TRUE(section->save());
    EXPECT_EQ(root.read("a.xml"), "<r>" + std::string(value) + "</r>");
  }
}

TEST(ASaveOverAnotherProgramsChange, IsNoneWhenItMadeTheSameChange) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue("2");
  root.replace("a.xml", "<r>2</r>");
  const ino_t before = inodeOf(root / "a.xml");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(inodeOf(root / "a.xml"), before);
}

TEST(ASaveGroup, WritesEachDocumentOnceWhenItIsCommitted) {
  const MountedRoot root("a.xml", "<r>1</r>");
  root.write("b.xml", "<r>1</r>");
  const auto a = openResource("a.xml");
  const auto b = openResource("b.xml");
  Tal::SaveGroup group;
  for (const char* value : {"2", "3"}) {
    a->setValue(value);
    EXPECT_TRUE(a->save());
    b->setValue(value);
    EXPECT_TRUE(b->save());
  }
  EXPECT_EQ(root.read("a.xml"), "<r>1</r>");
  EXPECT_TRUE(group.commit());
  EXPECT_EQ(root.read("a.xml"), "<r>3</r>");
  EXPECT_EQ(root.read("b.xml"), "<r>3</r>");
  a->setValue("4");
  EXPECT_TRUE(a->save());
  EXPECT_EQ(root.read("a.xml"), "<r>4</r>") << "the group is closed";
  EXPECT_TRUE(group.commit()) << "and stays so";
}

TEST(ASaveGroup, ThatIsNotCommittedWritesNothingAndKeepsTheEdits) {
  const MountedRoot root("a.xml", "<r>1</r>");
  {
    const Tal::SaveGroup group;
    const auto section = openResource("a.xml");
    section->setValue("2");
    EXPECT_TRUE(section->save());
    Tal::DataSectionCache::purge("a.xml", false);
    EXPECT_EQ(openResource("a.xml")->value(), "2") << "a document that waits is not dropped";
  }
  EXPECT_EQ(root.read("a.xml"), "<r>1</r>");
  Tal::DataSectionCache::purge("a.xml", false);
  EXPECT_EQ(openResource("a.xml")->value(), "2");
  EXPECT_TRUE(openResource("a.xml")->save());
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
}

TEST(ASaveGroup, InAnotherJoinsIt) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  Tal::SaveGroup outer;
  {
    Tal::SaveGroup inner;
    section->setValue("2");
    EXPECT_TRUE(section->save());
    EXPECT_TRUE(inner.commit());
  }
  EXPECT_EQ(root.read("a.xml"), "<r>1</r>");
  EXPECT_TRUE(outer.commit());
  EXPECT_EQ(root.read("a.xml"), "<r>2</r>");
}

TEST(ASaveGroup, SaysWhenADocumentCouldNotBeWrittenAndWritesTheOthers) {
  const MountedRoot root("a.xml", "<r>1</r>");
  root.write("b.xml", "<r>1</r>");
  fs::permissions(root / "a.xml", fs::perms::owner_read);
  MessageRecorder recorder;
  Tal::SaveGroup group;
  for (const char* name : {"a.xml", "b.xml"}) {
    openResource(name)->setValue("2");
    EXPECT_TRUE(openResource(name)->save());
  }
  const Tal::Result<void> committed = group.commit();
  ASSERT_FALSE(committed);
  EXPECT_THAT(committed.fault().what, HasSubstr("cannot save \"a.xml\""));
  EXPECT_EQ(recorder.criticalCount(), 0) << "it is for the caller to say";
  EXPECT_EQ(root.read("a.xml"), "<r>1</r>");
  EXPECT_EQ(root.read("b.xml"), "<r>2</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "2");
}

}  // namespace
