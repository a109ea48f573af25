#include <destructibles/meta_fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Module = KsDestructibleModuleDesc;
using Fragile = KsDestructibleFragileDesc;
using FallingAtom = KsDestructibleFallingAtomDesc;

class TheEffectList : public EffectsTest {
 protected:
  template <class Record = Module>
  static Strings of(const std::string& property, int category = DT_STRUCTURE) {
    return EditedRecord<Record>(category, {}).options(property);
  }
};

TEST_F(TheEffectList, OfAFallingAtomHoldsTheEffectsWhoseNamesHoldTheKey) {
  writeEffects(
      "<root><fallingAtoms><Lamp_Fracture/><lamp_touchdown_big/><lamp_touchdown_break_small/>"
      "</fallingAtoms></root>");
  EXPECT_THAT(of<FallingAtom>("Touchdown effect", DT_FALLING_ATOMS),
              ElementsAre("", "none", "lamp_touchdown_big", "lamp_touchdown_break_small"));
  EXPECT_THAT(of<FallingAtom>("Fracture effect", DT_FALLING_ATOMS), ElementsAre("", "none", "Lamp_Fracture"));
  EXPECT_THAT(of<FallingAtom>("Touchdown break effect", DT_FALLING_ATOMS),
              ElementsAre("", "none", "lamp_touchdown_break_small"));
  EXPECT_THAT(of<FallingAtom>("Lifetime effect", DT_FALLING_ATOMS), ElementsAre("", "none"));
}

TEST_F(TheEffectList, FollowsTheCategoryOfTheParentNotTheKindOfRecord) {
  writeEffects(
      "<root><fragiles><f/></fragiles><fallingAtoms><a/></fallingAtoms><structures><s/></structures></root>");
  EXPECT_THAT(of("Hit effect", DT_STRUCTURE), ElementsAre("", "none", "s"));
  EXPECT_THAT(of("Hit effect", DT_FRAGILE), ElementsAre("", "none", "f"));
  EXPECT_THAT(of("Hit effect", DT_FALLING_ATOMS), ElementsAre("", "none", "a"));
  EXPECT_THAT(of("Hit effect", DT_NON_DESTRUCTIBLE), ElementsAre("", "none", "s"));
  EXPECT_THAT(of("Hit effect", 77), ElementsAre("", "none", "s"));
  EXPECT_THAT(of("Hit effect", -1), ElementsAre("", "none", "s"));
}

TEST_F(TheEffectList, OfAModuleHoldsEveryEffectInTheOrderOfTheFile) {
  writeEffects("<root><structures><b>text is ignored</b><a x='1'/><C/><b/><none/></structures></root>");
  for (const char* const property : {"Hit effect", "Ram effect", "Decay effect"})
    EXPECT_THAT(of(property), ElementsAre("", "none", "b", "a", "C", "b", "none")) << "repetitions stay";
}

TEST_F(TheEffectList, WithoutAnEffectsFileOffersNothingAndNoneWithoutAMessage) {
  EXPECT_THAT(of("Hit effect"), ElementsAre("", "none"));
  EXPECT_THAT(of<Fragile>("Lifetime effect", DT_FRAGILE), ElementsAre("", "none"));
  EXPECT_THAT(of<FallingAtom>("Fracture effect", DT_FALLING_ATOMS), ElementsAre("", "none"));
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheEffectList, WithoutTheCategorysSectionOffersNothingAndNoneWithoutAMessage) {
  writeEffects("<root><Structures><a/></Structures><other><structures><b/></structures></other></root>");
  EXPECT_THAT(of("Hit effect"), ElementsAre("", "none"));
  EXPECT_THAT(messages_.messages(), IsEmpty());
  EXPECT_EQ(root_.read("scripts/destructibles_effects.xml"),
            "<root><Structures><a/></Structures><other><structures><b/></structures></other></root>");
}

TEST_F(TheEffectList, LowersAsciiLettersOnly) {
  writeEffects(
      "<root><fallingAtoms><x_FRACTURE/><FrAcTuRe/><FR\xC3\x84"
      "CTURE/></fallingAtoms></root>");
  EXPECT_THAT(of<FallingAtom>("Fracture effect", DT_FALLING_ATOMS),
              ElementsAre("", "none", "x_FRACTURE", "FrAcTuRe"));
}

TEST_F(TheEffectList, IsComputedAnewEachTime) {
  EditedRecord<Module> edited(DT_STRUCTURE, {});
  writeEffects("<root><structures><a/></structures></root>");
  EXPECT_THAT(edited.options("Hit effect"), ElementsAre("", "none", "a"));
  writeEffects("<root><structures><a/><b/></structures></root>");
  EXPECT_THAT(edited.options("Hit effect"), ElementsAre("", "none", "a", "b"));
}

TEST_F(TheEffectList, FollowsAnEditOfTheOpenDocument) {
  EditedRecord<Module> edited(DT_STRUCTURE, {});
  writeEffects("<root><structures><a/></structures><fragiles><f/></fragiles></root>");
  EXPECT_THAT(edited.options("Hit effect"), ElementsAre("", "none", "a"));
  support::openResource("scripts/destructibles_effects.xml")->openSection("structures")->appendChild("b");
  EXPECT_THAT(edited.options("Hit effect"), ElementsAre("", "none", "a", "b"));
}

TEST_F(TheEffectList, TakesTheFirstOfTwoSections) {
  writeEffects("<root><structures><a/></structures><structures><b/></structures></root>");
  EXPECT_THAT(of("Hit effect"), ElementsAre("", "none", "a"));
}

TEST_F(TheEffectList, OfARecordWithoutAParentOffersNothingAndNone) {
  writeEffects("<root><structures><a/></structures></root>");
  Module alone;
  EXPECT_THAT(alone.property("Hit effect").options(), ElementsAre(tyk::Variant(""), tyk::Variant("none")));
  mio::Object parent;
  alone.setParent(&parent);
  EXPECT_THAT(alone.property("Hit effect").options(), ElementsAre(tyk::Variant(""), tyk::Variant("none")));
}

TEST_F(TheEffectList, OfARecordWhoseParentIsGoneOffersNothingAndNone) {
  writeEffects("<root><structures><a/></structures></root>");
  Module record;
  {
    EditedRecord<Module> edited(DT_STRUCTURE, {"HP_1"});
    record.setParent(&edited.parent);
    EXPECT_EQ(record.property("Hit effect").options().size(), 3U);
    EXPECT_EQ(record.property("Effect hardpoint").options().size(), 2U);
  }
  EXPECT_EQ(record.property("Hit effect").options().size(), 2U);
  EXPECT_EQ(record.property("Effect hardpoint").options().size(), 1U);
}

TEST_F(TheEffectList, TakesTheCategoryFromWhateverConvertsToAnInteger) {
  writeEffects("<root><fragiles><f/></fragiles></root>");
  mio::DynamicObject parent;
  tyk::Variant category("1");
  parent.addProperty("Destructible Type", tyk::Variant::Type::string, [&category] { return category; });
  Fragile record;
  record.setParent(&parent);
  EXPECT_EQ(record.property("Effect").options().back(), tyk::Variant("f"));
  category = "fragile";
  EXPECT_THROW(record.property("Effect").options(), tyk::BadCast);
}

TEST_F(TheEffectList, IsTrackedWhileTheNamesAreRead) {
  Journal journal;
  std::vector<StackTracker::Entry> entries;
  {
    const TrackRecorder recorder(&journal);
    of("Hit effect");
    entries = recorder.pushed();
  }
  EXPECT_THAT(journal, ElementsAre("> getEffectNames", "< getEffectNames"));
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(std::string(entries[0].file), "lib/destructibles/destructibles_meta");
}

// --- Hard points ---

TEST(TheHardPointList, OffersNothingAndTheModelsHardPointsInOrder) {
  EditedRecord<Module> module(DT_STRUCTURE, {"HP_2", "HP_1", "HP_2"});
  EXPECT_THAT(module.options("Effect hardpoint"), ElementsAre("", "HP_2", "HP_1", "HP_2"));
  EditedRecord<Fragile> fragile(DT_FRAGILE, {});
  EXPECT_THAT(fragile.options("Effect hardpoint"), ElementsAre(""));
}

TEST(TheHardPointList, OffersOnlyNothingWhenTheParentHasNoHardPoints) {
  mio::DynamicObject parent;
  Module record;
  record.setParent(&parent);
  EXPECT_THAT(record.property("Effect hardpoint").options(), ElementsAre(tyk::Variant("")));
  record.setParent(nullptr);
  EXPECT_THAT(record.property("Effect hardpoint").options(), ElementsAre(tyk::Variant("")));
}

TEST(TheHardPointList, RefusesAParentWhoseHardPointsAreNoList) {
  mio::DynamicObject parent;
  parent.addProperty("_hardPoints", tyk::Variant::Type::string, [] { return tyk::Variant("HP_1"); });
  Module record;
  record.setParent(&parent);
  EXPECT_THROW(record.property("Effect hardpoint").options(), tyk::BadCast);
}

}  // namespace
}  // namespace Tal
