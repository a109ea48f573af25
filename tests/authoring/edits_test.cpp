#include <authoring/session_fixture.h>

#include <clocale>
#include <tuple>

namespace Tal::authoring {
namespace {

using Assignments = std::vector<Assignment>;

/// A fragile, a falling atom and a structure in the file.
class Edits : public SessionTest {
 protected:
  Edits() {
    writeDatabase(R"(<root>
	<fragiles>
		<entry>
			<filename>content/props/crate.model</filename>
			<health>5</health>
			<matName>n_wood</matName>
		</entry>
	</fragiles>
	<fallingAtoms>
		<entry>
			<filename>content/street/lamp.model</filename>
		</entry>
	</fallingAtoms>
	<structures>
		<entry>
			<filename>content/buildings/house.model</filename>
			<modules/>
		</entry>
	</structures>
</root>
)");
  }

  /// Expects that a fragile refuses assignments as a whole; the reason.
  std::string refusalOfCrate(const Assignments& assignments) {
    const auto session = open(kCrate);
    const Result<Outcome> outcome = session->set(assignments);
    EXPECT_FALSE(outcome);
    EXPECT_FALSE(session->hasUnsavedEdits());
    return faultText(outcome);
  }
};

TEST_F(Edits, SetEveryFieldOfAFragileByItsKey) {
  const auto session = open(kCrate);
  const Result<Outcome> outcome = session->set({{"health", "35"},
                                                {"effectScale", "1.5"},
                                                {"effectHP", "HP_top"},
                                                {"achievementTag", "crates"},
                                                {"matName", "d_wood"},
                                                {"effect", "a"},
                                                {"hitEffect", "b"},
                                                {"decayEffect", "c"},
                                                {"lifetimeEffect", "d"}});
  expectDone(outcome);
  EXPECT_TRUE(outcome->warnings.empty());
  EXPECT_EQ(outcome->changes.size(), 9U);
  const KsDestructibleFragileDesc fragile = session->description().fragile.value();
  EXPECT_EQ(fragile.health, 35);
  EXPECT_EQ(fragile.effectScale, 1.5F);
  EXPECT_EQ(fragile.effectHP, "HP_top");
  EXPECT_EQ(fragile.achievementTag, "crates");
  EXPECT_EQ(fragile.matName, "d_wood");
  EXPECT_EQ(fragile.effect, "a");
  EXPECT_EQ(fragile.hitEffect, "b");
  EXPECT_EQ(fragile.decayEffect, "c");
  EXPECT_EQ(fragile.lifetimeEffect, "d");
  EXPECT_TRUE(session->hasUnsavedEdits());
}

TEST_F(Edits, SetEveryFieldOfAFallingAtomByItsKey) {
  const auto session = open(kLamp);
  const Result<Outcome> outcome = session->set({{"health", "7"},
                                                {"effectScale", "0.25"},
                                                {"physicParams", "1 2 3 4 5 6 7"},
                                                {"achievementTag", "lamps"},
                                                {"lifetimeEffect", "a"},
                                                {"fractureEffect", "b"},
                                                {"touchdownEffect", "c"},
                                                {"touchdownBreakEffect", "d"}});
  expectDone(outcome);
  EXPECT_TRUE(outcome->warnings.empty());
  const KsDestructibleFallingAtomDesc atom = session->description().fallingAtom.value();
  EXPECT_EQ(atom.health, 7);
  EXPECT_EQ(atom.effectScale, 0.25F);
  EXPECT_EQ(atom.physicParams, "1 2 3 4 5 6 7");
  EXPECT_EQ(atom.achievementTag, "lamps");
  EXPECT_EQ(atom.lifetimeEffect, "a");
  EXPECT_EQ(atom.fractureEffect, "b");
  EXPECT_EQ(atom.touchdownEffect, "c");
  EXPECT_EQ(atom.touchdownBreakEffect, "d");
}

TEST_F(Edits, SetEveryFieldOfAModuleByItsKey) {
  const auto session = open(kHouse);
  const Result<Outcome> outcome = session->setModule("n_wall_1", {{"health", "7"},
                                                                  {"effectScale", "2"},
                                                                  {"effectHP", "HP_wall_2"},
                                                                  {"ramEffect", "a"},
                                                                  {"hitEffect", ""},
                                                                  {"decayEffect", "c"}});
  expectDone(outcome);
  const KsDestructibleModuleDesc module = session->description().modules.at("n_wall_1");
  EXPECT_EQ(module.health, 7);
  EXPECT_EQ(module.effectScale, 2.0F);
  EXPECT_EQ(module.effectHP, "HP_wall_2");
  EXPECT_EQ(module.ramEffect, "a");
  EXPECT_EQ(module.hitEffect, "");
  EXPECT_EQ(module.decayEffect, "c");
}

TEST_F(Edits, SayWhatChangedFromWhatToWhat) {
  const auto session = open(kCrate);
  const Result<Outcome> outcome =
      session->set({{"health", "35"}, {"effect", "none"}, {"effectScale", "1.5"}});
  ASSERT_EQ(outcome->changes.size(), 2U);
  EXPECT_EQ(outcome->changes[0].key, "health");
  EXPECT_EQ(outcome->changes[0].before, "5");
  EXPECT_EQ(outcome->changes[0].after, "35");
  EXPECT_EQ(outcome->changes[1].key, "effectScale");
  EXPECT_EQ(outcome->changes[1].before, "1");
  EXPECT_EQ(outcome->changes[1].after, "1.5");
}

TEST_F(Edits, RefuseAnUnknownKeyWithTheNearest) {
  EXPECT_EQ(refusalOfCrate({{"helth", "3"}}), "a fragile has no key \"helth\"; did you mean \"health\"?");
  EXPECT_EQ(
      refusalOfCrate({{"filename", "x"}}),
      "a fragile has no key \"filename\"; there are \"health\", \"effectScale\", \"effectHP\" and 12 more");
}

TEST_F(Edits, AreMadeAllOrNone) {
  const auto session = open(kCrate);
  EXPECT_FALSE(session->set({{"health", "35"}, {"effectScale", "big"}}));
  EXPECT_EQ(session->description().fragile.value().health, 5);
}

TEST_F(Edits, RefuseAKeyThatIsGivenTwice) {
  EXPECT_EQ(refusalOfCrate({{"health", "1"}, {"health", "2"}}),
            "the key \"health\" is given twice; give it once");
}

TEST_F(Edits, RefuseAHealthThatIsNo32BitInteger) {
  for (const char* const text :
       {"", "x", "1.5", "1 2", "0x10", "2147483648", "-2147483649", "99999999999999999999", "nan", "1e3"}) {
    EXPECT_EQ(refusalOfCrate({{"health", text}}),
              "health: \"" + std::string(text) + "\" is not a whole number from -2147483648 to 2147483647");
  }
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "-2147483648"}}));
  EXPECT_EQ(session->description().fragile.value().health, -2147483647 - 1);
}

TEST_F(Edits, RefuseAScaleThatIsNoFiniteNumber) {
  for (const char* const text : {"", "x", "1,5", "nan", "inf", "-inf", "1e39", "1.5 2"})
    EXPECT_THAT(refusalOfCrate({{"effectScale", text}}), testing::StartsWith("effectScale: \""));
}

TEST_F(Edits, ReadNumbersTheSameInEveryLocale) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  for (const char* const name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C"}) {
    std::setlocale(LC_NUMERIC, name);  // where it is not installed, the locale stays as it is
    const auto session = open(kCrate);
    expectDone(session->set({{"effectScale", "2.5"}}));
    EXPECT_EQ(session->description().fragile.value().effectScale, 2.5F);
  }
  std::setlocale(LC_NUMERIC, before.c_str());
}

TEST_F(Edits, SayThatAScaleTooNearTheStoredOneIsNotKept) {
  EXPECT_EQ(
      refusalOfCrate({{"effectScale", "1.0003"}}),
      "effectScale: 1.0003 differs from 1 by less than 0.0004, which is not stored; set a value that is "
      "farther away");
}

TEST_F(Edits, KeepANearScaleBesideAnotherChange) {
  const auto session = open(kCrate);
  expectDone(session->set({{"effectScale", "1.0003"}, {"health", "6"}}));
  EXPECT_EQ(session->description().fragile.value().effectScale, 1.0003F);
}

TEST_F(Edits, ChangeNothingWhenTheValuesAreSoAlready) {
  const auto session = open(kCrate);
  const Result<Outcome> outcome = session->set({{"health", "5"}, {"effectScale", "1"}});
  expectDone(outcome);
  EXPECT_TRUE(outcome->changes.empty());
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(Edits, RefuseWhatXmlCannotHold) {
  EXPECT_EQ(refusalOfCrate({{"effect", "a\x01"}}),
            "effect: the value \"a\\x01\" holds a control character or is not UTF-8, which XML cannot hold");
  EXPECT_THAT(refusalOfCrate({{"effect", "\xff"}}), testing::HasSubstr("not UTF-8"));
  EXPECT_THAT(refusalOfCrate({{"effect", "\xed\xa0\x80"}}), testing::HasSubstr("not UTF-8"));
}

TEST_F(Edits, KeepTheSpecialCharactersOfXml) {
  const std::string hostile = "<a&b>\"'%s%n]]>\xc3\xa4";
  {
    const auto session = open(kCrate);
    expectDone(session->set({{"effect", hostile}, {"achievementTag", hostile}}));
    expectDone(session->save());
  }
  const KsDestructibleFragileDesc fragile = open(kCrate)->description().fragile.value();
  EXPECT_EQ(fragile.effect, hostile);
  EXPECT_EQ(fragile.achievementTag, hostile);
}

TEST_F(Edits, WarnThatWhiteSpaceAroundAValueIsNotKept) {
  const auto session = open(kCrate);
  const Result<Outcome> outcome = session->set({{"effect", " smoke \t"}});
  expectDone(outcome);
  EXPECT_THAT(outcome->warnings,
              testing::ElementsAre("effect: the white space around the value is not kept"));
  EXPECT_EQ(session->description().fragile.value().effect, "smoke");
}

TEST_F(Edits, RefuseAMaterialNameThatTheModelLacks) {
  EXPECT_EQ(refusalOfCrate({{"matName", "n_woot"}}),
            "matName: the model has no material \"n_woot\"; did you mean \"n_wood\"?");
  const auto session = open(kCrate);
  expectDone(session->set({{"matName", ""}}));
}

TEST_F(Edits, WarnOfAHardPointThatTheModelLacks) {
  const auto session = open(kCrate);
  const Result<Outcome> outcome = session->set({{"effectHP", "HP_tpo"}});
  expectDone(outcome);
  EXPECT_THAT(
      outcome->warnings,
      testing::ElementsAre("effectHP: the model has no hard point \"HP_tpo\"; did you mean \"HP_top\"?"));
  EXPECT_EQ(session->description().fragile.value().effectHP, "HP_tpo");
}

TEST_F(Edits, WarnOfPhysicParametersThatAreNotSevenNumbers) {
  const auto session = open(kLamp);
  for (const char* const text : {"1 2 3 4 5 6", "1 2 3 4 5 6 x", "1 2 3 4 5 6 7 8", ""}) {
    const Result<Outcome> outcome = session->set({{"physicParams", text}});
    expectDone(outcome);
    EXPECT_THAT(outcome->warnings,
                testing::ElementsAre(
                    "physicParams: \"" + std::string(text) +
                    "\" is not seven numbers with spaces between them, which the game expects; give seven"));
    EXPECT_EQ(session->description().fallingAtom.value().physicParams, text);
  }
}

TEST_F(Edits, WarnThatTheTagNoneStandsForNoTag) {
  for (const char* const model : {kCrate, kLamp, kHouse}) {
    const Result<Outcome> outcome = open(model)->set({{"achievementTag", "none"}});
    EXPECT_THAT(outcome->warnings,
                testing::ElementsAre("achievementTag: \"none\" stands for no tag and is not stored"));
  }
}

TEST_F(Edits, RefuseAModuleThatTheStructureLacks) {
  const auto session = open(kHouse);
  EXPECT_EQ(faultText(session->setModule("n_wal_1", {{"health", "1"}})),
            "\"content/buildings/house.model\" has no module \"n_wal_1\"; did you mean \"n_wall_1\"?");
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(Edits, RefuseAModuleThatASaveWouldDrop) {
  const auto session = open(kHouse);
  EXPECT_EQ(
      faultText(session->setModule("n_roof_3_1", {{"health", "1"}})),
      "module \"n_roof_3_1\" cannot be saved: the model has no BSP material of that name; import it with "
      "one");
  EXPECT_EQ(
      faultText(session->setModule("n_window_5", {{"health", "1"}})),
      "module \"n_window_5\" cannot be saved: its material kind 75 is that of module \"n_wall_2\"; give "
      "the materials different kinds");
}

TEST_F(Edits, RefuseModulesOfWhatIsNoStructure) {
  EXPECT_EQ(faultText(open(kCrate)->setModule("n_wood", {{"health", "1"}})),
            "\"content/props/crate.model\" is no structure and has no modules; convert it first");
}

TEST_F(Edits, PointToTheModulesWhenAStructureIsGivenTheirKeys) {
  const auto session = open(kHouse);
  EXPECT_EQ(faultText(session->set({{"health", "1"}})),
            "a structure has no health of its own, its modules have; name the module");
  EXPECT_EQ(faultText(session->set({{"achievmentTag", "x"}})),
            "a structure has no key \"achievmentTag\"; did you mean \"achievementTag\"?");
}

TEST_F(Edits, RefuseToSetAnythingOfAModelWithoutACategory) {
  writeDatabase("<root/>");
  EXPECT_EQ(faultText(open(kCrate)->set({{"health", "1"}})),
            "\"content/props/crate.model\" is not destructible and has nothing to set; convert it first");
}

TEST_F(Edits, OfAVariantNameTheModelToConvertInstead) {
  support::writeModel(root_, "content/lod1/crate", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  writeDatabase(
      "<root><fragiles><entry><filename>content/lod1/crate.model</filename></entry></fragiles></root>");
  const auto session = open("content/lod1/crate.model");
  const std::string reason =
      "\"content/lod1/crate.model\" is a variant (in a folder lod1, lod2, crash or merged); variants have no "
      "category of their own; convert the model that it is a variant of";
  EXPECT_EQ(faultText(session->set({{"health", "1"}})), reason);
  EXPECT_EQ(faultText(session->setModule("n_wood", {{"health", "1"}})), reason);
  EXPECT_EQ(faultText(session->addState("open")), reason);
  EXPECT_THAT(session->sections(), testing::ElementsAre("fragiles"));
}

TEST_F(Edits, TellOfATagOfNoneAsTheOneThatIsStored) {
  const auto changes = [](const Result<Outcome>& outcome) {
    std::string text;
    for (const ValueChange& change : outcome->changes)
      text += change.key + ":" + change.before + ">" + change.after;
    return text;
  };
  for (const KsDestructibleType category : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS}) {
    writeDatabase("<root/>");
    const auto session = open(kCrate);
    expectDone(session->convert(category));
    EXPECT_EQ(changes(session->set({{"achievementTag", "none"}})), "");
    expectDone(session->save());
    expectDone(session->set({{"achievementTag", "none"}}));
    EXPECT_FALSE(session->hasUnsavedEdits());
    EXPECT_EQ(changes(session->set({{"achievementTag", "old"}})), "achievementTag:>old");
    EXPECT_EQ(changes(session->set({{"achievementTag", "none"}})), "achievementTag:old>");
    expectDone(session->save());
    EXPECT_THAT(readDatabase(), testing::Not(testing::HasSubstr("achievementTag")));
  }
}

using Conversion = Edits;

TEST_F(Conversion, MakesTheEntryWithTheEstimatedHealth) {
  const auto session = open(kHouse);
  const Result<Outcome> outcome = session->convert(DT_FRAGILE);
  expectDone(outcome);
  ASSERT_EQ(outcome->changes.size(), 1U);
  EXPECT_EQ(outcome->changes[0].before, "structure");
  EXPECT_EQ(outcome->changes[0].after, "fragile");
  EXPECT_EQ(session->description().fragile.value().health, 20);
  EXPECT_TRUE(session->isMissingInDatabase());
  EXPECT_TRUE(session->hasUnsavedEdits());
}

TEST_F(Conversion, ToTheSameCategoryChangesNothing) {
  const auto session = open(kCrate);
  const Result<Outcome> outcome = session->convert(DT_FRAGILE);
  expectDone(outcome);
  EXPECT_TRUE(outcome->changes.empty());
  EXPECT_TRUE(messages_.messages().empty());
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(Conversion, OfAVariantIsRefusedWithAnExplanation) {
  for (const char* const folder : {"lod1", "lod2", "crash", "merged"}) {
    const std::string stem = std::string("content/") + folder + "/crate";
    support::writeModel(root_, stem, {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
    const auto session = open(stem + ".model");
    for (const KsDestructibleType category : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS}) {
      EXPECT_EQ(
          faultText(session->convert(category)),
          "\"" + stem +
              ".model\" is a variant (in a folder lod1, lod2, crash or merged); variants have no category "
              "of their own; convert the model that it is a variant of");
    }
    EXPECT_EQ(session->category(), DT_NON_DESTRUCTIBLE);
  }
}

TEST_F(Conversion, ToAStructureIsRefusedWithoutAPartThatCouldBreak) {
  support::writeModel(root_, "content/ruin",
                      {.materials = {{"d_wall_1", 88}, {"d_wall_2", 89}, {"glass", 0}}});
  const auto ruin = open("content/ruin.model");
  EXPECT_EQ(ruin->suggestedCategory(), DT_STRUCTURE);
  EXPECT_EQ(
      faultText(ruin->convert(DT_STRUCTURE)),
      "\"content/ruin.model\" cannot be a structure, since it would have no modules and could not break: "
      "none is an undamaged part (kinds 73 to 86); it has \"d_wall_1\", \"d_wall_2\" and \"glass\": import "
      "it "
      "again with --kind glass=73 --force");
  EXPECT_EQ(ruin->category(), DT_NON_DESTRUCTIBLE);
  EXPECT_FALSE(ruin->hasUnsavedEdits());
  expectDone(ruin->convert(DT_FALLING_ATOMS));
}

// Of names that hold "s_" the undamaged look of falling atoms alone shows the materials, so the estimates of
// the categories differ.
TEST_F(Conversion, OfAModelOfStaticNamesIsDoneFromEveryCategoryToEveryOther) {
  support::writeModel(root_, "content/gatesandfences/fence",
                      {.materials = {{"n_planks_wood", 73}}, .bsp = {"n_planks_wood"}, .corner = "2 2 2"});
  support::writeModel(root_, "content/hall",
                      {.materials = {{"n_wall_1", 74}, {"n_glass_2", 75}, {"n_roof_3", 76}},
                       .bsp = {"n_wall_1", "n_glass_2", "n_roof_3"},
                       .corner = "2 2 2"});
  for (const char* const model : {"content/gatesandfences/fence.model", "content/hall.model"}) {
    const auto session = open(model);
    for (const KsDestructibleType from : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS, DT_NON_DESTRUCTIBLE}) {
      for (const KsDestructibleType to : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS}) {
        expectDone(session->convert(from));
        expectDone(session->convert(to));
        expectDone(session->convert(DT_NON_DESTRUCTIBLE));
      }
    }
  }
}

TEST_F(Conversion, ToAStructureOfOneThatIsSavedAsOneIsNotRefused) {
  support::writeModel(root_, "content/ruin", {.materials = {{"d_wall_1", 88}}});
  writeDatabase(
      "<root><structures><entry><filename>content/ruin.model</filename><modules/></entry></structures></"
      "root>");
  expectDone(open("content/ruin.model")->convert(DT_STRUCTURE));
}

TEST_F(Conversion, OfAVariantToNoneCleansItsEntries) {
  support::writeModel(root_, "content/lod1/crate", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  writeDatabase(
      "<root>\n\t<fragiles>\n\t\t<entry>\n\t\t\t<filename>content/lod1/crate.model</filename>\n\t\t</entry>\n"
      "\t</fragiles>\n</root>\n");
  const auto session = open("content/lod1/crate.model");
  EXPECT_EQ(session->category(), DT_NON_DESTRUCTIBLE);
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  expectDone(session->save());
  EXPECT_THAT(readDatabase(), testing::Not(testing::HasSubstr("crate")));
}

TEST_F(Conversion, OfAModelWhoseNameTheDatabaseCannotHoldIsRefused) {
  for (const std::string stem : {"content/a\x01", " content/a", "content/a\xff"}) {
    support::writeModel(root_, "content/plain", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
    std::filesystem::create_directories((root_ / stem).parent_path());
    std::filesystem::copy_file(root_ / "content/plain.model", root_ / (stem + ".model"));
    const auto session = open(stem + ".model");
    EXPECT_THAT(faultText(session->convert(DT_FRAGILE)), testing::HasSubstr("cannot stand in the database"));
    EXPECT_THAT(faultText(session->save()), testing::HasSubstr("cannot stand in the database"));
  }
}

}  // namespace
}  // namespace Tal::authoring
