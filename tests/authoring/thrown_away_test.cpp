#include <authoring/program_that_saves.h>
#include <authoring/session_fixture.h>
#include <authoring/thrown_away.h>
#include <resources/save_group.h>

#include <algorithm>
#include <iterator>

namespace Tal::authoring {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ThrownAwayValues : public SessionTest {
 protected:
  /// What a conversion, which must be done, and the save after it throw away.
  static std::vector<std::string> of(Session& session, KsDestructibleType category) {
    Result<Outcome> outcome = session.convert(category);
    expectDone(outcome);
    std::ranges::move(ofSave(session), std::back_inserter(outcome->warnings));
    return outcome->warnings;
  }

  static std::vector<std::string> ofSave(Session& session) {
    std::vector<std::string> lines;
    for (const SaveWarning& warning : saveWarningsOf(session))
      if (warning.code == SaveWarning::Code::thrownAway) lines.push_back(warning.text);
    return lines;
  }

  /// What a conversion of the model of that name throws away with these sections of the file.
  std::vector<std::string> ofFile(const std::string& sections, KsDestructibleType category,
                                  const char* model = kCrate) const {
    writeDatabase("<root>" + sections + "</root>");
    return of(*open(model), category);
  }

  static std::string entry(const std::string& content, const char* model = kCrate) {
    return "<entry><filename>" + std::string(model) + "</filename>" + content + "</entry>";
  }

  static constexpr const char* kFlag = "content/flag.model";  // without an undamaged part

  ThrownAwayValues() { support::writeModel(root_, "content/flag", {.materials = {{"d_cloth", 87}}}); }

  static std::unique_ptr<Session> opened(const char* model, KsDestructibleType category) {
    auto session = open(model);
    expectDone(session->convert(category));
    return session;
  }
};

TEST_F(ThrownAwayValues, AreNoneOfAnEntryAsItWasMade) {
  support::writeModel(root_, "content/gatesandfences/gate",
                      {.materials = {{"n_brick_1", 74}, {"n_tin_2", 75}},
                       .bsp = {"n_brick_1"},
                       .nodes = {"HP_a"},
                       .corner = "2 2 2"});
  for (const char* const model : {kHouse, kCrate, kLamp, "content/gatesandfences/gate.model"}) {
    for (const KsDestructibleType from : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS}) {
      for (const KsDestructibleType to : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS, DT_NON_DESTRUCTIBLE}) {
        const auto session = opened(model, from);
        const std::size_t messageCount = messages_.messages().size();
        EXPECT_THAT(of(*session, to), IsEmpty()) << model << ' ' << from << ' ' << to;
        if (to == DT_NON_DESTRUCTIBLE) {
          EXPECT_EQ(messages_.messages().size(), messageCount) << model;
        }
        expectDone(session->convert(from));
        EXPECT_THAT(session->reset()->warnings, IsEmpty()) << model << ' ' << from;
      }
    }
  }
}

TEST_F(ThrownAwayValues, AreNoneOfASavedEntryAsItWasMadeWhateverTheModelBecomes) {
  for (const char* const model : {kHouse, kCrate, kLamp}) {
    for (const KsDestructibleType from : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS}) {
      for (const KsDestructibleType to : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS, DT_NON_DESTRUCTIBLE}) {
        const auto session = opened(model, from);
        expectDone(session->save());
        EXPECT_THAT(of(*session, to), IsEmpty()) << model << ' ' << from << ' ' << to;
      }
    }
  }
}

TEST_F(ThrownAwayValues, OfAFragileAreGivenAsOneCommand) {
  const auto session = opened(kCrate, DT_FRAGILE);
  expectDone(session->set({{"health", "12"},
                           {"effectScale", "1.5"},
                           {"effectHP", ""},
                           {"achievementTag", "it's broken"},
                           {"matName", "d_wood"},
                           {"effect", "none"}}));
  EXPECT_THAT(
      of(*session, DT_NON_DESTRUCTIBLE),
      ElementsAre("thrown away (convert it to fragile first): set content/props/crate.model health=12 "
                  "effectScale=1.5 effectHP= "
                  "'achievementTag=it'\\''s broken' matName=d_wood effect=none"));
}

TEST_F(ThrownAwayValues, AreThoseOfEveryEntryEachWithTheCategoryThatTheyAreOf) {
  const std::string file = "<fragiles>" + entry("<health>12</health>") + "</fragiles><fallingAtoms>" +
                           entry("<health>21</health>") + "</fallingAtoms><structures>" +
                           entry(
                               "<states><state><name>open</name><destroyedMaterials>n_wood "
                               "</destroyedMaterials></state></states>") +
                           "</structures>";
  EXPECT_THAT(
      ofFile(file, DT_NON_DESTRUCTIBLE),
      ElementsAre(
          "thrown away (convert it to fragile first): set content/props/crate.model health=12 effectHP= "
          "matName= effect=none hitEffect=",
          "thrown away (convert it to falling-atom first): set content/props/crate.model health=21 "
          "fractureEffect= touchdownEffect= touchdownBreakEffect=",
          "thrown away (convert it to structure first): state content/props/crate.model add open",
          "thrown away (convert it to structure first): state content/props/crate.model add-material open "
          "n_wood"));
  EXPECT_THAT(ofFile(file, DT_FALLING_ATOMS),
              ElementsAre(HasSubstr("health=12"), HasSubstr("add open"), HasSubstr("add-material open")))
      << "the falling atom that is there is taken";
  writeDatabase("<root>" + file + "</root>");
  const auto fragile = open(kCrate);
  EXPECT_THAT(ofSave(*fragile),
              ElementsAre(HasSubstr("health=21"), HasSubstr("add open"), HasSubstr("add-material open")))
      << "also when the category stays";
}

TEST_F(ThrownAwayValues, OfAFileAreNamedOnceByTheSaveAloneAndNotByARefusedOne) {
  writeDatabase("<root><fragiles>" + entry("<health>12</health>") + "</fragiles></root>");
  const auto session = open(kCrate);
  EXPECT_THAT(session->convert(DT_NON_DESTRUCTIBLE)->warnings, IsEmpty());
  {
    const SaveGroup group;
    EXPECT_FALSE(session->save());
  }
  EXPECT_THAT(session->save()->warnings, ElementsAre(HasSubstr("health=12")));
  EXPECT_THAT(session->save()->warnings, IsEmpty());
}

TEST_F(ThrownAwayValues, AreAlsoThoseThatAnotherProgramIsJustSaving) {
  const std::string before = "<root><fragiles>" + entry("<health>12</health>") + "</fragiles></root>";
  writeDatabase(before);
  const auto session = open(kCrate);
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  const auto outcome = [&] {
    const ProgramThatSaves other(
        root_,
        "<root><fragiles>" + entry("<health>77</health><effect>theirs</effect>") + "</fragiles></root>");
    return session->save();
  }();
  expectDone(outcome);
  EXPECT_THAT(outcome->warnings,
              ElementsAre(testing::AllOf(HasSubstr("health=77"), HasSubstr("effect=theirs"))));
}

TEST_F(ThrownAwayValues, OfAnEntryThatDidNotCountAreMarkedAsSuch) {
  const std::string file = "<fragiles>" + entry("<health>9</health><effect>old</effect>") +
                           entry("<health>10</health>") + "</fragiles>";
  const std::string values = "set content/props/crate.model health=9 effect=old";
  EXPECT_THAT(ofFile(file, DT_NON_DESTRUCTIBLE),
              ElementsAre(HasSubstr("health=10"),
                          "thrown away (another entry; convert it to fragile first): " + values));
  writeDatabase("<root>" + file + "</root>");
  const auto session = open(kCrate);
  EXPECT_THAT(ofSave(*session), ElementsAre("thrown away (another entry): " + values));
  expectDone(session->save());
  EXPECT_THAT(ofSave(*session), IsEmpty());
  EXPECT_EQ(session->description().fragile.value().health, 10);
}

TEST_F(ThrownAwayValues, OfTwoEntriesWithTheSameStateAreCommandsThatReplaceIt) {
  const auto states = [](const std::string& materials) {
    return entry("<states><state><name>open</name><destroyedMaterials>" + materials +
                     "</destroyedMaterials></state></states>",
                 kHouse);
  };
  EXPECT_THAT(ofFile("<structures>" + states("n_wall_1") + states("n_wall_2") + "</structures>",
                     DT_NON_DESTRUCTIBLE, kHouse),
              testing::IsSupersetOf({"thrown away (another entry; convert it to structure first): state "
                                     "content/buildings/house.model remove open",
                                     "thrown away (another entry; convert it to structure first): state "
                                     "content/buildings/house.model add-material open n_wall_1"}));
}

TEST_F(ThrownAwayValues, AreToldInWordsWhereNoLoadTakesThem) {
  EXPECT_THAT(
      ofFile("<fragiles>" + entry("<health>12hp</health><note>ask</note><group><x/></group>") + "</fragiles>",
             DT_NON_DESTRUCTIBLE),
      testing::IsSupersetOf({"the key \"note\" (\"ask\") of the entry in \"fragiles\" is not kept",
                             "the key \"group\" of the entry in \"fragiles\" is not kept",
                             "the health \"12hp\" of the entry in \"fragiles\" is no whole number and "
                             "is not kept"}));
  EXPECT_THAT(ofFile("<houses>" +
                         entry("<note>ask</note><modules><module><matName>n_wood</matName>"
                               "<foo>bar</foo></module><module><health>4</health></module></modules>") +
                         "</houses>",
                     DT_FRAGILE),
              testing::IsSupersetOf({"the key \"note\" (\"ask\") of the entry in \"houses\" is not kept",
                                     "the key \"foo\" (\"bar\") of module \"n_wood\" is not kept",
                                     "a module without a \"matName\" is not kept"}));
}

TEST_F(ThrownAwayValues, ThatTheModelLacksStandInACommandOfTheirOwn) {
  EXPECT_THAT(
      ofFile("<fragiles>" + entry("<health>12</health><matName>n_renamed</matName>") + "</fragiles>",
             DT_NON_DESTRUCTIBLE),
      ElementsAre(
          "thrown away (convert it to fragile first): set content/props/crate.model health=12 effectHP= "
          "effect=none hitEffect=",
          "thrown away (import it with that material and convert it to fragile first): set "
          "content/props/crate.model matName=n_renamed"));
}

TEST_F(ThrownAwayValues, OfStatesTakeNoMaterialWithOneThatIsRefused) {
  const std::string states =
      "<modules/><states><state><name>a</name><destroyedMaterials>n_wall_1 lintel n_wall_2 n_wall_1"
      "</destroyedMaterials></state><state><name>b</name><destroyedMaterials>s_ground n_wall_1"
      "</destroyedMaterials></state><state><name>destroyed</name><destroyedMaterials>n_wall_1 n_wall_2"
      "</destroyedMaterials></state></states>";
  const std::string state =
      "thrown away (convert it to structure first): state content/buildings/house.model ";
  EXPECT_THAT(
      ofFile("<structures>" + entry(states, kHouse) + "</structures>", DT_NON_DESTRUCTIBLE, kHouse),
      ElementsAre(state + "add a",
                  "the state \"a\" listed a material more than once: \"n_wall_1\"; commands give it "
                  "back once",
                  state + "add-material a n_wall_1 n_wall_2",
                  "thrown away (import it with that material and convert it to structure first): "
                  "state content/buildings/house.model add-material a lintel",
                  state + "add b", state + "add-material b s_ground n_wall_1 --force",
                  "the state \"destroyed\" cannot be given back, since a built-in state has its name; "
                  "it listed \"n_wall_1\", \"n_wall_2\""));
}

TEST_F(ThrownAwayValues, AreNoScalesThatAnEditTakesAsEqual) {
  const auto session = opened(kCrate, DT_FRAGILE);
  expectDone(session->set({{"health", "3"}, {"effectScale", "1.0002"}}));
  EXPECT_THAT(
      session->convert(DT_STRUCTURE)->warnings,
      ElementsAre("thrown away (convert it to fragile first): set content/props/crate.model health=3"));
}

TEST_F(ThrownAwayValues, OfAFileGoWhenTheEntryIsMadeAnew) {
  writeDatabase("<root><fragiles>" + entry("<health>12</health>") + "</fragiles></root>");
  const auto session = open(kCrate);
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  EXPECT_THAT(
      of(*session, DT_FRAGILE),
      ElementsAre("thrown away: set content/props/crate.model health=12 effectHP= matName= effect=none "
                  "hitEffect="));
}

TEST_F(ThrownAwayValues, OfAVariantAreMarkedAsOfNoUseToIt) {
  constexpr const char* kVariant = "content/lod1/crate.model";
  support::writeModel(root_, "content/lod1/crate", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  EXPECT_THAT(
      ofFile("<fallingAtoms>" + entry("<fractureEffect>x</fractureEffect>", kVariant) + "</fallingAtoms>",
             DT_NON_DESTRUCTIBLE, kVariant),
      ElementsAre(testing::StartsWith("thrown away (a variant cannot have it): set " + std::string(kVariant) +
                                      " health=20 fractureEffect=x")));
}

using Reset = ThrownAwayValues;

TEST_F(Reset, OfAModelOfNoCategoryIsRefusedAndRemovesNothing) {
  constexpr const char* kVariant = "content/lod1/crate.model";
  support::writeModel(root_, "content/lod1/crate", {.materials = {{"n_wood", 73}}, .bsp = {"n_wood"}});
  writeDatabase("<root><fragiles>" + entry("<health>9</health>", kVariant) + "</fragiles><structures>" +
                entry("<achievementTag>t</achievementTag>") + "</structures></root>");
  const std::string before = readDatabase();
  const auto variant = open(kVariant);
  EXPECT_THAT(faultText(variant->reset()), HasSubstr("is a variant"));
  const auto crate = open(kCrate);
  EXPECT_EQ(faultText(crate->reset()),
            "\"content/props/crate.model\" is not destructible and has nothing to reset; convert it first");
  EXPECT_FALSE(variant->hasUnsavedEdits());
  EXPECT_FALSE(crate->hasUnsavedEdits());
  EXPECT_EQ(readDatabase(), before);
}

TEST_F(Reset, LeavesTheRecordsOfAnotherCategoryForTheWayBack) {
  writeDatabase(
      "<root><structures>" +
      entry("<modules><module><matName>n_wall_1</matName><health>11</health></module></modules>", kHouse) +
      "</structures></root>");
  const auto session = open(kHouse);
  expectDone(session->convert(DT_FALLING_ATOMS));
  expectDone(session->set({{"health", "8"}}));
  expectDone(session->convert(DT_FRAGILE));
  expectDone(session->reset());
  expectDone(session->convert(DT_FALLING_ATOMS));
  EXPECT_EQ(session->description().fallingAtom.value().health, 8);
  expectDone(session->convert(DT_STRUCTURE));
  EXPECT_EQ(session->description().modules.at("n_wall_1").health, 11);
}

TEST_F(Reset, IsFollowedByASaveThatNamesWhatOtherEntriesHeld) {
  writeDatabase("<root><fragiles>" + entry("<health>9</health>") + "</fragiles><fallingAtoms>" +
                entry("<health>8</health>") + "</fallingAtoms></root>");
  const auto session = open(kCrate);
  EXPECT_THAT(session->reset()->warnings,
              ElementsAre(testing::StartsWith("thrown away: set content/props/crate.model health=9")));
  EXPECT_THAT(session->save()->warnings,
              testing::Contains(testing::StartsWith("thrown away (convert it to falling-atom first): set "
                                                    "content/props/crate.model health=8")));
}

TEST_F(ThrownAwayValues, OfAStateTakeAMaterialWithAMissingPartByForce) {
  support::writeModel(root_, "content/dep",
                      {.materials = {{"n_dep_1_9", 74}, {"n_x_0", 73}, {"static", 0}},
                       .bsp = {"n_dep_1_9", "n_x_0"},
                       .corner = "2 2 2"});
  writeDatabase(R"(<root><structures><entry><filename>content/dep.model</filename>
    <modules><module><matName>n_x_0</matName></module></modules>
    <states><state><name>s</name><destroyedMaterials>n_dep_1_9 n_x_0 </destroyedMaterials></state></states>
  </entry></structures></root>)");
  const auto session = open("content/dep.model");
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  const Result<Outcome> saved = session->save();
  expectDone(saved);
  EXPECT_THAT(saved->warnings,
              testing::Contains(testing::AllOf(testing::HasSubstr("add-material s n_dep_1_9 n_x_0"),
                                               testing::HasSubstr("--force"))));
}

TEST_F(ThrownAwayValues, OfAFallingAtomAreGivenAsOneCommand) {
  const auto session = opened(kLamp, DT_FALLING_ATOMS);
  expectDone(session->set({{"physicParams", "1 2 3 4 5 6 7"}, {"touchdownEffect", ""}}));
  EXPECT_THAT(of(*session, DT_FRAGILE), ElementsAre("thrown away (convert it to falling-atom first): set "
                                                    "content/street/lamp.model 'physicParams=1 2 3 4 5 6 7' "
                                                    "touchdownEffect="));
}

TEST_F(ThrownAwayValues, OfAStructureAreItsTagItsModulesAndItsStates) {
  writeDatabase(R"(<root>
	<structures>
		<entry>
			<filename>content/buildings/house.model</filename>
			<achievementTag>manor</achievementTag>
			<modules>
				<module><matName>n_wall_1</matName><health>11</health><effectHP>HP_wall_2</effectHP>
					<ramEffect>inf_bld_UNI_000_Base_02</ramEffect><hitEffect>inf_bld_UNI_000_Base_02</hitEffect></module>
				<module><matName>gone</matName><health>7</health></module>
			</modules>
			<states>
				<state><name>all open</name><destroyedMaterials>n_door_4 n_wall_1 </destroyedMaterials></state>
				<state><name>empty</name><destroyedMaterials/></state>
			</states>
		</entry>
	</structures>
</root>
)");
  const auto session = open(kHouse);
  EXPECT_THAT(
      of(*session, DT_FRAGILE),
      ElementsAre(
          "thrown away (convert it to structure first): set content/buildings/house.model "
          "achievementTag=manor",
          "thrown away (import it with that part and convert it to structure first): set "
          "content/buildings/house.model --module gone health=7 effectScale=1 "
          "effectHP= ramEffect=none hitEffect= decayEffect=none",
          "thrown away (convert it to structure first): set content/buildings/house.model --module n_wall_1 "
          "health=11 "
          "effectHP=HP_wall_2",
          "thrown away (convert it to structure first): state content/buildings/house.model add 'all open'",
          "thrown away (convert it to structure first): state content/buildings/house.model add-material "
          "'all open' n_door_4 n_wall_1",
          "thrown away (convert it to structure first): state content/buildings/house.model add empty"));
}

TEST_F(ThrownAwayValues, AreThoseOfAModuleThatAStructureLosesAtAnySave) {
  writeDatabase("<root><structures>" +
                entry("<modules><module><matName>n_wall_1</matName><health>11</health></module>"
                      "<module><matName>gone</matName><health>7</health><decayEffect>x</decayEffect></module>"
                      "<module><matName>n_roof_3_1</matName><health>8</health></module></modules>",
                      kHouse) +
                "</structures></root>");
  const auto session = open(kHouse);
  expectDone(session->setModule("n_wall_1", {{"health", "12"}}));
  const auto lines = {
      HasSubstr("thrown away (import it with that part first): set content/buildings/house.model --module "
                "gone health=7 effectScale=1 effectHP= ramEffect=none hitEffect= decayEffect=x"),
      HasSubstr("thrown away (import it so that a save keeps that module first): set "
                "content/buildings/house.model --module n_roof_3_1 health=8")};
  EXPECT_THAT(ofSave(*session), testing::ElementsAreArray(lines));
  expectDone(session->save());
  EXPECT_THAT(ofSave(*session), IsEmpty());
}

TEST_F(ThrownAwayValues, AreThoseOfALostModuleBesideOtherEntriesToo) {
  const std::string modules =
      "<modules><module><matName>gone</matName><health>7</health></module><module><matName>n_wall_1</matName>"
      "</module></modules>";
  writeDatabase("<root><structures>" + entry(modules, kHouse) + "</structures><fragiles>" +
                entry("<health>3</health>", kHouse) + "</fragiles></root>");
  EXPECT_THAT(ofSave(*open(kHouse)), testing::Contains(HasSubstr("--module gone health=7")));
}

TEST_F(ThrownAwayValues, OfAStructureThatTheModelCannotBeNameTheImport) {
  EXPECT_THAT(
      ofFile("<structures>" + entry("<achievementTag>t</achievementTag><modules/>", kFlag) + "</structures>",
             DT_NON_DESTRUCTIBLE, kFlag),
      ElementsAre("thrown away (import it with an undamaged part and convert it to structure first): "
                  "set content/flag.model achievementTag=t"));
}

TEST_F(ThrownAwayValues, AreThoseThatWereNotSavedToo) {
  const auto session = opened(kCrate, DT_FRAGILE);
  expectDone(session->save());
  expectDone(session->set({{"health", "12"}}));
  EXPECT_THAT(
      of(*session, DT_STRUCTURE),
      ElementsAre("thrown away (convert it to fragile first): set content/props/crate.model health=12"));
}

TEST_F(ThrownAwayValues, OfAResetAreThoseThatItDoesNotKeep) {
  const auto session = opened(kHouse, DT_STRUCTURE);
  expectDone(session->set({{"achievementTag", "manor"}}));
  expectDone(session->addState("open"));
  expectDone(session->setModule("n_wall_1", {{"health", "11"}, {"effectHP", "HP_wall_2"}}));
  EXPECT_THAT(session->reset()->warnings,
              ElementsAre("thrown away: set content/buildings/house.model --module n_wall_1 health=11"));
  EXPECT_EQ(session->description().achievementTag, "manor");
  EXPECT_EQ(session->description().modules.at("n_wall_1").effectHP, "HP_wall_2");
  EXPECT_EQ(session->description().states.count("open"), 1U);
  const auto crate = opened(kCrate, DT_FRAGILE);
  expectDone(crate->set({{"achievementTag", "crates"}}));
  EXPECT_THAT(crate->reset()->warnings,
              ElementsAre("thrown away: set content/props/crate.model achievementTag=crates"));
}

TEST_F(ThrownAwayValues, WhoseNamesLookLikeOptionsStandBehindADash) {
  Description values;
  values.modules["-x"].health = 7;
  values.states["-open"] = {"-x"};
  RestoreTarget target;
  target.modelName = "a b.model";
  target.materials = {{"-x", false}};
  target.modules = {"-x"};
  Description replacement;
  replacement.modules["-x"] = KsDestructibleModuleDesc();
  EXPECT_THAT(linesOf({DT_STRUCTURE, values, replacement}, target),
              ElementsAre("thrown away: set --module=-x -- 'a b.model' health=7",
                          "thrown away: state -- 'a b.model' add -open",
                          "thrown away: state --force -- 'a b.model' add-material -open -x"));
}

TEST_F(ThrownAwayValues, AreNamedByTheConversionThatThrowsThemAwayAlone) {
  const auto session = opened(kHouse, DT_STRUCTURE);
  expectDone(session->setModule("n_wall_1", {{"health", "11"}}));
  EXPECT_THAT(of(*session, DT_FRAGILE), testing::SizeIs(1));
  EXPECT_THAT(of(*session, DT_STRUCTURE), IsEmpty());
  EXPECT_EQ(session->description().modules.at("n_wall_1").health, 11);
  EXPECT_THAT(of(*session, DT_FRAGILE), testing::SizeIs(1));
  EXPECT_THAT(of(*session, DT_NON_DESTRUCTIBLE), IsEmpty());
}

using Suggestion = ThrownAwayValues;

TEST_F(Suggestion, OfNoCategoryIsRefusedAndKeepsTheEntry) {
  support::writeModel(root_, "content/props/crate",
                      {.materials = {{"steel", 0}, {"wood", 5}, {"a", 0}, {"b", 0}, {"c", 0}}});
  const std::string file =
      "<root>\n\t<fragiles>\n\t\t<entry>\n\t\t\t<filename>content/props/crate.model</filename>\n\t\t</"
      "entry>\n"
      "\t</fragiles>\n</root>\n";
  writeDatabase(file);
  const auto session = open(kCrate);
  EXPECT_EQ(
      faultText(session->convertAsSuggested()),
      "the materials of \"content/props/crate.model\" suggest no category, so nothing was changed: none is "
      "an undamaged part (kinds 73 to 86); it has \"a\", \"b\", \"c\" and 2 more: import it again with "
      "--kind a=73 --force, or convert it to a category by name");
  EXPECT_EQ(session->category(), DT_FRAGILE);
  EXPECT_FALSE(session->hasUnsavedEdits());
  EXPECT_EQ(readDatabase(), file);
}

TEST_F(Suggestion, OfNoCategorySaysHowToGiveAPart) {
  const auto refusal = [this](const std::vector<std::pair<std::string, unsigned>>& materials) {
    support::writeModel(root_, "content/m", {.materials = materials});
    return faultText(open("content/m.model")->convertAsSuggested());
  };
  EXPECT_THAT(
      refusal({{"s a", 0}, {"steel", 101}}),
      testing::HasSubstr("\"s a\" and \"steel\": import it again with --material 's a=n_s a' --force"));
  EXPECT_THAT(refusal({{"d_wood", 87}, {"tin", 0}, {"steel", 0}}),
              testing::HasSubstr("import it again with --kind tin=73 --force"));
  const std::string longest(1024, 'x');
  EXPECT_THAT(refusal({{longest, 0}}), testing::HasSubstr("with --kind " + longest + "=73 --force"));
  EXPECT_THAT(refusal({{std::string(100'000, 'x'), 0}}),
              testing::HasSubstr("with --kind MATERIAL=73 --force"));
  EXPECT_THAT(refusal({}), testing::HasSubstr("the model has no materials; import it again from a file"));
}

TEST_F(Suggestion, OfNoCategorySaysThatANameMakesAPartStatic) {
  support::writeModel(root_, "content/m", {.materials = {{"sx", 74}, {"stone", 73}, {"tin", 0}}});
  const auto session = open("content/m.model");
  const std::string fault =
      "none is an undamaged part (kinds 73 to 86), since a name that begins with \"s\" is static whatever "
      "its "
      "kind, as that of \"stone\" and \"sx\": import it again with --material stone=n_stone --force";
  EXPECT_EQ(faultText(session->convertAsSuggested()),
            "the materials of \"content/m.model\" suggest no category, so nothing was changed: " + fault +
                ", or convert it to a category by name");
  EXPECT_EQ(
      faultText(session->convert(DT_STRUCTURE)),
      "\"content/m.model\" cannot be a structure, since it would have no modules and could not break: " +
          fault);
}

TEST_F(Suggestion, NeverMakesADestroyedLookTheUndamagedOne) {
  const std::string fault = "none is an undamaged part (kinds 73 to 86), only the destroyed look is there (";
  const std::string step =
      "): import it again from a file that has the undamaged look too, as a material \"n...\"";
  support::writeModel(root_, "content/one", {.materials = {{"d_wood", 87}, {"s_base", 0}}});
  EXPECT_EQ(faultText(open("content/one.model")->convertAsSuggested()),
            "the materials of \"content/one.model\" suggest no category, so nothing was changed: " + fault +
                "\"d_wood\"" + step + ", or convert it to a category by name");
  support::writeModel(root_, "content/two", {.materials = {{"d_wood", 87}, {"d_tin", 0}}});
  EXPECT_EQ(faultText(open("content/two.model")->convertAsSuggested()),
            "\"content/two.model\" cannot be a structure, since it would have no modules and could not "
            "break: " +
                fault + "\"d_tin\" and \"d_wood\"" + step);
}

TEST_F(Suggestion, IsFollowedWhereThereIsOne) {
  const auto house = open(kHouse);
  expectDone(house->convertAsSuggested());
  EXPECT_EQ(house->category(), DT_STRUCTURE);
  const auto crate = open(kCrate);
  expectDone(crate->convertAsSuggested());
  EXPECT_EQ(crate->category(), DT_FRAGILE);
}

TEST_F(Suggestion, OfAVariantIsRefusedAsOne) {
  support::writeModel(root_, "content/lod1/tin", {.materials = {{"tin", 0}}});
  EXPECT_THAT(faultText(open("content/lod1/tin.model")->convertAsSuggested()),
              testing::HasSubstr("is a variant"));
}

TEST_F(ThrownAwayValues, AreThoseOfARecordThatIsMadeAnewThroughAnotherCategory) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/crate.model</filename><health>5</health>"
      "<hitEffect>hit</hitEffect></entry></fragiles></root>");
  const auto session = open(kCrate);
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  expectDone(session->convert(DT_FALLING_ATOMS));
  const auto converted = session->convert(DT_FRAGILE);
  expectDone(converted);
  EXPECT_THAT(converted->warnings, testing::Contains(testing::AllOf(testing::HasSubstr("health=5"),
                                                                    testing::HasSubstr("hitEffect=hit"))));
}

}  // namespace
}  // namespace Tal::authoring
