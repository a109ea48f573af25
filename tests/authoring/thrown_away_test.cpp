#include <authoring/session_fixture.h>
#include <authoring/thrown_away.h>

namespace Tal::authoring {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ThrownAwayValues : public SessionTest {
 protected:
  /// The warnings of a conversion, which must be done.
  static std::vector<std::string> of(Session& session, KsDestructibleType category) {
    const Outcome outcome = session.convert(category);
    expectDone(outcome);
    return outcome.warnings;
  }

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
        EXPECT_THAT(session->reset().warnings, IsEmpty()) << model << ' ' << from;
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
  EXPECT_THAT(of(*session, DT_NON_DESTRUCTIBLE),
              ElementsAre("thrown away: set content/props/crate.model health=12 effectScale=1.5 effectHP= "
                          "'achievementTag=it'\\''s broken' matName=d_wood effect=none"));
}

TEST_F(ThrownAwayValues, AreAlsoThoseOfEntriesThatDoNotDecideTheCategory) {
  writeDatabase(R"(<root>
  <fragiles><entry><filename>content/props/crate.model</filename><health>12</health></entry></fragiles>
  <fallingAtoms><entry><filename>content/props/crate.model</filename><health>21</health></entry></fallingAtoms>
  <structures><entry><filename>content/props/crate.model</filename>
    <states><state><name>open</name><destroyedMaterials>n_wood </destroyedMaterials></state></states>
  </entry></structures>
</root>
)");
  EXPECT_THAT(
      of(*open(kCrate), DT_NON_DESTRUCTIBLE),
      ElementsAre(testing::HasSubstr("health=12"), "thrown away: set content/props/crate.model health=21",
                  "thrown away: state content/props/crate.model add open",
                  "thrown away: state content/props/crate.model add-material open n_wood"));
  EXPECT_THAT(of(*open(kCrate), DT_FALLING_ATOMS),
              ElementsAre(testing::HasSubstr("health=12"), testing::HasSubstr("add open"),
                          testing::HasSubstr("add-material open")))
      << "the falling atom that is there is taken";
}

TEST_F(ThrownAwayValues, OfAFallingAtomAreGivenAsOneCommand) {
  const auto session = opened(kLamp, DT_FALLING_ATOMS);
  expectDone(session->set({{"physicParams", "1 2 3 4 5 6 7"}, {"touchdownEffect", ""}}));
  EXPECT_THAT(of(*session, DT_FRAGILE),
              ElementsAre("thrown away: set content/street/lamp.model 'physicParams=1 2 3 4 5 6 7' "
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
          "thrown away: set content/buildings/house.model achievementTag=manor",
          "thrown away: set content/buildings/house.model --module gone health=7 effectScale=1 "
          "effectHP= ramEffect=none hitEffect= decayEffect=none",
          "thrown away: set content/buildings/house.model --module n_wall_1 health=11 "
          "effectHP=HP_wall_2",
          "thrown away: state content/buildings/house.model add 'all open'",
          "thrown away: state content/buildings/house.model add-material 'all open' n_door_4 n_wall_1",
          "thrown away: state content/buildings/house.model add empty"));
}

TEST_F(ThrownAwayValues, AreThoseThatWereNotSavedToo) {
  const auto session = opened(kCrate, DT_FRAGILE);
  expectDone(session->save());
  expectDone(session->set({{"health", "12"}}));
  EXPECT_THAT(of(*session, DT_STRUCTURE),
              ElementsAre("thrown away: set content/props/crate.model health=12"));
}

TEST_F(ThrownAwayValues, OfAResetAreThoseThatItDoesNotKeep) {
  const auto session = opened(kHouse, DT_STRUCTURE);
  expectDone(session->set({{"achievementTag", "manor"}}));
  expectDone(session->addState("open"));
  expectDone(session->setModule("n_wall_1", {{"health", "11"}, {"effectHP", "HP_wall_2"}}));
  EXPECT_THAT(session->reset().warnings,
              ElementsAre("thrown away: set content/buildings/house.model --module n_wall_1 health=11"));
  EXPECT_EQ(session->description().achievementTag, "manor");
  EXPECT_EQ(session->description().modules.at("n_wall_1").effectHP, "HP_wall_2");
  EXPECT_EQ(session->description().states.count("open"), 1U);
  const auto crate = opened(kCrate, DT_FRAGILE);
  expectDone(crate->set({{"achievementTag", "crates"}}));
  EXPECT_THAT(crate->reset().warnings,
              ElementsAre("thrown away: set content/props/crate.model achievementTag=crates"));
}

TEST_F(ThrownAwayValues, WhoseNamesLookLikeOptionsStandBehindADash) {
  Description mine;
  mine.category = DT_STRUCTURE;
  mine.modules["-x"].health = 7;
  mine.states["-open"] = {"-x"};
  Description other;
  other.modules["-x"] = KsDestructibleModuleDesc();
  EXPECT_THAT(commandsToRestore("a b.model", mine, other),
              ElementsAre("set --module=-x -- 'a b.model' health=7", "state -- 'a b.model' add -open",
                          "state -- 'a b.model' add-material -open -x"));
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
      session->convertAsSuggested().refusal,
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
    return open("content/m.model")->convertAsSuggested().refusal;
  };
  EXPECT_THAT(
      refusal({{"s a", 0}, {"steel", 73}}),
      testing::HasSubstr("\"s a\" and \"steel\": import it again with --material 's a=n_s a' --force"));
  EXPECT_THAT(refusal({{"d_wood", 87}, {"steel", 0}}),
              testing::HasSubstr("import it again with --kind d_wood=73 --force"));
  EXPECT_THAT(refusal({{std::string(100'000, 'x'), 0}}),
              testing::HasSubstr("with --kind MATERIAL=73 --force"));
  EXPECT_THAT(refusal({}), testing::HasSubstr("the model has no materials; import it again from a file"));
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
  EXPECT_THAT(open("content/lod1/tin.model")->convertAsSuggested().refusal,
              testing::HasSubstr("is a variant"));
}

}  // namespace
}  // namespace Tal::authoring
