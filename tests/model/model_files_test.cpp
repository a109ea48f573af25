#include <gmock/gmock.h>
#include <support/message_recorder.h>

#include "failing_rename.h"
#include "gltf_builder.h"
#include "import_fixture.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace Tal {
namespace {

using support::cubeBuilder;
using support::FailingRename;
using testing::ElementsAre;
using testing::StartsWith;

/// An import whose second, third ... write fails.
class AnInterruptedImport : public support::ImportFixture, public testing::WithParamInterface<int> {};

TEST_P(AnInterruptedImport, LeavesNothingBehind) {
  writeSource(cubeBuilder().glb());
  const FailingRename failing(GetParam(), 1);
  EXPECT_THAT(refusal(), StartsWith("cannot be imported: renaming to \""));
  EXPECT_THAT(error_, testing::HasSubstr("No space left on device; free some space"));
  EXPECT_TRUE(std::filesystem::is_empty(root()));
}

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

INSTANTIATE_TEST_SUITE_P(AtEachFile, AnInterruptedImport, testing::Values(0, 1, 2));

using AnImport = support::ImportFixture;

TEST_F(AnImport, SaysWhereTheOldFileIsThatItCannotPutBack) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  const std::string oldGeometry = folder_.read("root/content/house.glb");
  support::GltfBuilder other;
  other.addNode("n", other.addMesh({{1, 2, 3}}, other.addMaterial("other")));
  writeSource(other.glb());
  const FailingRename failing(1, 2);
  EXPECT_FALSE(import({.overwrite = true}));
  EXPECT_THAT(error_, testing::HasSubstr("putting back the old \""));
  const auto name = testing::MatchesRegex("root/content/\\.house\\.glb\\.[0-9]+-[0-9]+\\.saving");
  const auto listing = folder_.listing();
  const auto kept = std::find_if(listing.begin(), listing.end(),
                                 [&](const std::string& entry) { return testing::Matches(name)(entry); });
  ASSERT_NE(kept, listing.end());
  EXPECT_EQ(folder_.read(*kept), oldGeometry);
  EXPECT_THAT(error_, testing::HasSubstr(kept->substr(kept->rfind('/') + 1)));
}

TEST_F(AnImport, KeepsThePermissionsOfTheFilesThatItReplaces) {
  writeSource(cubeBuilder().glb());
  ASSERT_TRUE(import()) << error_;
  const auto file = root() / "content/house.model";
  std::filesystem::permissions(file, std::filesystem::perms(0600));
  ASSERT_TRUE(import({.overwrite = true})) << error_;
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
}

TEST_F(AnImport, IsRefusedWhenAFolderHasTheNameOfAFile) {
  writeSource(cubeBuilder().glb());
  std::filesystem::create_directories(root() / "content/house.visual");
  EXPECT_EQ(refusal({.overwrite = true}), "cannot be imported: \"content/house.visual\" is no regular file");
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
  EXPECT_EQ(refusal(), "cannot be imported: \"content/house.glb\" leads out of its root through a link");
  EXPECT_THAT(messages.texts(), testing::IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(folder_ / "outside"));
}

TEST_F(AnImport, IsRefusedWithoutARoot) {
  writeSource(cubeBuilder().glb());
  EXPECT_FALSE(importGltf(source_, "house.model", folder_ / "no root", {}, &error_));
  EXPECT_THAT(error_, testing::EndsWith("/no root\" is no folder"));
}

TEST_F(AnImport, SaysNothingWithoutAPlaceForIt) {
  EXPECT_FALSE(importGltf(source_, "house.model", root(), {}, nullptr));
}

}  // namespace
}  // namespace Tal
