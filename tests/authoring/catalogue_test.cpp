#include <authoring/catalogue.h>
#include <authoring/category.h>
#include <authoring/session_fixture.h>

#include <filesystem>

namespace Tal::authoring {
namespace {

class Catalogue : public SessionTest {
 protected:
  static std::vector<std::string> lines() {
    std::vector<std::string> lines;
    const auto entries = *readCatalogue();
    for (const CatalogueEntry& entry : entries) {
      lines.push_back(entry.model + " " + std::string(categoryName(entry.category)) +
                      (!entry.hasModelFile   ? " (unknown)"
                       : *entry.hasModelFile ? ""
                                             : " (no file)"));
    }
    return lines;
  }
};

TEST_F(Catalogue, NamesEveryModelWithItsCategoryAndWhetherItsFileExists) {
  writeDatabase(R"(<root>
	<trees><entry><filename>content/oak.model</filename></entry></trees>
	<fragiles>
		<entry><filename>content/props/crate.model</filename></entry>
		<entry><filename>content/props/gone.model</filename></entry>
	</fragiles>
	<fallingAtoms><entry><filename>content/street/lamp.model</filename></entry></fallingAtoms>
	<structures><entry><filename>content/buildings/house.model</filename><modules/></entry></structures>
</root>)");
  EXPECT_THAT(lines(), testing::ElementsAre("content/buildings/house.model structure",
                                            "content/props/crate.model fragile",
                                            "content/props/gone.model fragile (no file)",
                                            "content/street/lamp.model falling-atom"));
}

TEST_F(Catalogue, DoesNotTakeAModelForGoneThatCannotBeLookedFor) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/gone.model</filename></entry></fragiles></root>");
  const support::TemporaryFolder second;
  FS::setFileSystem(std::make_unique<FS::MultiFileSystem>(std::vector{root_.path(), second.path()}));
  EXPECT_THAT(lines(), testing::ElementsAre("content/props/gone.model fragile (no file)"));
  std::filesystem::remove_all(second.path());
  const support::MessageRecorder recorder;
  EXPECT_THAT(lines(), testing::ElementsAre("content/props/gone.model fragile (unknown)"));
  EXPECT_THAT(recorder.texts(), testing::ElementsAre(testing::HasSubstr("is not the folder any more")));
}

TEST_F(Catalogue, TakesAnyOtherSectionForStructuresThatNeedModules) {
  writeDatabase(R"(<root>
	<buildings><entry><filename>a</filename><modules/></entry><entry><filename>b</filename></entry></buildings>
</root>)");
  EXPECT_THAT(lines(), testing::ElementsAre("a structure (no file)", "b none (no file)"));
}

TEST_F(Catalogue, DecidesByTheOrderOfLookUpForAModelInSeveralSections) {
  writeDatabase(R"(<root>
	<fallingAtoms><entry><filename>a</filename></entry><entry><filename>b</filename></entry></fallingAtoms>
	<fragiles><entry><filename>a</filename></entry><entry><filename>c</filename></entry></fragiles>
	<structures><entry><filename>c</filename><modules/></entry><entry><filename>a</filename></entry></structures>
</root>)");
  EXPECT_THAT(lines(), testing::ElementsAre("a fragile (no file)", "b falling-atom (no file)",
                                            "c structure (no file)"));
}

TEST_F(Catalogue, AgreesWithASessionOnEveryModel) {
  support::writeModel(root_, "content/lod1/crate", {});
  writeDatabase(R"(<root>
	<fragiles>
		<entry><filename>content/props/crate.model</filename></entry>
		<entry><filename>content/lod1/crate.model</filename></entry>
	</fragiles>
	<houses>
		<entry><filename>content/props/crate.model</filename><modules/></entry>
		<entry><filename>content/street/lamp.model</filename><states/></entry>
	</houses>
</root>)");
  const auto entries = *readCatalogue();
  EXPECT_EQ(entries.size(), 3U);
  for (const CatalogueEntry& entry : entries) EXPECT_EQ(open(entry.model)->category(), entry.category);
}

TEST_F(Catalogue, PassesOverEntriesWithoutAModel) {
  writeDatabase("<root><fragiles><entry/><entry><filename>  </filename></entry></fragiles></root>");
  EXPECT_TRUE(lines().empty());
}

TEST_F(Catalogue, SaysNothingOfNamesThatCanBeNoFile) {
  writeDatabase(
      "<root><fragiles><entry><filename>/etc/passwd</filename></entry><entry><filename>../a</filename>"
      "</entry></fragiles></root>");
  EXPECT_THAT(lines(), testing::ElementsAre("../a fragile (no file)", "/etc/passwd fragile (no file)"));
  EXPECT_TRUE(messages_.messages().empty());
}

TEST_F(Catalogue, IsNotThereWithoutADatabase) {
  std::filesystem::remove(root_ / kDatabase);
  EXPECT_FALSE(static_cast<bool>(readCatalogue()));
}

TEST_F(Catalogue, IsRefusedWithoutResourceRootsWithWhatToDo) {
  FS::setFileSystem(nullptr);
  EXPECT_EQ(faultText(readCatalogue()), "no resource roots are set up; set some first");
}

TEST_F(Catalogue, KnowsTheModelFilesOfAllRoots) {
  const support::TemporaryFolder second;
  support::writeModel(second, "content/props/barrel", {});
  support::writeModel(second, "content/props/crate", {});
  FS::setFileSystem(
      std::make_unique<FS::MultiFileSystem>(std::vector<std::filesystem::path>{root_.path(), second.path()}));
  EXPECT_THAT(modelFiles(), testing::ElementsAre(kHouse, "content/props/barrel.model", kCrate, kLamp));
}

TEST_F(Catalogue, KnowsTheModelsOfTheDatabaseAndTheFiles) {
  writeDatabase("<root><fragiles><entry><filename>a.model</filename></entry></fragiles></root>");
  EXPECT_THAT(knownModels(), testing::ElementsAre("a.model", kHouse, kCrate, kLamp));
}

TEST_F(Catalogue, FollowsNoLinkOfFolders) {
  std::filesystem::create_directory_symlink(root_ / "content", root_ / "content/props/again");
  EXPECT_THAT(modelFiles(), testing::ElementsAre(kHouse, kCrate, kLamp));
}

TEST(Categories, HaveNamesThatLeadBack) {
  EXPECT_THAT(categoryNames(), testing::ElementsAre("structure", "fragile", "falling-atom", "none"));
  for (const std::string& name : categoryNames())
    EXPECT_EQ(categoryName(categoryFromName(name).value()), name);
  EXPECT_FALSE(categoryFromName("structures").has_value());
  EXPECT_FALSE(categoryFromName("").has_value());
}

}  // namespace
}  // namespace Tal::authoring
