#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class TheMaterials : public DestructiblesTest {
 protected:
  /// Whether a model of one material finds its kind not to agree with its name.
  static bool isDisordered(const std::string& name, unsigned kind) {
    Access::hasLoaded() = true;
    const OpenModel open({{{name, kind}}}, "m");
    return open->hasDisorderedMaterialKinds(nullptr);
  }
};

// --- The table of kinds ---

TEST_F(TheMaterials, AreListedByNameWithTheKindOfTheLastSlot) {
  const OpenModel open({{{"b", 80}, {"a", 90}, {"b", 81}, {"c", 0}, {"", 7}}}, "m");
  EXPECT_THAT(open->getMaterialNames(),
              ElementsAre(Pair("", 7U), Pair("a", 90U), Pair("b", 81U), Pair("c", 0U)));
}

TEST_F(TheMaterials, AreListedAnewOnRequest) {
  const OpenModel open({{{"a", 80}, {"b", 81}}}, "m");
  const auto changed = support::buildModel({{{"c", 82}}});
  open->resetMatKindsByName(changed.get());
  EXPECT_THAT(open->getMaterialNames(), ElementsAre(Pair("c", 82U)));
}

TEST_F(TheMaterials, AreThoseOfTheSlotsThatHoldOne) {
  const auto model = support::buildModel({});
  model->materials_ = ModelMaterials({nullptr, std::make_shared<MaterialInstance>("wall", 73), nullptr});
  KsMaterialDisabler disabler(model.get());
  const KsDestructiblesHelper helper(model.get(), "m", &disabler);
  EXPECT_THAT(helper.getMaterialNames(), ElementsAre(Pair("wall", 73U)));
}

TEST_F(TheMaterials, AreNoneWhileTheModelIsNotReady) {
  const OpenModel open({{{"a", 80}}}, "m");
  open.model->ready_ = false;
  open->resetMatKindsByName(open.model.get());
  EXPECT_THAT(open->getMaterialNames(), IsEmpty());
}

TEST_F(TheMaterials, WithoutAKindAnswer0AndUnknownOnesAnswerAllBitsSet) {
  const OpenModel open({{{"plain", 0}, {"wall", 80}, {"odd", 4294967294U}}}, "m");
  EXPECT_EQ(open->getMaterialKind("plain"), 0U);
  EXPECT_EQ(open->getMaterialKind("wall"), 80U);
  EXPECT_EQ(open->getMaterialKind("odd"), 4294967294U);
  EXPECT_EQ(open->getMaterialKind("Wall"), 4294967295U);
  EXPECT_EQ(open->getMaterialKind(""), 4294967295U);
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheMaterials, OfAKindAreListedInAscendingOrder) {
  const OpenModel open({{{"z", 80}, {"b", 81}, {"a", 80}, {"B", 80}}}, "m");
  EXPECT_THAT(open->getMaterialNames(80), ElementsAre("B", "a", "z"));
  EXPECT_THAT(open->getMaterialNames(81), ElementsAre("b"));
  EXPECT_THAT(open->getMaterialNames(0), IsEmpty());
  EXPECT_THAT(open->getMaterialNames(4294967295U), IsEmpty());
}

// --- The classes of names ---

TEST_F(TheMaterials, AreStaticWhenTheirNamesBeginWithASmallS) {
  const KsDestructiblesHelper helper;
  for (const char* name : {"s", "stone1", "s_wall", "spartN"})
    EXPECT_TRUE(helper.isStaticMaterialName(name)) << name;
  for (const char* name : {"", "S", "Stone", "wall_s", " s"})
    EXPECT_FALSE(helper.isStaticMaterialName(name)) << name;
}

TEST_F(TheMaterials, AreDestroyedByNameWhenItBeginsWithDOrIsLongerThanPartD) {
  const KsDestructiblesHelper helper;
  for (const char* name : {"d", "door", "d_1", "partD1", "partDx", "partDD"})
    EXPECT_TRUE(helper.isDestroyedMaterialName(name)) << name;
  for (const char* name : {"", "D", "partD", "partd1", "PartD1", "xpartD1", "partN1", "part", "n", " d"})
    EXPECT_FALSE(helper.isDestroyedMaterialName(name)) << name;
}

TEST_F(TheMaterials, AreUndamagedByNameWhenItBeginsWithNOrIsLongerThanPartN) {
  const KsDestructiblesHelper helper;
  for (const char* name : {"n", "nothing", "n_1", "partN1", "partNx", "partNN"})
    EXPECT_TRUE(helper.isUndamagedMaterialName(name)) << name;
  for (const char* name : {"", "N", "partN", "partn1", "PartN1", "xpartN1", "partD1", "part", "d", " n"})
    EXPECT_FALSE(helper.isUndamagedMaterialName(name)) << name;
}

TEST_F(TheMaterials, NamedPartNAreNotUndamagedButPartNxAndNothingAre) {
  const KsDestructiblesHelper helper;
  EXPECT_FALSE(helper.isUndamagedMaterialName("partN"));
  EXPECT_TRUE(helper.isUndamagedMaterialName("partNx"));
  EXPECT_TRUE(helper.isUndamagedMaterialName("nothing"));
}

TEST_F(TheMaterials, AreUndamagedByKindWhenTheyHaveOne) {
  const OpenModel open({{{"partN_72", 72}, {"d_73", 73}, {"x_86", 86}, {"partN_87", 87}, {"nx_1", 1}}}, "m");
  EXPECT_FALSE(open->isMaterialKindUndamaged("partN_72"));
  EXPECT_TRUE(open->isMaterialKindUndamaged("d_73"));
  EXPECT_TRUE(open->isMaterialKindUndamaged("x_86"));
  EXPECT_FALSE(open->isMaterialKindUndamaged("partN_87"));
  EXPECT_FALSE(open->isMaterialKindUndamaged("nx_1"));
}

TEST_F(TheMaterials, AreDestroyedByKindWhenTheyHaveOne) {
  const OpenModel open({{{"partD_86", 86}, {"n_87", 87}, {"x_100", 100}, {"partD_101", 101}, {"dx_1", 1}}},
                       "m");
  EXPECT_FALSE(open->isMaterialKindDestroyed("partD_86"));
  EXPECT_TRUE(open->isMaterialKindDestroyed("n_87"));
  EXPECT_TRUE(open->isMaterialKindDestroyed("x_100"));
  EXPECT_FALSE(open->isMaterialKindDestroyed("partD_101"));
  EXPECT_FALSE(open->isMaterialKindDestroyed("dx_1"));
}

TEST_F(TheMaterials, OfADestroyedKindAreNotUndamagedWhateverTheirNameAndOfKind0TheNameDecides) {
  const OpenModel open({{{"partN_a", 90}, {"partN_b", 0}, {"wall", 0}}}, "m");
  EXPECT_FALSE(open->isMaterialKindUndamaged("partN_a"));
  EXPECT_TRUE(open->isMaterialKindUndamaged("partN_b"));
  EXPECT_FALSE(open->isMaterialKindUndamaged("wall"));
}

TEST_F(TheMaterials, WithoutAKindOrUnknownAreClassifiedByTheirNames) {
  const OpenModel open({{{"d_a", 0}, {"n_a", 0}}}, "m");
  EXPECT_TRUE(open->isMaterialKindDestroyed("d_a"));
  EXPECT_TRUE(open->isMaterialKindDestroyed("d unknown"));
  EXPECT_FALSE(open->isMaterialKindDestroyed("n_a"));
  EXPECT_FALSE(open->isMaterialKindDestroyed("unknown"));
  EXPECT_TRUE(open->isMaterialKindUndamaged("n_a"));
  EXPECT_TRUE(open->isMaterialKindUndamaged("n unknown"));
  EXPECT_FALSE(open->isMaterialKindUndamaged("d_a"));
  EXPECT_FALSE(open->isMaterialKindUndamaged("unknown"));
  EXPECT_FALSE(open->isMaterialKindUndamaged(""));
  EXPECT_FALSE(open->isMaterialKindDestroyed(""));
}

TEST_F(TheMaterials, WithStaticNamesAreNeitherDestroyedNorUndamagedNorDisorderedWhateverTheirKind) {
  const OpenModel open({{{"stone1", 90}, {"stone2", 80}}}, "m");
  EXPECT_TRUE(open->isStaticMaterialName("stone1"));
  EXPECT_FALSE(open->isMaterialKindDestroyed("stone1"));
  EXPECT_FALSE(open->isMaterialKindUndamaged("stone2"));
  Strings names;
  EXPECT_FALSE(open->hasDisorderedMaterialKinds(&names));
  EXPECT_THAT(names, IsEmpty());
}

// --- Visibility and dependencies ---

TEST_F(TheMaterials, AreVisibleAsTheDisablerSays) {
  OpenModel open({{{"nwall", 73}}}, "m");
  EXPECT_TRUE(open->isMaterialKindVisible(73));
  open.disabler.setMaterialKindVisible(73, false);
  open.journal.clear();
  EXPECT_FALSE(open->isMaterialKindVisible(73));
  EXPECT_THAT(open.journal, ElementsAre("isVisible 73"));
}

TEST_F(TheMaterials, AskedForTheirVisibilityWithoutADisablerReportAnAssertion) {
  const KsDestructiblesHelper helper;
  messages_.clear();
  (void)helper.isMaterialKindVisible(73);
  ASSERT_EQ(messages_.messages().size(), 1U);
  const DebugMessage& message = messages_.messages()[0];
  EXPECT_TRUE(message.isCritical);
  EXPECT_EQ(message.file, "lib/destructibles/ks_destructibles_helper");
  EXPECT_EQ(message.line, 1689U);
  EXPECT_EQ(message.text,
            "ASSERTION FAILED: materialDisabler_\r\nlib/destructibles/ks_destructibles_helper(1689)\r\n");
}

TEST_F(TheMaterials, WithoutDependenciesShareOneEmptyList) {
  const OpenModel open({{{"a_b_5_7", 80}, {"c_d_7", 81}}}, "m");
  const OpenModel other({}, "m");
  EXPECT_THAT(open->getMaterialDependencies(80), ElementsAre(81U));
  const Kinds& none = open->getMaterialDependencies(81);
  EXPECT_THAT(none, IsEmpty());
  EXPECT_EQ(&none, &open->getMaterialDependencies(81));
  EXPECT_EQ(&none, &open->getMaterialDependencies(0));
  EXPECT_EQ(&none, &open->getMaterialDependencies(4294967295U));
  EXPECT_EQ(&none, &other->getMaterialDependencies(80));
}

// --- Default kinds ---

TEST_F(TheMaterials, WithoutAKindAreFoundByAPatternForTheWholeName) {
  const OpenModel open({{{"wall_b", 0}, {"wall_a", 0}, {"wall_c", 73}, {"roof", 0}, {"a wall_d", 0}}}, "m");
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("wall.*"), nullptr));
  Strings names = {"already here"};
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("wall.*"), &names));
  EXPECT_THAT(names, ElementsAre("already here", "wall_a", "wall_b"));
}

TEST_F(TheMaterials, AreNotFoundWhenAllThatMatchHaveAKind) {
  const OpenModel open({{{"wall", 73}, {"roof", 0}}}, "m");
  Strings names;
  EXPECT_FALSE(open->hasDefaultMaterialKinds(std::regex("wall"), &names));
  EXPECT_FALSE(open->hasDefaultMaterialKinds(std::regex("roo"), &names));
  EXPECT_FALSE(open->hasDefaultMaterialKinds(std::regex("oof"), &names));
  EXPECT_THAT(names, IsEmpty());
}

TEST_F(TheMaterials, OfAnEmptyTableAreNotFound) {
  const OpenModel open({}, "m");
  Strings names;
  EXPECT_FALSE(open->hasDefaultMaterialKinds(std::regex(".*"), &names));
  EXPECT_FALSE(open->hasDisorderedMaterialKinds(&names));
  EXPECT_THAT(names, IsEmpty());
}

TEST_F(TheMaterials, OfTheEmptyNameMatchAPatternForNothing) {
  const OpenModel open({{{"", 0}, {"a", 0}}}, "m");
  Strings names;
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("x?"), &names));
  EXPECT_THAT(names, ElementsAre(""));
}

TEST_F(TheMaterials, WithoutAKindAreFoundByThePatternsOwnFlags) {
  const OpenModel open({{{"Wall", 0}, {"wa.l", 0}}}, "m");
  Strings names;
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("wall", std::regex::icase), &names));
  EXPECT_TRUE(open->hasDefaultMaterialKinds(std::regex("wa\\.l", std::regex::extended), &names));
  EXPECT_THAT(names, ElementsAre("Wall", "wa.l"));
}

// --- Disordered kinds ---

TEST_F(TheMaterials, NamedPartN3AreInOrderWithKind76AndNotWithKind77) {
  EXPECT_FALSE(isDisordered("partN3", 76));
  EXPECT_TRUE(isDisordered("partN3", 77));
}

TEST_F(TheMaterials, AreOrderedByTheLastDigitOfTheirName) {
  EXPECT_FALSE(isDisordered("partD10", 87));
  EXPECT_FALSE(isDisordered("partD12", 89));
  EXPECT_TRUE(isDisordered("partD12", 99));
}

struct OrderRow {
  const char* title;
  const char* name;
  unsigned kind;
  bool isDisordered;
};

class TheOrderOfKinds : public DestructiblesTest, public ::testing::WithParamInterface<OrderRow> {};

TEST_P(TheOrderOfKinds, Holds) {
  pretendLoaded();
  const OpenModel open({{{GetParam().name, GetParam().kind}}}, "m");
  EXPECT_EQ(open->hasDisorderedMaterialKinds(nullptr), GetParam().isDisordered);
  Strings names;
  EXPECT_EQ(open->hasDisorderedMaterialKinds(&names), GetParam().isDisordered);
  EXPECT_EQ(names, GetParam().isDisordered ? Strings{GetParam().name} : Strings{});
}

INSTANTIATE_TEST_SUITE_P(
    Rows, TheOrderOfKinds,
    ::testing::Values(OrderRow{"ForTheFirstUndamagedKind", "n0", 73, false},
                      OrderRow{"BelowTheUndamagedKinds", "n0", 72, false},
                      OrderRow{"ExpectsZeroBelowTheUndamagedKinds", "n1", 72, true},
                      OrderRow{"ForUndamagedPartNine", "n9", 82, false},
                      OrderRow{"NeverForUndamagedPartTen", "n10", 83, true},
                      OrderRow{"NeverForTheLastUndamagedPart", "n13", 86, true},
                      OrderRow{"ExpectsZeroForAnUndamagedNameOfADestroyedKind", "n0", 90, false},
                      OrderRow{"FailsForAnUndamagedNameOfItsDestroyedKind", "n3", 90, true},
                      OrderRow{"ForTheFirstDestroyedKind", "d0", 87, false},
                      OrderRow{"ForDestroyedPartNine", "d9", 96, false},
                      OrderRow{"NeverForTheLastDestroyedPart", "d13", 100, true},
                      OrderRow{"ExpectsZeroAboveTheDestroyedKinds", "d0", 101, false},
                      OrderRow{"FailsForANumberAboveTheDestroyedKinds", "d4", 101, true},
                      OrderRow{"ExpectsZeroForADestroyedNameOfAnUndamagedKind", "d0", 76, false},
                      OrderRow{"FailsForADestroyedNameOfItsUndamagedKind", "d3", 76, true},
                      OrderRow{"ExpectsZeroForAnyOtherName", "wall0", 76, false},
                      OrderRow{"FailsForAnyOtherNameThatEndsInADigit", "wall3", 76, true},
                      OrderRow{"HoldsForAnyOtherNameWithoutANumber", "wall", 80, false},
                      OrderRow{"CountsNoNumberAsZero", "nwall", 73, false},
                      OrderRow{"FailsForANameWithoutANumberOfALaterPart", "nwall", 74, true},
                      OrderRow{"HoldsForAStaticName", "s5", 76, false},
                      OrderRow{"HoldsForKindZeroWithoutANumber", "n", 0, false},
                      OrderRow{"FailsForKindZeroWithANumber", "n1", 0, true},
                      OrderRow{"TakesPartNOfFiveCharactersForAnyOtherName", "partN", 80, false}),
    [](const auto& row) { return std::string(row.param.title); });

TEST_F(TheMaterials, ThatAreDisorderedAreAppendedInAscendingOrder) {
  const OpenModel open({{{"n2", 73}, {"d1", 87}, {"n1", 74}, {"wall4", 80}, {"s9", 80}}}, "m");
  Strings names = {"already here"};
  EXPECT_TRUE(open->hasDisorderedMaterialKinds(&names));
  EXPECT_THAT(names, ElementsAre("already here", "d1", "n2", "wall4"));
}

}  // namespace
}  // namespace Tal
