#include <authoring/catalogue.h>
#include <authoring/gone_model.h>
#include <authoring/program_that_saves.h>
#include <authoring/session_fixture.h>
#include <files/file_lock.h>
#include <resources/save_group.h>
#include <resources/save_patience.h>
#include <support/full_disk.h>

#include <chrono>
#include <filesystem>

namespace Tal::authoring {
namespace {

constexpr char kGone[] = "content/props/gone.model";

class AGoneModel : public SessionTest {
 protected:
  static GoneModel read(const std::string& model) {
    std::optional<GoneModel> gone = readGoneModel(model);
    if (!gone) throw std::runtime_error("not gone: " + model);
    return *std::move(gone);
  }

  static constexpr const char* kOneEntry = R"(<root>
	<fragiles>
		<entry><filename>content/props/crate.model</filename><health>5</health></entry>
		<entry><filename>content/props/gone.model</filename><health>7</health></entry>
	</fragiles>
</root>
)";
  static constexpr const char* kNoEntry = R"(<root>
	<fragiles>
		<entry><filename>content/props/crate.model</filename><health>5</health></entry>
	</fragiles>
</root>
)";
};

TEST_F(AGoneModel, IsReadWithTheDefaultsOfALoad) {
  writeDatabase(R"(<root>
	<fragiles><entry><filename>f</filename></entry></fragiles>
	<fallingAtoms><entry><filename>a</filename></entry></fallingAtoms>
	<structures><entry><filename>s</filename><modules><module><matName>m</matName></module></modules></entry></structures>
</root>)");
  const KsDestructibleFragileDesc fragile = read("f").description.fragile.value();
  EXPECT_EQ(fragile.health, 5);
  EXPECT_EQ(fragile.effectScale, 1.0F);
  EXPECT_EQ(fragile.effect, "none");
  EXPECT_EQ(fragile.hitEffect, "");
  EXPECT_EQ(fragile.decayEffect, "none");
  const KsDestructibleFallingAtomDesc atom = read("a").description.fallingAtom.value();
  EXPECT_EQ(atom.health, 20);
  EXPECT_EQ(atom.physicParams, "200 3.2 0.03 150000 10000 0 0.05");
  EXPECT_EQ(atom.fractureEffect, "");
  const KsDestructibleModuleDesc module = read("s").description.modules.at("m");
  EXPECT_EQ(module.health, 80);
  EXPECT_EQ(module.ramEffect, "none");
  EXPECT_EQ(module.hitEffect, "");
}

// The same entries under two names: that of a model that is there and that of one that is not.
TEST_F(AGoneModel, IsDescribedAsASessionWouldIfItWereThere) {
  const std::string entries = R"(
	<fragiles>
		<entry><filename>NAME</filename><health>1</health><effect>fire</effect></entry>
		<entry><filename>NAME</filename><health>2</health><achievementTag>tag</achievementTag></entry>
	</fragiles>
	<fallingAtoms><entry><filename>NAME</filename><health>3</health></entry></fallingAtoms>
	<houses><entry><filename>NAME</filename><states><state><name>open</name><destroyedMaterials> n_wood
		</destroyedMaterials></state><state><destroyedMaterials>n_wood</destroyedMaterials></state></states></entry></houses>
)";
  const auto named = [&entries](const std::string& name) {
    std::string text = entries;
    for (std::size_t place = 0; (place = text.find("NAME", place)) != std::string::npos;)
      text.replace(place, 4, name);
    return text;
  };
  writeDatabase("<root>" + named(kCrate) + named(kGone) + "</root>");
  const GoneModel gone = read(kGone);
  EXPECT_TRUE(isSame(gone.description, open(kCrate)->description()));
  EXPECT_EQ(gone.description.category, DT_FRAGILE);
  EXPECT_EQ(gone.description.fragile.value().health, 2);
  EXPECT_TRUE(gone.description.states.contains("open"));
  EXPECT_THAT(gone.sections, testing::ElementsAre("fragiles", "fragiles", "fallingAtoms", "houses"));
}

TEST_F(AGoneModel, HasTheModulesAndTheTagOfTheLastEntryThatHasThem) {
  writeDatabase(R"(<root><structures>
	<entry><filename>gone</filename><achievementTag>first</achievementTag><modules><module><matName>a</matName></module></modules></entry>
	<entry><filename>gone</filename><achievementTag>second</achievementTag><states/></entry>
</structures></root>)");
  const Description description = read("gone").description;
  EXPECT_EQ(description.category, DT_STRUCTURE);
  EXPECT_EQ(description.achievementTag, "second");
  EXPECT_TRUE(description.modules.contains("a"));
}

TEST_F(AGoneModel, IsNoneThatARootHoldsOrThatTheDatabaseDoesNotName) {
  writeDatabase(kOneEntry);
  EXPECT_FALSE(readGoneModel(kCrate).has_value());
  EXPECT_FALSE(readGoneModel(kLamp).has_value());
  EXPECT_FALSE(readGoneModel("content/props/gone").has_value());
  EXPECT_FALSE(readGoneModel("content/props/gone.model ").has_value());
  EXPECT_FALSE(readGoneModel("").has_value());
  writeDatabase(
      "<root><fragiles/><trees><entry><filename>content/props/gone.model</filename></entry></trees>"
      "</root>");
  EXPECT_FALSE(readGoneModel(kGone).has_value());
  std::filesystem::remove(root_ / kDatabase);
  EXPECT_FALSE(readGoneModel(kGone).has_value());
}

TEST_F(AGoneModel, IsNoneInWhosePlaceTheRootsHoldSomethingUnusable) {
  writeDatabase(kOneEntry);
  std::filesystem::create_symlink("/etc/passwd", root_ / kGone);
  EXPECT_FALSE(readGoneModel(kGone).has_value());
  EXPECT_NE(faultText(removeGoneModel(kGone)), "");
  EXPECT_EQ(readDatabase(), kOneEntry);
}

TEST_F(AGoneModel, IsOneInWhosePlaceNoFileCanBe) {
  std::filesystem::create_directory(root_ / "content/folder.model");
  std::filesystem::create_symlink("nowhere", root_ / "content/link.model");
  const std::string longName = std::string(300, 'a') + ".model";
  const std::string hugeName = std::string(5000, 'a') + ".model";
  const std::pair<std::string, std::string> steps[] = {
      {"content/folder.model", "and what stands in its place is no regular file; take that away and import "},
      {"content/link.model", "and what stands in its place is a link to nothing; take that away and import "},
      {longName,
       "since that is too long a name; give the entries the <filename> of another model, or convert"},
      {hugeName,
       "since that is too long a name; give the entries the <filename> of another model, or convert"},
      {"content", "since that is not a model name, which must end in \".model\"; give the entries the "},
      {"a\nb.model",
       "since that is not a name that files can hold; give the entries the <filename> of another "}};
  for (const auto& [name, step] : steps) {
    writeDatabase("<root><fragiles><entry><filename>" + name + "</filename></entry></fragiles></root>");
    EXPECT_FALSE(readCatalogue()->at(0).hasModelFile.value()) << name;
    EXPECT_THAT(read(name).reason, testing::HasSubstr(step)) << name;
    EXPECT_FALSE(read(name).hasModelFile);
    EXPECT_EQ(refusalOf(name), read(name).reason);
    expectDone(removeGoneModel(name));
    EXPECT_EQ(readDatabase(), "<root><fragiles></fragiles></root>") << name;
  }
  EXPECT_TRUE(messages_.messages().empty());
}

TEST_F(AGoneModel, IsOneWithoutItsVisual) {
  const std::string database =
      "<root><fragiles><entry><filename>content/props/crate.model</filename></entry></fragiles></root>";
  const auto reasonOf = [&](const std::string& visual) {
    writeDatabase(database);
    root_.write(kCrate, "<root><visual>" + visual + "</visual></root>");
    const GoneModel gone = read(kCrate);
    EXPECT_TRUE(gone.hasModelFile);
    EXPECT_EQ(refusalOf(kCrate), gone.reason);
    expectDone(removeGoneModel(kCrate));
    EXPECT_EQ(readDatabase(), "<root><fragiles></fragiles></root>");
    return gone.reason;
  };
  const std::string step =
      "; import the model again (--force), or convert it to none, which removes its entries from "
      "scripts/destructibles.xml";
  EXPECT_EQ(reasonOf("content/gone.visual"),
            "the model \"content/props/crate.model\" names the visual "
            "\"content/gone.visual\", which no resource root holds" +
                step);
  EXPECT_EQ(reasonOf(""), "the model \"content/props/crate.model\" names no visual" + step);
  writeDatabase(
      "<root><fragiles><entry><filename>scripts/destructibles.xml</filename></entry></fragiles></root>");
  EXPECT_THAT(read("scripts/destructibles.xml").reason,
              testing::HasSubstr("names no visual; give the entries the <filename> of another model, or "));
  EXPECT_THAT(reasonOf("/etc/passwd"), testing::HasSubstr("names the visual \"/etc/passwd\", which no"));
  EXPECT_TRUE(messages_.messages().empty());
}

TEST_F(AGoneModel, IsNoneWhoseFilesCannotBeRead) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/crate.model</filename></entry></fragiles></root>");
  root_.write("content/props/crate.visual", "<broken");
  EXPECT_FALSE(readGoneModel(kCrate).has_value());
  root_.write(kCrate, "<broken");
  EXPECT_FALSE(readGoneModel(kCrate).has_value());
}

TEST_F(AGoneModel, IsNotSuggestedAnotherNameWhileTheDatabaseCannotBeRead) {
  writeDatabase("<root><fragiles>");
  EXPECT_EQ(
      refusalOf("content/props/crat.model"),
      "scripts/destructibles.xml:1:17: no element found (\"<fragiles>\" of line 1 has no end tag; perhaps "
      "the file was cut off); the file was not loaded; correct it there");
}

TEST_F(AGoneModel, ThatSeveralSectionsNameIsRefusedWithAllOfThem) {
  writeDatabase(
      "<root><fragiles><filename>gone.model</filename></fragiles><structures><filename>gone.model</filename>"
      "</structures></root>");
  EXPECT_EQ(refusalOf("gone.model"),
            "the resource roots hold no model \"gone.model\"; in scripts/destructibles.xml only the sections "
            "\"fragiles\" and \"structures\" themselves have that <filename>, which makes no entry; take it "
            "out of the file");
}

TEST_F(AGoneModel, LosesItsEntriesWithAllTheirBytesAndNothingElse) {
  const std::string head =
      "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<!DOCTYPE root>\r\n<root a = 'b'>\r\n  <!-- gone.model -->\r\n"
      "  <fragiles x='1'>\r\n    <entry><filename>other</filename ></entry>";
  const std::string tail =
      "\r\n    <!-- behind -->\r\n    <entry  ><filename>gone.model.bak</filename></entry>\r\n  </fragiles>"
      "\r\n  <trees><entry><filename>gone.model</filename></entry></trees>\r\n</root>\r\n<!-- end -->\r\n";
  writeDatabase(head +
                "\r\n    <thing kind='&lt;'>\r\n      <!-- mine -->\r\n      <filename> gone.model\r\n      "
                "</filename>\r\n      <unknown><deep/></unknown><?pi?>\r\n    </thing>" +
                tail);
  const auto removal = removeGoneModel("gone.model");
  expectDone(removal);
  EXPECT_EQ(readDatabase(), head + tail);
  EXPECT_EQ(removal->outcome.changes.at(0).before, "fragile");
  EXPECT_EQ(removal->outcome.changes.at(0).after, "none");
  EXPECT_THAT(removal->removed.sections, testing::ElementsAre("fragiles"));
  EXPECT_TRUE(messages_.messages().empty());
}

TEST_F(AGoneModel, TellsWhatItsEntriesHeld) {
  writeDatabase(kOneEntry);
  EXPECT_EQ(removeGoneModel(kGone)->removed.description.fragile.value().health, 7);
  EXPECT_EQ(readDatabase(), kNoEntry);
}

TEST_F(AGoneModel, OfANameThatNoImportTakesTellsItsValuesForAnotherName) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/crate</filename><health>3</health></entry></fragiles>"
      "</root>");
  EXPECT_THAT(removeGoneModel("content/crate")->outcome.warnings,
              testing::Contains(testing::StartsWith(
                  "thrown away (import it under another name and convert it to fragile first): set ")));
}

TEST_F(AGoneModel, IsRemovedFromWhatAnotherProgramIsJustSaving) {
  writeDatabase(kOneEntry);
  std::string saved = kOneEntry;
  saved.replace(saved.find("<health>7"), 9, "<health>8");
  saved.replace(saved.find("<health>5"), 9, "<health>6");
  const auto removal = [&] {
    const ProgramThatSaves other(root_, saved);
    return removeGoneModel(kGone);
  }();
  expectDone(removal);
  EXPECT_EQ(removal->removed.description.fragile.value().health, 8);
  std::string rest = kNoEntry;
  rest.replace(rest.find("<health>5"), 9, "<health>6");
  EXPECT_EQ(readDatabase(), rest);
}

TEST_F(AGoneModel, StaysWhileAnotherProgramDoesNotComeToAnEndWithItsSave) {
  writeDatabase(kOneEntry);
  const SavePatience patience(std::chrono::milliseconds(10));
  const auto other = files::FileLock::acquire(root_ / kDatabase, std::chrono::seconds(9));
  ASSERT_TRUE(other);
  EXPECT_THAT(
      faultText(removeGoneModel(kGone)),
      testing::EndsWith(" is saving it and does not come to an end; nothing was saved; wait until it has "
                        "ended and save again"));
  EXPECT_EQ(readDatabase(), kOneEntry);
}

TEST_F(AGoneModel, StaysWhenTheFileCannotBeWrittenAndCanBeRemovedLater) {
  writeDatabase(kOneEntry);
  {
    const support::FullDisk disk;
    EXPECT_THAT(
        faultText(removeGoneModel(kGone)),
        testing::EndsWith("File too large; the old file is whole; raise the limit on the size of files "
                          "and save again"));
  }
  EXPECT_EQ(readDatabase(), kOneEntry);
  EXPECT_TRUE(readGoneModel(kGone).has_value());
  // The failed removal is in nobody's later save.
  const auto crate = open(kCrate);
  expectDone(crate->set({{"health", "9"}}));
  expectDone(crate->save());
  EXPECT_THAT(readDatabase(), testing::HasSubstr(kGone));
  expectDone(removeGoneModel(kGone));
  EXPECT_THAT(readDatabase(), testing::Not(testing::HasSubstr(kGone)));
}

TEST_F(AGoneModel, LeavesTheUnsavedEditsOfASessionOnAnotherModel) {
  writeDatabase(kOneEntry);
  const auto crate = open(kCrate);
  expectDone(crate->set({{"health", "9"}}));
  expectDone(removeGoneModel(kGone));
  EXPECT_EQ(readDatabase(), kNoEntry);
  EXPECT_EQ(crate->description().fragile.value().health, 9);
  expectDone(crate->save());
  EXPECT_THAT(readDatabase(), testing::AllOf(testing::HasSubstr("<health>9</health>"),
                                             testing::Not(testing::HasSubstr(kGone))));
}

TEST_F(AGoneModel, IsNotRemovedWithinAGroupOfSaves) {
  writeDatabase(kOneEntry);
  {
    const SaveGroup group;
    EXPECT_EQ(faultText(removeGoneModel(kGone)),
              "the program has a group of saves open, so nothing was removed; close that first");
  }
  EXPECT_EQ(readDatabase(), kOneEntry);
}

TEST_F(AGoneModel, IsNotRemovedWhileASessionHasItOpen) {
  writeDatabase(kOneEntry);
  auto crate = open(kCrate);
  std::filesystem::remove(root_ / kCrate);
  EXPECT_EQ(faultText(removeGoneModel(kCrate)),
            "the model \"content/props/crate.model\" is open in this program; convert it there, or close it "
            "first");
  EXPECT_EQ(readDatabase(), kOneEntry);
  crate.reset();
  expectDone(removeGoneModel(kCrate));
  EXPECT_THAT(readDatabase(), testing::Not(testing::HasSubstr(kCrate)));
}

TEST_F(AGoneModel, IsTheOnlyOneThatIsRemoved) {
  writeDatabase(kOneEntry);
  for (const char* const name : {kCrate, kLamp, "nothing", ""})
    EXPECT_THAT(faultText(removeGoneModel(name)), testing::HasSubstr("nothing was removed")) << name;
  EXPECT_EQ(readDatabase(), kOneEntry);
  writeDatabase("<root><fragiles></root>");
  EXPECT_EQ(faultText(removeGoneModel(kGone)),
            "scripts/destructibles.xml:1:19: mismatched tag (the innermost open element is \"<fragiles>\" of "
            "line 1: "
            "write \"</fragiles>\" first); the file was not loaded; correct it there");
}

TEST_F(AGoneModel, IsListedWithoutAModelFileThoughOneOfAnotherSpellingExists) {
  writeDatabase(
      "<root><fragiles><entry><filename>./content/props/crate.model</filename></entry></fragiles></root>");
  EXPECT_FALSE(readCatalogue()->at(0).hasModelFile.value());
  EXPECT_EQ(
      refusalOf("./content/props/crate.model"),
      "the model name \"./content/props/crate.model\" is spelled \"content/props/crate.model\" in the "
      "database, so the entries that scripts/destructibles.xml has under it are no model's; use another "
      "name, or convert this one to none, which removes them");
}

}  // namespace
}  // namespace Tal::authoring
