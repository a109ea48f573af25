#include <authoring/session_fixture.h>

namespace Tal::authoring {
namespace {

using Code = ValueWarning::Code;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The crate as a fragile, the lamp as a falling atom and the house as a structure, each of whose values is
/// in order, and a file of effects.
class QuestionableValues : public SessionTest {
 protected:
  QuestionableValues() {
    writeDatabase(R"(<root>
	<fragiles>
		<entry><filename>content/props/crate.model</filename><matName>n_wood</matName></entry>
	</fragiles>
	<fallingAtoms>
		<entry><filename>content/street/lamp.model</filename></entry>
	</fallingAtoms>
	<structures>
		<entry>
			<filename>content/buildings/house.model</filename>
			<modules>
				<module><matName>n_wall_1</matName></module>
				<module><matName>n_wall_2</matName></module>
				<module><matName>n_door_4</matName></module>
				<module><matName>n_window_5</matName></module>
				<module><matName>n_roof_3_1</matName></module>
			</modules>
		</entry>
	</structures>
</root>
)");
    writeEffects(
        "<structures><inf_wall_dust/><inf_hit/></structures>"
        "<fragiles><inf_crate_burst/><inf_hit/></fragiles>"
        "<fallingAtoms><inf_lamp_fracture/><inf_lamp_touchdown/></fallingAtoms>");
  }

  void writeEffects(const std::string& sections) const {
    root_.write("scripts/destructibles_effects.xml", "<root>" + sections + "</root>");
  }

  /// The warnings of an edit of the crate's own record.
  static std::vector<std::string> ofCrate(const std::vector<Assignment>& assignments) {
    const Result<Outcome> outcome = open(kCrate)->set(assignments);
    expectDone(outcome);
    return outcome->warnings;
  }
};

TEST_F(QuestionableValues, AreNoneInEntriesThatAreInOrder) {
  for (const char* const model : {kCrate, kLamp, kHouse})
    EXPECT_THAT(open(model)->valueWarnings(), IsEmpty());
}

TEST_F(QuestionableValues, AreEffectsThatTheFileLacksWithTheNearest) {
  EXPECT_THAT(ofCrate({{"effect", "inf_crate_brust"}}),
              ElementsAre("effect: scripts/destructibles_effects.xml has no effect \"inf_crate_brust\" for a "
                          "fragile; did you mean \"inf_crate_burst\"?"));
  const auto house = open(kHouse);
  EXPECT_THAT(house->setModule("n_wall_1", {{"Ram effect", "inf_wal_dust"}})->warnings,
              ElementsAre("ramEffect: scripts/destructibles_effects.xml has no effect \"inf_wal_dust\" for a "
                          "structure; did you mean \"inf_wall_dust\"?"));
  EXPECT_EQ(house->description().modules.at("n_wall_1").ramEffect, "inf_wal_dust");
}

TEST_F(QuestionableValues, AreEffectsOfOtherCategories) {
  EXPECT_THAT(
      ofCrate({{"hitEffect", "inf_wall_dust"}}),
      ElementsAre("hitEffect: \"inf_wall_dust\" is an effect for a structure, not for a fragile; did you "
                  "mean \"inf_crate_burst\"?"));
  EXPECT_THAT(open(kLamp)->set({{"lifetimeEffect", "inf_hit"}})->warnings,
              ElementsAre("lifetimeEffect: \"inf_hit\" is an effect for a structure or a fragile, not for a "
                          "falling-atom; there are \"inf_lamp_fracture\" and \"inf_lamp_touchdown\""));
}

TEST_F(QuestionableValues, AreEffectsInAnotherCase) {
  EXPECT_THAT(ofCrate({{"effect", "INF_CRATE_BURST"}}),
              ElementsAre("effect: scripts/destructibles_effects.xml has no effect \"INF_CRATE_BURST\" for a "
                          "fragile; did you mean \"inf_crate_burst\"?"));
  for (const std::string none : {"None", "NONE"}) {
    EXPECT_THAT(ofCrate({{"effect", none}}),
                ElementsAre("effect: scripts/destructibles_effects.xml has no effect \"" + none +
                            "\" for a fragile; did you mean \"none\"?"));
  }
}

TEST_F(QuestionableValues, AreEffectsWhereTheFileHasNoneOfTheCategory) {
  writeEffects("<fallingAtoms><inf_lamp/></fallingAtoms>");
  EXPECT_THAT(ofCrate({{"effect", "inf_crate_burst"}, {"hitEffect", "inf_lamp"}}),
              ElementsAre("effect: scripts/destructibles_effects.xml has no effects for a fragile at all, so "
                          "\"inf_crate_burst\" is none; add it there, or set \"none\"",
                          "hitEffect: \"inf_lamp\" is an effect for a falling-atom, not for a fragile; set "
                          "\"none\""));
}

TEST_F(QuestionableValues, AreFoundWithoutAModelAsFarAsThatDoesNotTakeOne) {
  Description description;
  description.category = DT_STRUCTURE;
  description.achievementTag = "none";
  KsDestructibleModuleDesc& module = description.modules["n_wall_1"];
  module.health = 0;
  module.effectScale = 0.0F;
  module.effectHP = "HP_nowhere";
  module.hitEffect = "inf_wal_dust";
  std::vector<std::string> found;
  for (const ValueWarning& warning : valueWarningsOf(description))
    found.push_back(warning.module + " " + std::string(valueWarningName(warning.code)));
  EXPECT_THAT(found, ElementsAre(" tag-not-stored", "n_wall_1 no-health", "n_wall_1 no-scale",
                                 "n_wall_1 unknown-effect"));
}

TEST_F(QuestionableValues, AreNoEffectsThatPanelsOfferForAnotherField) {
  EXPECT_THAT(open(kLamp)->set({{"fractureEffect", "inf_lamp_touchdown"}})->warnings, IsEmpty());
}

TEST_F(QuestionableValues, AreNoAbsentEffects) {
  EXPECT_THAT(ofCrate({{"effect", ""}, {"hitEffect", "none"}, {"decayEffect", "inf_hit"}}), IsEmpty());
}

TEST_F(QuestionableValues, AreNoEffectsWhileNoneAreListed) {
  for (const char* const sections : {"", "<structures/><fragiles/><fallingAtoms/>"}) {
    writeEffects(sections);
    EXPECT_THAT(ofCrate({{"effect", "inf_crate_brust"}}), IsEmpty());
  }
  std::filesystem::remove(root_ / "scripts/destructibles_effects.xml");
  EXPECT_THAT(ofCrate({{"effect", "inf_crate_brust"}}), IsEmpty());
}

TEST_F(QuestionableValues, AreLookedForInTheEffectsOnlyWhereOneIsSet) {
  root_.write("scripts/destructibles_effects.xml", "<root");
  EXPECT_THAT(ofCrate({{"health", "7"}, {"effect", "none"}}), IsEmpty());
  EXPECT_THAT(messages_.messages(), IsEmpty());
  EXPECT_THAT(ofCrate({{"effect", "inf_crate_brust"}, {"hitEffect", "inf_hit"}}),
              ElementsAre(testing::StartsWith("effect: \"inf_crate_brust\" was not looked up: "
                                              "scripts/destructibles_effects.xml:1:1: unclosed token")));
}

TEST_F(QuestionableValues, AreHealthAndScaleThatAreNotAboveZero) {
  EXPECT_THAT(ofCrate({{"health", "0"}, {"effectScale", "0"}}),
              ElementsAre("health: 0 leaves no hit points; give 1 or more",
                          "effectScale: 0 leaves effects no size; give a number above 0"));
  EXPECT_THAT(ofCrate({{"health", "-2"}, {"effectScale", "-0.5"}}),
              ElementsAre("health: -2 leaves no hit points; give 1 or more",
                          "effectScale: -0.5 leaves effects no size; give a number above 0"));
  EXPECT_THAT(ofCrate({{"health", "1"}, {"effectScale", "0.01"}}), IsEmpty());
}

TEST_F(QuestionableValues, OfUnknownHealthAreNamedOnceByTheSave) {
  const auto session = open(kCrate);
  EXPECT_THAT(session->set({{"health", "-1"}})->warnings, IsEmpty());
  ASSERT_EQ(session->valueWarnings().size(), 1U);
  EXPECT_EQ(session->valueWarnings()[0].code, Code::unknownHealth);
  EXPECT_EQ(session->valueWarnings()[0].text, "health: -1 stands for \"could not be estimated\"; set one");
  EXPECT_THAT(session->save()->warnings,
              ElementsAre("health: -1 stands for \"could not be estimated\"; set one"));
}

TEST_F(QuestionableValues, AreWarnedOfOnlyByTheEditThatSetsThem) {
  const auto session = open(kCrate);
  EXPECT_THAT(session->set({{"health", "0"}})->warnings, testing::SizeIs(1));
  EXPECT_THAT(session->set({{"effect", "inf_hit"}})->warnings, IsEmpty());
}

TEST_F(QuestionableValues, OfTheFileAreFoundInEveryRecord) {
  writeDatabase(R"(<root>
	<fragiles>
		<entry>
			<filename>content/props/crate.model</filename>
			<health>0</health><effectScale>0</effectScale><effectHP>HP_tpo</effectHP><achievementTag>none</achievementTag>
			<matName>n_woot</matName><effect>inf_crate_brust</effect><hitEffect>inf_wall_dust</hitEffect>
		</entry>
	</fragiles>
	<fallingAtoms>
		<entry><filename>content/street/lamp.model</filename><physicParams>1 2</physicParams><health>-1</health></entry>
	</fallingAtoms>
	<structures>
		<entry>
			<filename>content/buildings/house.model</filename>
			<achievementTag>none</achievementTag>
			<modules>
				<module><matName>n_wall_1</matName><health>0</health><decayEffect>smoke</decayEffect></module>
				<module><matName>n_wall_2</matName><effectScale>0</effectScale></module>
			</modules>
		</entry>
	</structures>
</root>
)");
  const auto found = [](const char* model) {
    std::vector<std::string> lines;
    for (const ValueWarning& warning : open(model)->valueWarnings()) {
      EXPECT_THAT(warning.text, testing::StartsWith(warning.key + ": "));
      const bool isOfAnEffectThatAFillerChose = warning.text.find("inf_bld_UNI") != std::string::npos;
      if (!isOfAnEffectThatAFillerChose)
        lines.push_back(std::string(valueWarningName(warning.code)) + ' ' + warning.module + ' ' +
                        warning.key);
    }
    return lines;
  };
  EXPECT_THAT(found(kCrate),
              ElementsAre("no-health  health", "no-scale  effectScale", "unknown-hard-point  effectHP",
                          "tag-not-stored  achievementTag", "unknown-material  matName",
                          "unknown-effect  effect", "foreign-effect  hitEffect"));
  EXPECT_THAT(found(kLamp), ElementsAre("unknown-health  health", "malformed-physics  physicParams"));
  EXPECT_THAT(found(kHouse),
              ElementsAre("tag-not-stored  achievementTag", "no-health n_wall_1 health",
                          "unknown-effect n_wall_1 decayEffect", "no-scale n_wall_2 effectScale"));
}

TEST_F(QuestionableValues, AreNamedEscapedAndShort) {
  const std::vector<std::string> warnings = ofCrate({{"effect", std::string(100'000, 'x')}});
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_LT(warnings[0].size(), 300U);
  EXPECT_THAT(warnings[0], HasSubstr("x...x"));
}

}  // namespace
}  // namespace Tal::authoring
