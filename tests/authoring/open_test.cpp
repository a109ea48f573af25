#include <authoring/session_fixture.h>

#include <filesystem>

namespace Tal::authoring {
namespace {

using OpeningASession = SessionTest;

TEST_F(OpeningASession, GivesTheModelWithItsMaterialsHardPointsAndCollision) {
  const auto session = open(kHouse);
  EXPECT_EQ(session->modelName(), kHouse);
  EXPECT_EQ(session->category(), DT_NON_DESTRUCTIBLE);
  EXPECT_EQ(session->suggestedCategory(), DT_STRUCTURE);
  EXPECT_THAT(session->hardPoints(), testing::ElementsAre("HP_wall_1", "HP_wall_2"));
  EXPECT_THAT(session->bspMaterials(),
              testing::ElementsAre("n_door_4", "n_wall_1", "n_wall_2", "n_window_5"));
  EXPECT_EQ(session->shownState(), "undamaged");
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(OpeningASession, RefusesAModelThatTheRootsDoNotHoldAndSuggestsTheNearest) {
  EXPECT_EQ(refusalOf("content/props/crat.model"),
            "the resource roots hold no model \"content/props/crat.model\"; did you mean "
            "\"content/props/crate.model\"?");
}

TEST_F(OpeningASession, SuggestsTheModelsOfTheDatabaseToo) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/gone.model</filename></entry></fragiles></root>");
  EXPECT_EQ(refusalOf("content/props/gon.model"),
            "the resource roots hold no model \"content/props/gon.model\"; did you mean "
            "\"content/props/gone.model\"?");
}

TEST_F(OpeningASession, RefusesAModelThatIsGoneAndSaysWhatIsLeftToDo) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/gone.model</filename></entry></fragiles></root>");
  EXPECT_EQ(refusalOf("content/props/gone.model"),
            "the resource roots hold no model \"content/props/gone.model\", only scripts/destructibles.xml "
            "has entries of it; import the model first, or convert it to none, which removes them");
}

TEST_F(OpeningASession, SaysWhenTheRootsHoldNoModelAtAll) {
  std::filesystem::remove_all(root_ / "content");
  EXPECT_EQ(
      refusalOf("content/props/crate.model"),
      "the resource roots hold no model \"content/props/crate.model\" and no other; check the roots, or "
      "import a model");
}

TEST_F(OpeningASession, RefusesNamesThatAreNoResourceWithTheReason) {
  EXPECT_EQ(
      refusalOf("/content/props/crate.model"),
      "the model name \"/content/props/crate.model\" is absolute; give a name below the resource roots");
  EXPECT_EQ(refusalOf("content/../content/props/crate.model"),
            "the model name \"content/../content/props/crate.model\" holds \"..\"; give a name below "
            "the resource roots");
  EXPECT_EQ(refusalOf(""), "the model name \"\" is empty; give a name below the resource roots");
}

TEST_F(OpeningASession, RefusesALinkThatLeadsOutOfTheRoots) {
  const support::TemporaryFolder outside;
  support::writeModel(outside, "secret", {});
  std::filesystem::create_symlink(outside / "secret.model", root_ / "content/secret.model");
  EXPECT_EQ(refusalOf("content/secret.model"),
            "the model name \"content/secret.model\" leads out of its root through a link; put the model's "
            "files below a root");
}

TEST_F(OpeningASession, RefusesASecondSpellingOfAName) {
  EXPECT_EQ(refusalOf("./content//props/crate.model"),
            "the model name \"./content//props/crate.model\" is spelled \"content/props/crate.model\" in the "
            "database; use that name");
}

TEST_F(OpeningASession, RefusesAModelWhoseFilesAreBroken) {
  root_.write("content/props/crate.visual", "<root><materials>");
  EXPECT_THAT(refusalOf(kCrate), testing::HasSubstr("content/props/crate.visual"));
}

TEST_F(OpeningASession, RefusesToGuessWithoutADatabase) {
  std::filesystem::remove(root_ / kDatabase);
  EXPECT_EQ(
      refusalOf(kCrate),
      "the resource roots hold no scripts/destructibles.xml; make an empty one with \"destructibles init\"");
  writeDatabase("<root><fragiles></root>");
  EXPECT_EQ(refusalOf(kCrate),
            "scripts/destructibles.xml:1:19: mismatched tag (the innermost open element is \"<fragiles>\" of "
            "line 1: "
            "write \"</fragiles>\" first); the file was not loaded; correct it there");
}

TEST_F(OpeningASession, RefusesAModelThatAnotherSessionHasOpen) {
  auto session = open(kCrate);
  const auto other = open(kLamp);
  EXPECT_EQ(refusalOf(kCrate),
            "the model \"content/props/crate.model\" is open already in this program; use that session or "
            "close it first");
  session.reset();
  EXPECT_EQ(open(kCrate)->modelName(), kCrate);
}

TEST_F(OpeningASession, RefusesWithoutResourceRoots) {
  FS::setFileSystem(nullptr);
  EXPECT_EQ(refusalOf(kCrate), "no resource roots are set up; set some first");
}

TEST_F(OpeningASession, ShowsControlCharactersOfANameEscaped) {
  EXPECT_THAT(refusalOf("content/\x1b[31m%s.model"),
              testing::StartsWith("the resource roots hold no model \"content/\\x1b[31m%s.model\""));
}

TEST_F(OpeningASession, WritesNothing) {
  const std::string text =
      "<root>\n\t<structures>\n\t\t<entry>\n\t\t\t<filename>content/buildings/house.model</filename>\n"
      "\t\t\t<modules/>\n\t\t</entry>\n\t</structures>\n</root>\n";
  writeDatabase(text);
  { const auto session = open(kHouse); }
  EXPECT_EQ(readDatabase(), text);
}

}  // namespace
}  // namespace Tal::authoring
