#include <support/mapped_file.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <resources/data_section_cache.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

/// Whether two opens gave the same document: an edit of the one shows in the other. The file is not touched.
bool isSameDocument(const Tal::SmartPointer<Tal::DataSection>& one,
                    const Tal::SmartPointer<Tal::DataSection>& other) {
  one->writeString("probe", "x");
  const bool isSeen = other->readString("probe") == "x";
  one->deleteSection("probe");
  return isSeen;
}

TEST(TheCache, ParsesAnUnchangedFileOnlyOnce) {
  const MountedRoot root("scripts/a.xml", "<r/>");
  EXPECT_TRUE(isSameDocument(openResource("scripts/a.xml"), openResource("scripts/a.xml")));
  EXPECT_TRUE(isSameDocument(openResource("scripts/a.xml"), openResource("./scripts//a.xml")));
}

TEST(TheCache, SeesAChangeOfTheFileAtTheNextOpen) {
  const MountedRoot root("a.xml", "<r>1</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  root.write("a.xml", "<r>22</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "22");
  root.replace("a.xml", "<r>33</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "33");
  fs::remove(root / "a.xml");
  EXPECT_FALSE(openResource("a.xml"));
  root.write("a.xml", "<r>44</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "44");
}

TEST(TheCache, SeesAChangeThatKeepsSizeAndModificationTime) {
  const MountedRoot root("a.xml", "<r>1</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  const auto time = fs::last_write_time(root / "a.xml");
  root.write("a.xml", "<r>2</r>");
  fs::last_write_time(root / "a.xml", time);
  EXPECT_EQ(openResource("a.xml")->value(), "2");
}

TEST(TheCache, SeesAChangeThatTheFilesTimesAreTooCoarseToTell) {
  // Only a change that follows the one before at once can do that, and the machine may pause in between. A
  // second write to a mapped page leaves the file's times as the first one set them.
  bool isSeen = false;
  for (int attempt = 0; attempt < 200 && !isSeen; ++attempt) {
    const MountedRoot root("a.xml", "<r>1</r>");
    const auto file = support::mapFile(root / "a.xml", 8);
    ASSERT_TRUE(file);
    file.get()[3] = '2';
    EXPECT_EQ(openResource("a.xml")->value(), "2");
    file.get()[3] = '3';
    isSeen = openResource("a.xml")->value() == "3";
  }
  EXPECT_TRUE(isSeen);
}

TEST(TheCache, HoldsASavedDocumentUnderItsNewIdentity) {
  const MountedRoot root("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue("2");
  EXPECT_TRUE(section->save());
  EXPECT_TRUE(isSameDocument(section, openResource("a.xml")));
  EXPECT_TRUE(section->save());
  root.write("a.xml", "<r>3</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "3") << "a later change by anybody is noticed";
}

TEST(TheCache, NamesTheVersionThatWasReadOrSaved) {
  const MountedRoot root("a.xml", "<r/>");
  EXPECT_FALSE(Tal::DataSectionCache::version("a.xml")) << "nobody has opened it";
  const auto section = openResource("a.xml");
  const auto read = Tal::DataSectionCache::version("a.xml");
  EXPECT_EQ(read, Tal::files::identityAt(root / "a.xml"));
  section->setValue("1");
  EXPECT_TRUE(section->save());
  EXPECT_NE(Tal::DataSectionCache::version("a.xml"), read);
  EXPECT_EQ(Tal::DataSectionCache::version("a.xml"), Tal::files::identityAt(root / "a.xml"));
}

TEST(TheCache, KeepsUnsavedEditsWhenTheFileChanges) {
  const MountedRoot root("a.xml", "<r>1</r>");
  openResource("a.xml")->setValue("mine");
  root.write("a.xml", "<r>theirs</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "mine");
  fs::remove(root / "a.xml");
  EXPECT_EQ(openResource("a.xml")->value(), "mine");
}

TEST(TheCache, DoesNotServeARefusedNameFromAKeptDocument) {
  const MountedRoot root("a.xml", "<r>1</r>");
  openResource("a.xml")->setValue("2");
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("/a.xml"));
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("is absolute")));
}

TEST(TheCache, DoesNotServeAKeptDocumentInThePlaceOfALinkThatLeadsOutOfTheRoot) {
  const support::TemporaryFolder outside;
  outside.write("a.xml", "<r>outside</r>");
  const MountedRoot root("scripts/a.xml", "<r>1</r>");
  openResource("scripts/a.xml")->setValue("mine");
  fs::rename(root / "scripts/a.xml", root / "a.xml");
  fs::create_symlink(outside / "a.xml", root / "scripts/a.xml");
  for (const bool create : {false, true}) {
    MessageRecorder recorder;
    EXPECT_FALSE(Tal::FS::Utils::openSection("scripts/a.xml", create, nullptr));
    EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("leads out of its root through a link")));
  }
  fs::rename(root / "a.xml", root / "scripts/a.xml");
  EXPECT_EQ(openResource("scripts/a.xml")->value(), "mine") << "nothing of it was lost";
}

TEST(APinnedDocument, IsGivenByEveryOpenWhateverBecomesOfTheFile) {
  const MountedRoot root("a.xml", "<r>1</r>");
  auto pin = Tal::DataSectionCache::pin("a.xml");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  root.replace("a.xml", "<r>22</r>");
  EXPECT_EQ(openResource("./a.xml")->value(), "1");
  fs::remove(root / "a.xml");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  pin.reset();
  EXPECT_FALSE(openResource("a.xml"));
}

TEST(APinnedDocument, IsTheOneThatIsOpenedFirstBehindThePin) {
  const MountedRoot root("a.xml", "<r>1</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  root.replace("a.xml", "<r>22</r>");
  const auto outer = Tal::DataSectionCache::pin("a.xml");
  EXPECT_EQ(openResource("a.xml")->value(), "22");
  root.replace("a.xml", "<r>333</r>");
  {
    const auto inner = Tal::DataSectionCache::pin("a.xml");
    EXPECT_EQ(openResource("a.xml")->value(), "333");
  }
  root.replace("a.xml", "<r>4444</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "333") << "the outer pin still holds it";
  Tal::DataSectionCache::discard("a.xml");
  EXPECT_EQ(openResource("a.xml")->value(), "4444");
}

TEST(APurge, ForgetsTheDocumentAndTheEditsThatNobodySaved) {
  const MountedRoot root("scripts/a.xml", "<r>1</r>");
  const auto section = openResource("scripts/a.xml");
  section->setValue("2");
  Tal::DataSectionCache::purge("scripts/b.xml", false);
  Tal::DataSectionCache::purge("scripts", false);
  EXPECT_EQ(openResource("scripts/a.xml")->value(), "2");
  Tal::DataSectionCache::purge("scripts/a.xml", false);
  EXPECT_EQ(openResource("scripts/a.xml")->value(), "1");
  EXPECT_EQ(section->value(), "2") << "handles stay valid";
}

TEST(APurge, MayReachEverythingBelowAPath) {
  const MountedRoot root("scripts/deep/a.xml", "<r>1</r>");
  root.write("scripts-b.xml", "<r>1</r>");
  openResource("scripts/deep/a.xml")->setValue("2");
  openResource("scripts-b.xml")->setValue("2");
  Tal::DataSectionCache::purge("scripts", true);
  EXPECT_EQ(openResource("scripts/deep/a.xml")->value(), "1");
  EXPECT_EQ(openResource("scripts-b.xml")->value(), "2");
  Tal::DataSectionCache::clear();
  EXPECT_EQ(openResource("scripts-b.xml")->value(), "1");
}

TEST(AFileThatCannotBeParsed, IsReportedOnceForEachVersion) {
  const MountedRoot root("a.xml", "<r>");
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_FALSE(openResource("a.xml"));
  Tal::DataSectionCache::purge("a.xml", false);
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_THAT(recorder.texts(), SizeIs(1));
  root.write("a.xml", "<rr>");
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_THAT(recorder.texts(), SizeIs(2));
  root.write("a.xml", "<r>1</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  root.replace("a.xml", "<r>");
  EXPECT_FALSE(openResource("a.xml")) << "the last good version is not served any more";
  EXPECT_THAT(recorder.texts(), SizeIs(3));
}

TEST(AFileThatCannotBeParsed, IsReadWhenItWasMendedAtOnce) {
  // See above: the times tell the two versions apart on most attempts.
  constexpr int kAttempts = 20;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const MountedRoot root("a.xml", "<r>1</r>");
    const MessageRecorder recorder;
    const auto file = support::mapFile(root / "a.xml", 8);
    ASSERT_TRUE(file);
    file.get()[6] = 'q';
    EXPECT_FALSE(openResource("a.xml"));
    file.get()[6] = 'r';
    EXPECT_TRUE(openResource("a.xml"));
    EXPECT_THAT(recorder.texts(), SizeIs(1));
  }
}

TEST(AFileThatCannotBeParsed, IsNotMadeAnew) {
  const MountedRoot root("a.xml", "<r>");
  MessageRecorder recorder;
  EXPECT_FALSE(Tal::FS::Utils::openSection("a.xml", true, nullptr));
  EXPECT_EQ(root.read("a.xml"), "<r>");
}

TEST(ANewDocument, IsSharedFromItsMakingOnButThereOnlyOnceItHoldsSomething) {
  const MountedRoot root;
  const auto section = Tal::FS::Utils::openSection("a.xml", true, nullptr);
  EXPECT_EQ(section->tag(), "root");
  EXPECT_EQ(section->childCount(), 0);
  EXPECT_FALSE(openResource("a.xml"));
  const auto again = Tal::FS::Utils::openSection("a.xml", true, nullptr);
  again->writeString("a", "1");
  EXPECT_EQ(section->readString("a"), "1");
  EXPECT_EQ(openResource("a.xml")->readString("a"), "1");
}

TEST(AnOpen, WithoutResourceRootsIsReported) {
  Tal::FS::setFileSystem(nullptr);
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("no resource roots")));
}

TEST(TheContentStamp, StaysAsLongAsTheContentDoes) {
  const MountedRoot root("a.xml", "<r><b>1</b></r>");
  const auto section = openResource("a.xml");
  const std::uint64_t stamp = section->contentStamp();
  EXPECT_NE(stamp, 0U);
  EXPECT_EQ(openResource("a.xml")->openSection("b")->contentStamp(), stamp);
  section->writeString("b", "1");
  EXPECT_EQ(section->contentStamp(), stamp) << "nothing was changed";
  section->writeString("b", "2");
  const std::uint64_t edited = section->contentStamp();
  EXPECT_NE(edited, stamp);
  section->writeString("b", "1");
  EXPECT_NE(section->contentStamp(), edited);
}

TEST(TheContentStamp, StaysWhenTheFileIsTouchedOrReplacedByTheSameBytes) {
  const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>";
  for (const std::string& content : {"<r><b>1</b></r>"s, latin}) {
    const MountedRoot root("a.xml", content);
    const std::uint64_t stamp = openResource("a.xml")->contentStamp();
    fs::last_write_time(root / "a.xml", fs::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_EQ(openResource("a.xml")->contentStamp(), stamp) << content;
    root.replace("a.xml", content);
    EXPECT_EQ(openResource("a.xml")->contentStamp(), stamp) << content;
    root.replace("a.xml", std::string(content.size() - 4, ' ') + "<r/>");
    const auto other = openResource("a.xml");
    ASSERT_TRUE(other) << content;
    EXPECT_NE(other->contentStamp(), stamp) << content;
    EXPECT_EQ(other->childCount(), 0) << content;
  }
}

/// Two roots, of which the first holds nothing yet; of a resource that both hold, the first one's counts.
class TwoRoots {
 public:
  TwoRoots() {
    Tal::FS::setFileSystem(
        std::make_unique<Tal::FS::MultiFileSystem>(std::vector<fs::path>{first_ / "", second_ / ""}));
  }
  ~TwoRoots() {
    Tal::FS::setFileSystem(nullptr);
    Tal::DataSectionCache::clear();
  }
  TwoRoots(const TwoRoots&) = delete;
  TwoRoots& operator=(const TwoRoots&) = delete;

  const support::TemporaryFolder& first() const { return first_; }
  const support::TemporaryFolder& second() const { return second_; }

 private:
  support::TemporaryFolder first_;
  support::TemporaryFolder second_;
};

TEST(TheCache, LeavesTheDocumentOfARootForAFileThatComesFirstNow) {
  for (const bool isSame : {false, true}) {
    const TwoRoots roots;
    roots.second().write("a.xml", "<r>1</r>");
    EXPECT_EQ(openResource("a.xml")->value(), "1");
    roots.first().write("a.xml", isSame ? "<r>1</r>" : "<r>2</r>");
    const auto section = openResource("a.xml");
    EXPECT_EQ(section->value(), isSame ? "1" : "2");
    section->setValue("3");
    EXPECT_TRUE(section->save());
    EXPECT_EQ(roots.first().read("a.xml"), "<r>3</r>");
    EXPECT_EQ(roots.second().read("a.xml"), "<r>1</r>");
  }
  const TwoRoots roots;
  roots.second().write("a.xml", "<r>1</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  fs::create_hard_link(roots.second() / "a.xml", roots.first() / "a.xml");
  const auto section = openResource("a.xml");
  section->setValue("3");
  EXPECT_TRUE(section->save());
  EXPECT_EQ(roots.first().read("a.xml"), "<r>3</r>");
}

TEST(TheContentStamp, OfASavedDocumentInLatin1IsThatOfItsFileReadAnew) {
  const MountedRoot root("a.xml", "<?xml version='1.0' encoding='ISO-8859-1'?><r><b>\xE9</b></r>");
  const auto section = openResource("a.xml");
  section->writeString("b", "2");
  ASSERT_TRUE(section->save());
  Tal::DataSectionCache::purge("a.xml", false);
  EXPECT_EQ(openResource("a.xml")->contentStamp(), section->contentStamp());
}

TEST(TheContentStamp, OfASavedDocumentIsThatOfItsFileReadAnew) {
  const MountedRoot root("a.xml", "<r><b>1</b></r>");
  const auto section = openResource("a.xml");
  section->writeString("b", "2");
  ASSERT_TRUE(section->save());
  Tal::DataSectionCache::purge("a.xml", false);
  const auto anew = openResource("a.xml");
  EXPECT_EQ(anew->contentStamp(), section->contentStamp());
  section->writeString("b", "3");
  EXPECT_EQ(anew->readString("b"), "2") << "another document";
  Tal::DataSectionCache::purge("a.xml", false);
  root.replace("a.xml", "<r><b>4</b></r>");
  EXPECT_NE(openResource("a.xml")->contentStamp(), anew->contentStamp());
}

}  // namespace
