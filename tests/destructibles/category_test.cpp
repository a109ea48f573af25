#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

using Materials = std::vector<support::MaterialPart>;

class TheCategory : public DestructiblesTest {
 protected:
  static KsDestructibleType proposedFor(const Materials& materials) {
    Access::hasLoaded() = true;
    const OpenModel open({materials}, "m");
    return open->calculateType();
  }
};

// --- The proposal ---

TEST_F(TheCategory, ProposedFollowsTheCountsOfUndamagedAndDestroyedMaterials) {
  EXPECT_EQ(proposedFor({}), DT_NON_DESTRUCTIBLE);
  EXPECT_EQ(proposedFor({{"u", 73}, {"v", 87}}), DT_FRAGILE);
  EXPECT_EQ(proposedFor({{"u", 73}, {"v", 87}, {"w", 88}}), DT_STRUCTURE);
  EXPECT_EQ(proposedFor({{"v", 87}}), DT_NON_DESTRUCTIBLE);
  EXPECT_EQ(proposedFor({{"u", 73}, {"v", 74}}), DT_STRUCTURE);
  EXPECT_EQ(proposedFor({{"u", 1}, {"v", 72}, {"w", 101}, {"x", 0}}), DT_NON_DESTRUCTIBLE);
}

TEST_F(TheCategory, ProposedCountsTwoDestroyedMaterialsAsAStructure) {
  EXPECT_EQ(proposedFor({{"v", 87}, {"w", 100}}), DT_STRUCTURE);
}

TEST_F(TheCategory, ProposedIsAFragileForOneUndamagedMaterial) {
  EXPECT_EQ(proposedFor({{"u", 86}}), DT_FRAGILE);
  EXPECT_EQ(proposedFor({{"u", 73}, {"other", 5}}), DT_FRAGILE);
}

TEST_F(TheCategory, ProposedTakesNamesWhereNoKindIsAssigned) {
  EXPECT_EQ(proposedFor({{"n1", 0}, {"partN2", 0}}), DT_STRUCTURE);
  EXPECT_EQ(proposedFor({{"n1", 0}, {"d1", 0}}), DT_FRAGILE);
  EXPECT_EQ(proposedFor({{"partD1", 0}, {"d2", 0}}), DT_STRUCTURE);
}

TEST_F(TheCategory, ProposedDoesNotCountStaticMaterials) {
  EXPECT_EQ(proposedFor({{"s1", 73}, {"s2", 74}, {"s3", 87}, {"s4", 88}}), DT_NON_DESTRUCTIBLE);
}

TEST_F(TheCategory, ProposedCountsMaterialsOfTheSameKindEach) {
  EXPECT_EQ(proposedFor({{"u", 73}, {"v", 73}}), DT_STRUCTURE);
}

TEST_F(TheCategory, ProposedChangesNothing) {
  const OpenModel open({{{"u", 73}, {"v", 74}}}, "m");
  int told = 0;
  const ks::Connection listening = open->connectDestructibleTypeChanged([&] { ++told; });
  EXPECT_EQ(open->calculateType(), DT_STRUCTURE);
  EXPECT_EQ(open->destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_TRUE(Access::tablesAreEmpty());
  EXPECT_EQ(told, 0);
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

// --- Existence and section names ---

TEST_F(TheCategory, OfAModelInNoTableExistsNotAndInAnyTableItDoes) {
  const OpenModel open({}, "m");
  EXPECT_TRUE(Access::checkForExistence(*open));
  Access::moduleMap()["M"];
  EXPECT_TRUE(Access::checkForExistence(*open));
  Access::moduleMap()["m"];
  EXPECT_FALSE(Access::checkForExistence(*open));
  Access::moduleMap().erase("m");
  Access::fragileMap()["m"];
  EXPECT_FALSE(Access::checkForExistence(*open));
  Access::fragileMap().erase("m");
  Access::fallingAtomMap()["m"];
  EXPECT_FALSE(Access::checkForExistence(*open));
  Access::fallingAtomMap().erase("m");
  EXPECT_TRUE(Access::checkForExistence(*open));
}

TEST_F(TheCategory, OfAModelWithStatesOnlyExists) {
  const OpenModel open({}, "m");
  Access::stateMap()["m"];
  EXPECT_FALSE(Access::checkForExistence(*open));
}

TEST_F(TheCategory, NamesItsSectionOfTheFile) {
  const OpenModel open({}, "m");
  EXPECT_EQ(Access::categoryName(*open), "");
  open->setAsStructure();
  EXPECT_EQ(Access::categoryName(*open), "structures");
  open->setAsFragile();
  EXPECT_EQ(Access::categoryName(*open), "fragiles");
  open->setAsFallingAtoms();
  EXPECT_EQ(Access::categoryName(*open), "fallingAtoms");
}

TEST_F(TheCategory, OfANonDestructibleModelHasNoSection) {
  const OpenModel open({}, "m");
  ASSERT_EQ(open->destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_EQ(Access::categoryName(*open), "");
}

TEST_F(TheCategory, OfAnyOtherNumberHasNoSection) {
  const OpenModel open({}, "m");
  Access::type(*open) = static_cast<KsDestructibleType>(4);
  EXPECT_EQ(Access::categoryName(*open), "");
  Access::type(*open) = static_cast<KsDestructibleType>(-1);
  EXPECT_EQ(Access::categoryName(*open), "");
  Access::type(*open) = DT_NON_DESTRUCTIBLE;
}

// --- Every transition ---

enum class Operation { toStructure, toFragile, toFallingAtoms, toNone, forceToNone };

struct Transition {
  const char* title;
  KsDestructibleType from;
  Operation operation;
  KsDestructibleType to;
  bool isSignalled;
  int priority;  ///< of the message; 0: none is logged
  const char* text;
};

constexpr const char* kAlreadyStructure = "Model is already destructible as structure.\n";
constexpr const char* kAlreadyFragile = "Model is already destructible as fragile.\n";
constexpr const char* kAlreadyFalling = "Model is already destructible as falling atom.\n";

constexpr Transition kTransitions[] = {
    {"StructureToStructure", DT_STRUCTURE, Operation::toStructure, DT_STRUCTURE, false, 5, kAlreadyStructure},
    {"FragileToStructure", DT_FRAGILE, Operation::toStructure, DT_STRUCTURE, true, 2,
     "Model is set as structure."},
    {"FallingToStructure", DT_FALLING_ATOMS, Operation::toStructure, DT_STRUCTURE, true, 2,
     "Model is set as structure."},
    {"NoneToStructure", DT_NON_DESTRUCTIBLE, Operation::toStructure, DT_STRUCTURE, true, 2,
     "Model is set as structure."},
    {"StructureToFragile", DT_STRUCTURE, Operation::toFragile, DT_FRAGILE, true, 2,
     "Model is set as fragile."},
    {"FragileToFragile", DT_FRAGILE, Operation::toFragile, DT_FRAGILE, false, 5, kAlreadyFragile},
    {"FallingToFragile", DT_FALLING_ATOMS, Operation::toFragile, DT_FRAGILE, true, 2,
     "Model is set as fragile."},
    {"NoneToFragile", DT_NON_DESTRUCTIBLE, Operation::toFragile, DT_FRAGILE, true, 2,
     "Model is set as fragile."},
    {"StructureToFalling", DT_STRUCTURE, Operation::toFallingAtoms, DT_FALLING_ATOMS, true, 2,
     "Model is set as falling atom."},
    {"FragileToFalling", DT_FRAGILE, Operation::toFallingAtoms, DT_FALLING_ATOMS, true, 2,
     "Model is set as falling atom."},
    {"FallingToFalling", DT_FALLING_ATOMS, Operation::toFallingAtoms, DT_FALLING_ATOMS, false, 5,
     kAlreadyFalling},
    {"NoneToFalling", DT_NON_DESTRUCTIBLE, Operation::toFallingAtoms, DT_FALLING_ATOMS, true, 2,
     "Model is set as falling atom."},
    {"StructureToNone", DT_STRUCTURE, Operation::toNone, DT_NON_DESTRUCTIBLE, true, 0, ""},
    {"FragileToNone", DT_FRAGILE, Operation::toNone, DT_NON_DESTRUCTIBLE, true, 0, ""},
    {"FallingToNone", DT_FALLING_ATOMS, Operation::toNone, DT_NON_DESTRUCTIBLE, true, 0, ""},
    {"NoneToNone", DT_NON_DESTRUCTIBLE, Operation::toNone, DT_NON_DESTRUCTIBLE, false, 0, ""},
    {"StructureForcedToNone", DT_STRUCTURE, Operation::forceToNone, DT_NON_DESTRUCTIBLE, true, 0, ""},
    {"FragileForcedToNone", DT_FRAGILE, Operation::forceToNone, DT_NON_DESTRUCTIBLE, true, 0, ""},
    {"FallingForcedToNone", DT_FALLING_ATOMS, Operation::forceToNone, DT_NON_DESTRUCTIBLE, true, 0, ""},
    {"NoneForcedToNone", DT_NON_DESTRUCTIBLE, Operation::forceToNone, DT_NON_DESTRUCTIBLE, true, 0, ""},
};

class ATransition : public DestructiblesTest, public ::testing::WithParamInterface<Transition> {
 protected:
  static void run(KsDestructiblesHelper& helper) {
    switch (GetParam().operation) {
      case Operation::toStructure:
        return helper.setAsStructure();
      case Operation::toFragile:
        return helper.setAsFragile();
      case Operation::toFallingAtoms:
        return helper.setAsFallingAtoms();
      case Operation::toNone:
        return helper.setAsNonDestructible(false);
      case Operation::forceToNone:
        return helper.setAsNonDestructible(true);
    }
  }

  /// A model of the category from which the transition starts, known to the file.
  void writeModel() const {
    switch (GetParam().from) {
      case DT_STRUCTURE:
        return writeDatabase(
            "<r><structures><entry><filename>m</filename><modules/></entry></structures></r>");
      case DT_FRAGILE:
        return writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
      case DT_FALLING_ATOMS:
        return writeDatabase("<r><fallingAtoms><entry><filename>m</filename></entry></fallingAtoms></r>");
      case DT_NON_DESTRUCTIBLE:
        return writeDatabase("<r/>");
    }
  }
};

TEST_P(ATransition, SetsTheCategoryMakesTheEntryLogsAndSignals) {
  writeModel();
  const OpenModel open({{{"nwall", 73}}}, "m");
  ASSERT_EQ(open->destructibleType(), GetParam().from);
  int told = 0;
  const ks::Connection listening = open->connectDestructibleTypeChanged([&] {
    ++told;
    EXPECT_EQ(open->destructibleType(), GetParam().to);
  });
  run(*open);

  EXPECT_EQ(open->destructibleType(), GetParam().to);
  EXPECT_EQ(told, GetParam().isSignalled ? 1 : 0);
  if (GetParam().priority == 0) {
    EXPECT_THAT(messages_.messages(), IsEmpty());
  } else {
    EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(GetParam().priority, GetParam().text)));
  }
  // The entries of the former category stay; only the way to no category takes them away.
  const bool isKept = GetParam().to != DT_NON_DESTRUCTIBLE;
  const auto holds = [&](KsDestructibleType type) {
    return isKept && (GetParam().from == type || GetParam().to == type) ? 1U : 0U;
  };
  EXPECT_EQ(Access::moduleMap().count("m"), holds(DT_STRUCTURE));
  EXPECT_EQ(Access::fragileMap().count("m"), holds(DT_FRAGILE));
  EXPECT_EQ(Access::fallingAtomMap().count("m"), holds(DT_FALLING_ATOMS));
  EXPECT_THAT(Access::stateMap(), IsEmpty());
  const bool isMade = isKept && GetParam().from != GetParam().to;
  const bool isErased = !isKept && GetParam().from != DT_NON_DESTRUCTIBLE;
  EXPECT_EQ(open->isMissingInDestructiblesXml(), isMade || isErased);
}

INSTANTIATE_TEST_SUITE_P(Of, ATransition, ::testing::ValuesIn(kTransitions),
                         [](const auto& row) { return std::string(row.param.title); });

// --- Conversions in detail ---

TEST_F(TheCategory, IsRefusedToAFragileAsAFragileWithoutAnyChange) {
  writeDatabase("<r><fragiles><entry><filename>m</filename><health>3</health></entry></fragiles></r>");
  const OpenModel open({}, "m");
  int told = 0;
  const ks::Connection listening = open->connectDestructibleTypeChanged([&] { ++told; });
  open->setAsFragile();
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(5, "Model is already destructible as fragile.\n")));
  EXPECT_EQ(told, 0);
  EXPECT_EQ(Access::fragileMap().at("m").health, 3);
  EXPECT_THAT(Access::moduleMap(), IsEmpty());
}

TEST_F(TheCategory, WhenRefusedMakesNoLostEntryAnew) {
  writeDatabase("<r><fragiles><entry><filename>m</filename></entry></fragiles></r>");
  const OpenModel open({}, "m");
  Access::fragileMap().clear();
  open->setAsFragile();
  EXPECT_THAT(Access::fragileMap(), IsEmpty());
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
}

TEST_F(TheCategory, OfAFragileMadeAStructureLeavesTheFragileEntryAndSignalsOnce) {
  writeDatabase("<r><fragiles><entry><filename>m</filename><health>3</health></entry></fragiles></r>");
  const OpenModel open({{{"nwall", 73}}}, "m");
  int told = 0;
  const ks::Connection listening = open->connectDestructibleTypeChanged([&] { ++told; });
  open->setAsStructure();
  EXPECT_EQ(Access::fragileMap().at("m").health, 3);
  EXPECT_THAT(Access::moduleMap(), ElementsAre(Pair("m", ElementsAre(Key("nwall")))));
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(2, "Model is set as structure.")));
  EXPECT_EQ(told, 1);
}

TEST_F(TheCategory, KeepsTheValuesOfAnEntryThatWasThereBefore) {
  writeDatabase(R"(<r><structures><entry><filename>m</filename><modules/></entry></structures>
    <fragiles><entry><filename>m</filename><health>3</health></entry></fragiles></r>)");
  const OpenModel open({}, "m");
  open->setAsFragile();
  EXPECT_EQ(Access::fragileMap().at("m").health, 3);
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
}

TEST_F(TheCategory, OfNoneIsForcedSilentlyOnEntriesThatOthersMade) {
  const OpenModel open({}, "m");
  const OpenModel other({}, "m");
  other->setAsFragile();
  other->setAsStructure();
  other->addDestructibleState("ruined");
  Access::fragileMap()["x"];
  messages_.clear();
  int told = 0;
  const ks::Connection listening = open->connectDestructibleTypeChanged([&] { ++told; });

  open->setAsNonDestructible(false);
  EXPECT_EQ(told, 0);
  EXPECT_EQ(Access::fragileMap().count("m"), 1U);

  open->setAsNonDestructible(true);
  EXPECT_EQ(told, 1);
  EXPECT_THAT(Access::fragileMap(), ElementsAre(Key("x")));
  EXPECT_THAT(Access::moduleMap(), IsEmpty());
  EXPECT_THAT(Access::stateMap(), IsEmpty());
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheCategory, OfNoneMarksTheModelAsMissingOnlyWhenAnEntryWasErased) {
  const OpenModel open({}, "m");
  open->setAsNonDestructible(true);
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
  Access::stateMap()["m"];
  open->setAsNonDestructible(true);
  EXPECT_TRUE(open->isMissingInDestructiblesXml());
  open->setAsNonDestructible(true);
  EXPECT_TRUE(open->isMissingInDestructiblesXml()) << "it is never cleared here";
}

TEST_F(TheCategory, OfNoneErasesFromEveryTable) {
  using Erase = void (*)();
  for (const Erase put :
       {Erase([] { Access::stateMap()["m"]; }), Erase([] { Access::moduleMap()["m"]["a"]; }),
        Erase([] { Access::fragileMap()["m"]; }), Erase([] { Access::fallingAtomMap()["m"]; })}) {
    const OpenModel open({}, "m");
    put();
    open->setAsNonDestructible(true);
    EXPECT_TRUE(Access::tablesAreEmpty());
    EXPECT_TRUE(open->isMissingInDestructiblesXml());
  }
}

TEST_F(TheCategory, IsLoggedBeforeItIsSignalled) {
  const OpenModel open({}, "m");
  std::size_t loggedBefore = 0;
  const ks::Connection listening =
      open->connectDestructibleTypeChanged([&] { loggedBefore = messages_.messages().size(); });
  open->setAsFallingAtoms();
  EXPECT_EQ(loggedBefore, 1U);
}

TEST_F(TheCategory, ChangesWithoutTouchingTheFile) {
  const std::string text = "<r><fragiles><entry><filename>m</filename></entry></fragiles></r>";
  writeDatabase(text);
  const OpenModel open({{{"nwall", 73}}}, "m");
  open->setAsStructure();
  open->setAsFallingAtoms();
  open->setAsNonDestructible(false);
  EXPECT_EQ(readDatabase(), text);
}

TEST_F(TheCategory, SignalsOnlyTheListenersOfItsOwnHelper) {
  const OpenModel open({}, "m");
  const OpenModel other({}, "m");
  int told = 0;
  const ks::Connection listening = other->connectDestructibleTypeChanged([&] { ++told; });
  open->setAsFragile();
  EXPECT_EQ(told, 0);
  EXPECT_EQ(other->destructibleType(), DT_NON_DESTRUCTIBLE);
}

}  // namespace
}  // namespace Tal
