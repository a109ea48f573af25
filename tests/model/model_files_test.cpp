#include <gmock/gmock.h>
#include <support/message_recorder.h>

#include "failing_rename.h"
#include "gltf_builder.h"
#include "import_fixture.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace Tal {
namespace {

using support::cubeBuilder;
using support::FailingRename;
using testing::ElementsAre;
using testing::StartsWith;

/// An import of which a rename fails: that of a file that is made, or put aside before.
class AnInterruptedImport : public support::ImportFixture, public testing::WithParamInterface<int> {};

TEST_P(AnInterruptedImport, LeavesTheOldModelAsItWas) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  const std::string oldGeometry = folder_.read("root/content/house.glb");
  const std::string oldVisual = visual();
  const std::string oldModel = model();

  support::GltfBuilder other;
  other.addNode("n", other.addMesh({{1, 2, 3}}, other.addMaterial("other")));
  writeSource(other.glb());
  // Files of that age are taken for left-overs when nobody uses them.
  for (const char* const name : {"house.glb", "house.visual", "house.model"}) {
    const auto file = root() / "content" / name;
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) - std::chrono::hours(1));
  }
  const FailingRename failing(GetParam(), 1);
  EXPECT_THAT(refusal({.overwrite = true}), StartsWith("cannot be imported: "));
  EXPECT_EQ(folder_.read("root/content/house.glb"), oldGeometry);
  EXPECT_EQ(visual(), oldVisual);
  EXPECT_EQ(model(), oldModel);
}

INSTANTIATE_TEST_SUITE_P(AtEachFile, AnInterruptedImport, testing::Values(0, 1, 2, 3, 4));

using AnImport = support::ImportFixture;

TEST_F(AnImport, IntoAFolderThatHasTakenThePlaceOfTheRootIsRefused) {
  writeSource(cubeBuilder().glb());
  const auto taken = files::identityAt(root());
  std::filesystem::rename(root(), folder_ / "moved");
  std::filesystem::create_directory(root());
  EXPECT_THAT(refusal({.takenRoot = taken}), testing::HasSubstr("is not the folder any more that it was"));
  EXPECT_TRUE(std::filesystem::is_empty(root()));
}

TEST_F(AnImport, ThatCannotMakeOneOfItsFilesLeavesNothingBehind) {
  writeSource(cubeBuilder().glb());
  for (const int made : {0, 1, 2}) {
    const FailingRename failing(made, 1);
    EXPECT_THAT(refusal(), StartsWith("cannot be imported: renaming to \"")) << made;
    EXPECT_THAT(error_, testing::HasSubstr("No space left on device; free some space"));
    EXPECT_TRUE(std::filesystem::is_empty(root()));
  }
}

TEST_F(AnImport, SaysWhereTheOldFileIsThatItCannotPutBack) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  const std::string oldVisual = visual();
  support::GltfBuilder other;
  other.addNode("n", other.addMesh({{1, 2, 3}}, other.addMaterial("other")));
  writeSource(other.glb());
  const FailingRename failing(3, 2);  // the geometry is not made, and the visual not put back
  EXPECT_FALSE(import({.overwrite = true}));
  EXPECT_THAT(error_, testing::HasSubstr("putting back the old \""));
  const auto name = testing::MatchesRegex("root/content/\\.house\\.visual\\.[0-9]+-[0-9]+\\.saving");
  const auto listing = folder_.listing();
  const auto kept = std::find_if(listing.begin(), listing.end(),
                                 [&](const std::string& entry) { return testing::Matches(name)(entry); });
  ASSERT_NE(kept, listing.end());
  EXPECT_EQ(folder_.read(*kept), oldVisual);
  EXPECT_THAT(error_, testing::HasSubstr(kept->substr(kept->rfind('/') + 1)));
}

TEST_F(AnImport, KeepsThePermissionsOfTheFilesThatItReplaces) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  for (const char* const name : {"house.model", "house.visual", "house.glb"})
    std::filesystem::permissions(root() / "content" / name, std::filesystem::perms(0600));
  ASSERT_TRUE(import({.overwrite = true})) << error_;
  for (const char* const name : {"house.model", "house.visual", "house.glb"})
    EXPECT_EQ(std::filesystem::status(root() / "content" / name).permissions(), std::filesystem::perms(0600))
        << name;
}

TEST_F(AnImport, IsRefusedWhenAFileIsProtected) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  for (const char* const name : {"house.model", "house.visual", "house.glb"}) {
    const auto file = root() / "content" / name;
    std::filesystem::permissions(file, std::filesystem::perms(0400));
    EXPECT_THAT(refusal({.overwrite = true}), testing::HasSubstr("replacing the protected file"));
    std::filesystem::permissions(file, std::filesystem::perms(0600));
  }
}

TEST_F(AnImport, IsFinishedByTheNextWhenItWasCutOff) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  const std::string wanted = model();
  const auto content = root() / "content";
  std::filesystem::remove(content / "house.model");
  EXPECT_TRUE(import()) << "with the visual and the geometry: " << error_;
  EXPECT_EQ(model(), wanted);
  std::filesystem::remove(content / "house.model");
  std::filesystem::remove(content / "house.glb");
  EXPECT_TRUE(import()) << "with the visual alone: " << error_;
  EXPECT_EQ(model(), wanted);
  EXPECT_EQ(folder_.listing().size(), 6U) << "source, root, folder and three files";
}

TEST_F(AnImport, DoesNotTakeAUsersFilesForThoseOfOneThatWasCutOff) {
  writeSource(cubeBuilder().glb());
  folder_.write("root/content/house.glb", "mine");
  EXPECT_THAT(refusal(), testing::HasSubstr("\"content/house.glb\" is already there; give --force"));
  ASSERT_TRUE(import({.overwrite = true})) << error_;
  std::filesystem::remove(root() / "content/house.model");
  folder_.write("root/content/house.glb", "mine");  // beside the visual of the import
  EXPECT_THAT(refusal(), testing::HasSubstr("\"content/house.glb\" is already there; give --force"));
  EXPECT_EQ(folder_.read("root/content/house.glb"), "mine");
  std::filesystem::remove(root() / "content/house.glb");
  folder_.write("root/content/house.visual", "<visual><geometry>content/house.glb</geometry></visual>");
  EXPECT_THAT(refusal(), testing::HasSubstr("\"content/house.visual\" is already there; give --force"));
  folder_.write("root/content/house.visual", "no XML");
  EXPECT_THAT(refusal(), testing::HasSubstr("\"content/house.visual\" is already there; give --force"));
}

TEST_F(AnImport, LeavesTheFilesOfANewerVersionAlone) {
  writeSource(cubeBuilder().glb());
  for (const char* const rest : {"<model/>", ""}) {
    folder_.write("root/content/house.visual", "<visual><import version='2'/></visual>");
    if (*rest != '\0') folder_.write("root/content/house.model", rest);
    for (const bool isForced : {false, true})
      EXPECT_THAT(refusal({.overwrite = isForced}), testing::HasSubstr("imported by a newer version"));
    std::filesystem::remove(root() / "content/house.model");
  }
}

TEST_F(AnImport, DoesNotReplaceWhatAppearsWhileItWrites) {
  writeSource(cubeBuilder().glb());
  for (const char* const name : {"house.visual", "house.glb", "house.model"}) {
    const auto file = root() / "content" / name;
    {
      const support::WatchedRename watching([&] { support::writeFile(file, "mine"); });
      EXPECT_FALSE(import());
    }
    EXPECT_THAT(error_, testing::HasSubstr("another program has changed \"" + file.string()));
    EXPECT_EQ(support::readFile(file), "mine");
    EXPECT_EQ(folder_.listing().size(), 4U) << "source, root, folder and that file";
    std::filesystem::remove_all(root() / "content");
  }
}

TEST_F(AnImport, LeavesAloneWhatAnotherProgramPutsInThePlaceOfItsFilesWhenItIsGivenUp) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  for (const int others : {0, 1, 2, 3, 4}) {
    for (const char* const name : {"house.visual", "house.glb", "house.model"}) {
      const auto file = root() / "content" / name;
      int renames = 0;
      {
        const support::WatchedRename watching([&] {
          if (renames++ != others) return;
          std::filesystem::remove(file);
          support::writeFile(file, "mine");
        });
        static_cast<void>(import({.overwrite = true}));  // refused, but where its own file had yet to come
      }
      if (!std::filesystem::exists(file) || support::readFile(file) != "mine") {
        EXPECT_EQ(error_, "") << name << ' ' << others << ": given up, and the other's file is gone";
      }
      std::filesystem::remove_all(root() / "content");
      ASSERT_TRUE(import()) << error_;
    }
  }
}

TEST_F(AnImport, RepairsAVisualThatIsMalformedWhenForced) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  folder_.write("root/content/house.visual", "<visual><import version='1'/> & </visual>");
  EXPECT_TRUE(import({.overwrite = true})) << "what is malformed is repaired: " << error_;
}

TEST_F(AnImport, FollowsLinksBelowTheRootAndReplacesThoseThatLeadToNothing) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  const std::string wanted = model();
  std::filesystem::create_directory(root() / "store");
  for (const char* const name : {"house.visual", "house.glb", "house.model"}) {
    std::filesystem::rename(root() / "content" / name, root() / "store" / name);
    std::filesystem::create_symlink(std::filesystem::path("../store") / name, root() / "content" / name);
  }
  ASSERT_TRUE(import({.overwrite = true})) << error_;
  EXPECT_TRUE(std::filesystem::is_symlink(root() / "content/house.model"));
  // As a process leaves it that is killed in between.
  std::filesystem::remove(root() / "store/house.model");
  std::filesystem::remove(root() / "store/house.glb");
  EXPECT_TRUE(import()) << error_;
  EXPECT_EQ(model(), wanted);
}

/// Every step of an import is followed by what the next import finds if the process ends there.
TEST_F(AnImport, NeverLeavesAModelBesideFilesOfAnother) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  const std::string oldFiles = visual() + folder_.read("root/content/house.glb") + model();
  support::GltfBuilder other;
  other.addNode("n", other.addMesh({{1, 2, 3}}, other.addMaterial("other")));
  writeSource(other.glb());
  std::vector<std::string> seen;
  {
    const support::WatchedRename watching([&] {
      const bool isThere = std::filesystem::exists(root() / "content/house.model");
      seen.push_back(isThere ? visual() + folder_.read("root/content/house.glb") + model() : "no model");
    });
    ASSERT_TRUE(import({.overwrite = true})) << error_;
  }
  EXPECT_THAT(seen, ElementsAre(oldFiles, "no model", "no model", "no model", "no model"))
      << "before each rename";
  EXPECT_EQ(visual().find("wall"), std::string::npos) << "the new ones are there in the end";
}

TEST_F(AnImport, IsRefusedWhenAFolderHasTheNameOfAFile) {
  writeSource(cubeBuilder().glb());
  std::filesystem::create_directories(root() / "content/house.visual");
  EXPECT_EQ(refusal({.overwrite = true}), "cannot be imported: replacing \"" +
                                              (root() / "content/house.visual").string() +
                                              "\": Is a directory; move the folder of that name away");
  EXPECT_THAT(folder_.listing(), ElementsAre("in.glb", "root", "root/content", "root/content/house.visual"));
}

TEST_F(AnImport, IsRefusedWhenAFileStandsInTheWayOfAFolder) {
  writeSource(cubeBuilder().glb());
  folder_.write("root/content", "a file");
  EXPECT_THAT(refusal(), StartsWith("cannot be imported: "));
}

TEST_F(AnImport, IsRefusedWhenALinkLeadsOutOfTheRoot) {
  writeSource(cubeBuilder().glb());
  std::filesystem::create_directory(folder_ / "outside");
  std::filesystem::create_directory_symlink(folder_ / "outside", root() / "content");
  const support::MessageRecorder messages;
  EXPECT_EQ(refusal(),
            "cannot be imported: \"" + (root() / "content/house.visual").string() +
                "\" leads out of its root through a link; put the file itself in the place of the link");
  EXPECT_THAT(messages.texts(), testing::IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(folder_ / "outside"));
}

TEST_F(AnImport, IsRefusedWithoutARoot) {
  writeSource(cubeBuilder().glb());
  const auto imported = importGltf(source_, "house.model", folder_ / "no root", {});
  ASSERT_FALSE(imported);
  EXPECT_THAT(textOf(imported.fault()),
              testing::HasSubstr("/no root\": No such file or directory; make the folder"));
}

}  // namespace
}  // namespace Tal
