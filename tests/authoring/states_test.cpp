#include <authoring/session_fixture.h>

namespace Tal::authoring {
namespace {

class States : public SessionTest {
 protected:
  States() {
    writeDatabase(R"(<root>
	<structures>
		<entry>
			<filename>content/buildings/house.model</filename>
			<modules/>
			<states>
				<state>
					<name>open</name>
					<destroyedMaterials>n_door_4 n_wall_1 </destroyedMaterials>
				</state>
			</states>
		</entry>
	</structures>
</root>
)");
  }
};

TEST_F(States, AreListedBetweenTheBuiltInOnes) {
  const auto session = open(kHouse);
  expectDone(session->addState("roofless"));
  expectDone(session->addState("burnt"));
  EXPECT_THAT(session->stateNames(),
              testing::ElementsAre("undamaged", "burnt", "open", "roofless", "destroyed"));
  EXPECT_THAT(session->materialsForState("open"), testing::ElementsAre("n_door_4", "n_wall_1"));
}

TEST_F(States, AreRefusedNamesThatCannotBeRight) {
  const auto session = open(kHouse);
  EXPECT_EQ(faultText(session->addState("undamaged")),
            "the state \"undamaged\" is built in; choose another name");
  EXPECT_EQ(faultText(session->addState("destroyed")),
            "the state \"destroyed\" is built in; choose another name");
  EXPECT_EQ(faultText(session->addState("")), "the name of a state cannot be empty; give one");
  EXPECT_EQ(
      faultText(session->addState(" a")),
      "the state name \" a\" has white space around it, which the database does not keep; leave it out");
  EXPECT_THAT(faultText(session->addState("a\t")), testing::HasSubstr("white space around it"));
  EXPECT_THAT(faultText(session->addState("a\x1b")),
              testing::HasSubstr("\"a\\x1b\" holds a control character"));
  EXPECT_EQ(faultText(session->addState("open")), "there is a state \"open\" already");
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(States, OfHostileNamesRoundTrip) {
  const std::string hostile = "50% <of> \"it\" & 'more'";
  {
    const auto session = open(kHouse);
    expectDone(session->addState(hostile));
    expectDone(session->addMaterials(hostile, {"n_wall_2", "n_door_4"}));
    expectDone(session->save());
  }
  EXPECT_THAT(open(kHouse)->materialsForState(hostile), testing::ElementsAre("n_wall_2", "n_door_4"));
}

TEST_F(States, ThatDoNotExistAreRefusedWithTheNearest) {
  const auto session = open(kHouse);
  const std::string reason =
      "\"content/buildings/house.model\" has no state \"opne\"; did you mean \"open\"?";
  EXPECT_EQ(faultText(session->removeState("opne")), reason);
  EXPECT_EQ(faultText(session->addMaterials("opne", {"n_wall_1"})), reason);
  EXPECT_EQ(faultText(session->removeMaterials("opne", {"n_wall_1"})), reason);
  EXPECT_EQ(faultText(session->showState("opne")), reason);
  EXPECT_EQ(session->shownState(), "undamaged");
}

TEST_F(States, ThatAreBuiltInCannotBeChanged) {
  const auto session = open(kHouse);
  EXPECT_EQ(faultText(session->removeState("destroyed")),
            "the state \"destroyed\" is built in and cannot be changed");
  EXPECT_EQ(faultText(session->addMaterials("undamaged", {"n_wall_1"})),
            "the state \"undamaged\" is built in and cannot be changed");
}

TEST_F(States, TakeMaterialsInTheGivenOrder) {
  const auto session = open(kHouse);
  expectDone(session->addMaterials("open", {"n_window_5", "n_roof_3_1"}));
  EXPECT_THAT(session->materialsForState("open"),
              testing::ElementsAre("n_door_4", "n_wall_1", "n_window_5", "n_roof_3_1"));
  expectDone(session->removeMaterials("open", {"n_wall_1", "n_roof_3_1"}));
  EXPECT_THAT(session->materialsForState("open"), testing::ElementsAre("n_door_4", "n_window_5"));
}

TEST_F(States, RefuseMaterialsByNameAndThenTakeNone) {
  const auto session = open(kHouse);
  EXPECT_EQ(faultText(session->addMaterials("open", {"n_wall_2", "n_wal_1"})),
            "the model has no material \"n_wal_1\"; did you mean \"n_wall_1\"?");
  EXPECT_EQ(faultText(session->addMaterials("open", {"n_wall_2", "n_wall_1"})),
            "the state \"open\" has the material \"n_wall_1\" already");
  EXPECT_EQ(faultText(session->addMaterials("open", {"n_wall_2", "n_wall_2"})),
            "the state \"open\" has the material \"n_wall_2\" already");
  EXPECT_EQ(faultText(session->removeMaterials("open", {"n_door_4", "n_wall_2"})),
            "the state \"open\" has no material \"n_wall_2\"; did you mean \"n_wall_1\"?");
  EXPECT_EQ(faultText(session->removeMaterials("open", {"n_door_4", "n_door_4"})),
            "the state \"open\" has no material \"n_door_4\"; there is only \"n_wall_1\"");
  EXPECT_THAT(session->materialsForState("open"), testing::ElementsAre("n_door_4", "n_wall_1"));
}

TEST_F(States, RefuseAMaterialWithASpaceInItsName) {
  support::writeModel(root_, "content/buildings/house",
                      {.materials = {{"n old wall", 73}}, .bsp = {"n old wall"}, .corner = "2 2 2"});
  EXPECT_EQ(
      faultText(open(kHouse)->addMaterials("open", {"n old wall"})),
      "the material \"n old wall\" cannot be in a state: spaces separate the materials of a state; rename "
      "the material");
}

TEST_F(States, RefuseAMaterialThatNoStateCanShowDestroyed) {
  const auto session = open(kHouse);
  EXPECT_EQ(faultText(session->addMaterials("open", {"n_wall_2", "d_wall_1"})),
            "the material \"d_wall_1\" (kind 88) is not an undamaged part (73 to 86) that a state could show "
            "destroyed; choose another one, or import the model again with a kind for it; --force adds it "
            "all the same");
  EXPECT_THAT(session->materialsForState("open"), testing::ElementsAre("n_door_4", "n_wall_1"));
  EXPECT_FALSE(session->hasUnsavedEdits());
}

TEST_F(States, SayThatEveryMaterialWithoutAKindWouldVanish) {
  support::writeModel(root_, "content/buildings/house",
                      {.materials = {{"n_wall_1", 74}, {"s_ground", 0}, {"n_loose", 0}, {"sky", 0}},
                       .bsp = {"n_wall_1"},
                       .corner = "2 2 2"});
  const auto session = open(kHouse);
  EXPECT_EQ(faultText(session->addMaterials("open", {"n_loose"})),
            "the material \"n_loose\" has no kind (0), so in this state every material without one would "
            "vanish: \"n_loose\", \"s_ground\" and \"sky\"; choose another one, or import the model again "
            "with a kind for it; --force adds it all the same");
  expectDone(session->addMaterials("open", {"n_loose"}, /*isForced=*/true));
  expectDone(session->showState("open"));
  for (const Material& material : session->materials())
    EXPECT_FALSE(material.isVisible) << material.name;  // the wall is broken by the state itself
}

TEST_F(States, RefuseAMaterialWithWhichEveryMaterialWithoutAKindWouldVanish) {
  const auto reason = [this](const std::vector<std::pair<std::string, unsigned>>& materials) {
    support::writeModel(root_, "content/buildings/house", {.materials = materials, .bsp = {"n_dep_1_9"}});
    return faultText(open(kHouse)->addMaterials("open", {"n_dep_1_9"}));
  };
  EXPECT_EQ(
      reason({{"n_dep_1_9", 74}, {"s_ground", 0}, {"sky", 0}}),
      "the material \"n_dep_1_9\" takes along a part that no undamaged material has, which counts as no "
      "kind (0), so in this state every material without one would vanish: \"s_ground\" and \"sky\"; "
      "choose another one, or import the model again with another name for it; --force adds it all the "
      "same");
  EXPECT_EQ(reason({{"n_dep_1_9", 74}, {"n_far_9", 82}, {"sky", 0}}), "") << "the part is there";
  EXPECT_EQ(reason({{"n_dep_1_9", 74}, {"n_wall_2", 75}}), "") << "nothing is without a kind";
}

TEST_F(States, RefuseAPartThatTakesAlongItselfAndWouldVanish) {
  support::writeModel(root_, "content/buildings/house",
                      {.materials = {{"n_w_1_1", 74}, {"d_w_1", 88}}, .bsp = {"n_w_1_1"}});
  const auto session = open(kHouse);
  EXPECT_EQ(faultText(session->addMaterials("open", {"n_w_1_1"})),
            "the material \"n_w_1_1\" takes along its own part, so in this state the part would vanish: its "
            "destroyed look is hidden, too; choose another one, or import the model again with another name "
            "for it; --force adds it all the same");
  expectDone(session->addMaterials("open", {"n_w_1_1"}, /*isForced=*/true));
  expectDone(session->showState("open"));
  for (const Material& material : session->materials()) EXPECT_FALSE(material.isVisible) << material.name;
}

TEST_F(States, OfTheFileAreListedOfAModelThatIsNoStructureToo) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/crate.model</filename></entry></fragiles><structures>"
      "<entry><filename>content/props/crate.model</filename><states><state><name>open</name></state></states>"
      "</entry></structures></root>");
  const auto session = open(kCrate);
  EXPECT_EQ(session->category(), DT_FRAGILE);
  EXPECT_THAT(session->stateNames(), testing::ElementsAre("undamaged", "open", "destroyed"));
  expectDone(session->checkStates());
  EXPECT_THAT(
      faultText(session->removeState("open")),
      testing::HasSubstr("is no structure (its category is fragile), which alone has states to edit"));
}

TEST_F(States, TakeAMaterialThatTheyCannotShowDestroyedWhenForcedWithAWarning) {
  const auto session = open(kHouse);
  const Result<Outcome> outcome =
      session->addMaterials("open", {"s_ground", "d_wall_1", "n_wall_2"}, /*isForced=*/true);
  expectDone(outcome);
  EXPECT_THAT(
      outcome->warnings,
      testing::ElementsAre("the material \"s_ground\" has no kind (0), so in this state every material "
                           "without one would vanish: \"s_ground\"",
                           "the material \"d_wall_1\" (kind 88) is not an undamaged part (73 to 86) that a "
                           "state could show destroyed"));
  EXPECT_THAT(session->materialsForState("open"),
              testing::ElementsAre("n_door_4", "n_wall_1", "s_ground", "d_wall_1", "n_wall_2"));
}

TEST_F(States, AreRefusedToWhatIsNoStructure) {
  const auto session = open(kCrate);
  const std::string reason =
      "\"content/props/crate.model\" is no structure (its category is none), which alone has states to edit; "
      "convert it to "
      "a "
      "structure first";
  EXPECT_EQ(faultText(session->checkStates()), reason);
  EXPECT_EQ(faultText(session->addState("a")), reason);
  EXPECT_EQ(faultText(session->removeState("a")), reason);
  EXPECT_EQ(faultText(session->addMaterials("a", {"n_wood"})), reason);
  EXPECT_EQ(faultText(session->removeMaterials("a", {"n_wood"})), reason);
  expectDone(open(kHouse)->checkStates());
}

TEST_F(States, ShowTheirMaterialsDestroyed) {
  const auto session = open(kHouse);
  expectDone(session->showState("open"));
  std::vector<std::string> visible;
  for (const Material& material : session->materials())
    if (material.isVisible) visible.push_back(material.name);
  EXPECT_THAT(visible, testing::ElementsAre("d_wall_1", "n_roof_3_1", "n_wall_2", "n_window_5", "s_ground"));
  EXPECT_EQ(session->shownState(), "open");
}

TEST_F(States, ThatWereAllRemovedAreGoneFromTheFile) {
  auto session = open(kHouse);
  expectDone(session->removeState("open"));
  expectDone(session->save());
  session.reset();
  EXPECT_THAT(open(kHouse)->stateNames(), testing::ElementsAre("undamaged", "destroyed"));
}

TEST_F(States, OfAModelThatWasConvertedAwayAndBackDoNotReturn) {
  const auto session = open(kHouse);
  expectDone(session->convert(DT_NON_DESTRUCTIBLE));
  expectDone(session->convert(DT_STRUCTURE));
  EXPECT_THAT(session->stateNames(), testing::ElementsAre("undamaged", "destroyed"));
  expectDone(session->save());
  EXPECT_THAT(session->stateNames(), testing::ElementsAre("undamaged", "destroyed"));
}

}  // namespace
}  // namespace Tal::authoring
