#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using support::MessageRecorder;
using support::MountedRoot;
using support::openResource;
using support::TemporaryFolder;
using Tal::FS::MultiFileSystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

fs::path pathOf(const Tal::Result<Tal::files::RootedPath>& place) {
  return place ? place->path() : fs::path("none");
}

/// Why a place cannot be used: a clause about the name.
std::string faultOf(const Tal::Result<Tal::files::RootedPath>& place) {
  return place ? "none" : place.fault().what;
}

bool isMissing(const Tal::Result<Tal::files::RootedPath>& place) {
  return !place && place.fault().kind == Tal::FaultKind::missing;
}

TEST(AResource, IsFoundInTheFirstRootThatHoldsIt) {
  const TemporaryFolder first;
  const TemporaryFolder second;
  second.write("scripts/a.xml", "");
  const MultiFileSystem fileSystem({first.path(), second.path()});
  EXPECT_EQ(pathOf(fileSystem.find("scripts/a.xml")), second / "scripts/a.xml");
  EXPECT_EQ(pathOf(fileSystem.locationFor("scripts/a.xml")), second / "scripts/a.xml");
  EXPECT_EQ(pathOf(fileSystem.locationFor("scripts/b.xml")), first / "scripts/b.xml");
  first.write("scripts/a.xml", "");
  EXPECT_EQ(pathOf(fileSystem.find("scripts/a.xml")), first / "scripts/a.xml");
  EXPECT_FALSE(fileSystem.find("scripts")) << "a folder is none";
  EXPECT_TRUE(isMissing(fileSystem.find("scripts/a.xml/b")));
}

TEST(AResource, OfAnEarlierRootIsOpenedAsSoonAsItIsThere) {
  const TemporaryFolder first;
  const TemporaryFolder second;
  second.write("a.xml", "<r>second</r>");
  Tal::FS::setFileSystem(
      std::make_unique<MultiFileSystem>(std::vector<fs::path>{first.path(), second.path()}));
  EXPECT_EQ(openResource("a.xml")->value(), "second");
  first.write("a.xml", "<r>first</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "first");
  fs::remove(first / "a.xml");
  EXPECT_EQ(openResource("a.xml")->value(), "second");
  Tal::FS::setFileSystem(nullptr);
}

struct NameCase {
  std::string name;
  std::string refusal;
};

TEST(AName, ThatCannotNameAResourceIsRefusedWithAMessage) {
  const std::vector<NameCase> cases = {
      {"", "is empty"},
      {"/etc/passwd", "is absolute"},
      {"..", "holds \"..\""},
      {"../a.xml", "holds \"..\""},
      {"scripts/../a.xml", "holds \"..\""},
      {"scripts/..", "holds \"..\""},
      {std::string("a\0b", 3), "holds a NUL character"},
      {"scripts\\a.xml", "holds a backslash"},
      {".", "names no file"},
      {"./", "names no file"},
  };
  const MountedRoot root("scripts/a.xml", "<r/>");
  for (const NameCase& one : cases) {
    const auto checked = MultiFileSystem::checkName(one.name);
    ASSERT_FALSE(checked) << one.name;
    EXPECT_THAT(checked.fault().what, HasSubstr(one.refusal));
    MessageRecorder recorder;
    EXPECT_THAT(faultOf(root.fileSystem().find(one.name)), HasSubstr(one.refusal));
    EXPECT_THAT(faultOf(root.fileSystem().locationFor(one.name)), HasSubstr(one.refusal));
    EXPECT_FALSE(openResource(one.name));
    EXPECT_FALSE(Tal::FS::Utils::openSection(one.name, true, nullptr));
    ASSERT_EQ(recorder.messages().size(), 2U) << "once for each opening: " << one.name;
    EXPECT_THAT(recorder.texts()[0], AllOf(HasSubstr("the resource name"), HasSubstr(one.refusal)));
    EXPECT_EQ(recorder.messages()[0].messagePriority, 5);
  }
}

TEST(AName, MayHoldDotsAndSpacesAndAnythingElse) {
  for (const std::string name : {"a..b.xml", "...", "a b/c.xml", "50%.xml", "\xC3\xA4.xml", "a:b", "~"})
    EXPECT_TRUE(MultiFileSystem::checkName(name)) << name;
}

TEST(ALinkThatLeadsOutOfItsRoot, IsRefused) {
  const TemporaryFolder outside;
  outside.write("a.xml", "<r/>");
  const MountedRoot root;
  fs::create_symlink(outside / "a.xml", root / "file.xml");
  fs::create_directory_symlink(outside.path(), root / "folder");
  for (const char* name : {"file.xml", "folder/a.xml"}) {
    MessageRecorder recorder;
    EXPECT_FALSE(openResource(name));
    EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("leads out of its root")));
  }
  EXPECT_THAT(faultOf(root.fileSystem().locationFor("folder/new/b.xml")), HasSubstr("leads out of its root"));
}

TEST(ALinkThatStaysInItsRoot, IsFollowed) {
  const MountedRoot root("store/a.xml", "<r>1</r>");
  fs::create_symlink(root / "store/a.xml", root / "file.xml");
  fs::create_directory_symlink("store", root / "folder");
  EXPECT_EQ(openResource("file.xml")->value(), "1");
  EXPECT_EQ(openResource("folder/a.xml")->value(), "1");
}

TEST(ALinkToNothing, IsNoPlaceForAResource) {
  const MountedRoot root;
  fs::create_symlink("nowhere.xml", root / "a.xml");
  MessageRecorder recorder;
  EXPECT_FALSE(openResource("a.xml"));
  EXPECT_EQ(faultOf(root.fileSystem().locationFor("a.xml")), "is a link to nothing");
  EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr("is a link to nothing")));
}

TEST(ALinkToNothing, InTheFirstRootDoesNotLetTheSecondStandInForIt) {
  const TemporaryFolder first;
  const TemporaryFolder second;
  fs::create_symlink("nowhere.xml", first / "a.xml");
  second.write("a.xml", "<r/>");
  const Tal::FS::MultiFileSystem files({first.path(), second.path()});
  EXPECT_EQ(faultOf(files.find("a.xml")), "is a link to nothing");
}

TEST(AFileThatCannotBeExamined, IsRefusedWithTheReason) {
  const TemporaryFolder first;
  const TemporaryFolder second;
  fs::create_symlink("a.xml", first / "a.xml");  // onto itself
  second.write("a.xml", "<r/>");
  const Tal::FS::MultiFileSystem files({first.path(), second.path()});
  EXPECT_EQ(faultOf(files.find("a.xml")), "cannot be examined: Too many levels of symbolic links");
}

TEST(AFolder, IsNoResource) {
  const TemporaryFolder first;
  const TemporaryFolder second;
  fs::create_directory(first / "a.xml");
  const Tal::FS::MultiFileSystem files({first.path(), second.path()});
  EXPECT_EQ(faultOf(files.find("a.xml")), "is no regular file");
  EXPECT_TRUE(isMissing(files.find("b.xml")));
  second.write("a.xml", "<r/>");
  EXPECT_EQ(pathOf(files.find("a.xml")), second / "a.xml");
}

TEST(APlaceForAResource, HoldsNoFileWhenNothingThatIsOneCanStandThere) {
  const TemporaryFolder first;
  const TemporaryFolder second;
  fs::create_directory(first / "folder");
  fs::create_symlink("nowhere", first / "dangling");
  fs::create_symlink("circle", first / "circle");
  const MultiFileSystem files({first.path(), second.path()});
  for (const std::string& name :
       std::vector<std::string>{"absent", "folder", "folder/absent", "dangling", "circle",
                                std::string(300, 'a'), std::string(5000, 'a'), "/etc/passwd", "../up", ""})
    EXPECT_TRUE(files.holdNoFile(name)) << name;
  second.write("dangling", "");
  EXPECT_FALSE(files.holdNoFile("dangling")) << "the second root has one";
}

TEST(APlaceForAResource, MayHoldAFileThatIsOutsideOrThatNobodyCanExamine) {
  const TemporaryFolder outside;
  outside.write("file", "");
  const TemporaryFolder root;
  root.write("file", "");
  fs::create_symlink(outside / "file", root / "link");
  const MultiFileSystem files({root.path()});
  EXPECT_FALSE(files.holdNoFile("file"));
  EXPECT_FALSE(files.holdNoFile("link"));
  EXPECT_TRUE(files.holdNoFile("absent"));
  fs::remove_all(root.path());
  EXPECT_FALSE(files.holdNoFile("absent")) << "who knows what the root that is gone held";
}

TEST(ARoot, MayItselfBeALink) {
  const TemporaryFolder folder;
  folder.write("real/a.xml", "<r/>");
  fs::create_directory_symlink("real", folder / "link");
  const MultiFileSystem fileSystem({folder / "link"});
  EXPECT_EQ(pathOf(fileSystem.find("a.xml")), folder / "link/a.xml");
}

TEST(ARoot, ThatIsNoFolderLeavesNoRootsAtAll) {
  const TemporaryFolder folder;
  folder.write("file", "");
  for (const char* name : {"none", "file"}) {
    const std::string fault = "the resource root \"" + (folder / name).string() + "\" is no folder";
    MessageRecorder recorder;
    const MultiFileSystem fileSystem({folder.path(), folder / name});
    EXPECT_THAT(fileSystem.roots(), testing::IsEmpty());
    EXPECT_THAT(recorder.texts(), ElementsAre(HasSubstr(fault)));
    const auto opened = MultiFileSystem::open({folder / name, folder.path()});
    ASSERT_FALSE(opened);
    EXPECT_THAT(opened.fault().what, HasSubstr(fault));
    EXPECT_EQ(recorder.messages().size(), 1U) << "who opens them reports it";
  }
  EXPECT_THAT((*MultiFileSystem::open({folder.path()}))->roots(), ElementsAre(folder.path()));
}

TEST(ARoot, ThatIsGoneIsNotStoodInForByTheNext) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "first");
  folder.write("second/a.xml", "<r/>");
  const MultiFileSystem fileSystem({folder / "first", folder / "second"});
  EXPECT_EQ(pathOf(fileSystem.find("a.xml")), folder / "second/a.xml");
  fs::remove(folder / "first");
  const std::string fault = "cannot be found, since the resource root \"" + (folder / "first").string() +
                            "\" is not the folder any more that it was";
  EXPECT_EQ(faultOf(fileSystem.find("a.xml")), fault);
  EXPECT_FALSE(fileSystem.locationFor("b.xml"));
  fs::create_directory(folder / "in between");
  fs::create_directory(folder / "first");  // as the empty folder where a drive was
  EXPECT_EQ(faultOf(fileSystem.find("a.xml")), fault);
  EXPECT_FALSE(fileSystem.holdNoFile("a.xml")) << "the drive may hold one";
  folder.write("first/a.xml", "<r/>");
  EXPECT_FALSE(fileSystem.find("a.xml")) << "of whom, nobody knows";
}

TEST(ARoot, ThatIsTheOnlyOneMayBeMadeAnew) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "root");
  const MultiFileSystem fileSystem({folder / "root"});
  fs::remove(folder / "root");
  EXPECT_TRUE(isMissing(fileSystem.find("a.xml"))) << "it holds nothing";
  folder.write("root/a.xml", "<r/>");
  EXPECT_EQ(pathOf(fileSystem.find("a.xml")), folder / "root/a.xml");
}

TEST(ARoot, ThatIsExchangedIsNotReadWhereThereAreSeveral) {
  const TemporaryFolder folder;
  folder.write("first/a.xml", "<r/>");
  fs::create_directory(folder / "second");
  const MultiFileSystem fileSystem({folder / "first", folder / "second"});
  fs::rename(folder / "first", folder / "gone");
  folder.write("first/a.xml", "<stranger/>");
  EXPECT_THAT(faultOf(fileSystem.find("a.xml")),
              HasSubstr("/first\" is not the folder any more that it was"));
}

TEST(AFileSystem, WithoutRootsHoldsNothing) {
  const MultiFileSystem fileSystem({});
  EXPECT_TRUE(isMissing(fileSystem.find("a.xml")));
  EXPECT_TRUE(isMissing(fileSystem.locationFor("a.xml")));
}

}  // namespace
