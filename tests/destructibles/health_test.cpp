#include <destructibles/fixture.h>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Materials = std::vector<support::MaterialPart>;

class TheHealth : public DestructiblesTest {
 protected:
  /// The estimate for a gate whose undamaged materials have the given names.
  static int ofGate(const Strings& names, const std::string& model = "a/gatesandfences/b.model") {
    Access::hasLoaded() = true;
    support::ModelParts parts;
    for (const std::string& name : names) parts.materials.push_back({name, 73});
    const OpenModel open(parts, model);
    return open->calculateDestructibleHealth();
  }

  /// The estimate for a model of nothing, of the category `type`.
  static int ofModel(const std::string& model, KsDestructibleType type = DT_NON_DESTRUCTIBLE) {
    Access::hasLoaded() = true;
    const OpenModel open({}, model);
    Access::type(*open) = type;
    return open->calculateDestructibleHealth();
  }

  /// The estimate for a big structure of the given undamaged materials, some of them collision materials.
  static int ofStructure(const Materials& materials, const Strings& bsp, bool hasModules = true) {
    Access::hasLoaded() = true;
    const OpenModel open({.materials = materials, .bsp = bsp}, "big.model");
    Access::type(*open) = DT_STRUCTURE;
    if (hasModules) Access::moduleMap()["big.model"];
    const int health = open->calculateDestructibleHealth();
    Access::moduleMap().clear();
    return health;
  }
};

constexpr KsDestructibleType kTypes[] = {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS, DT_NON_DESTRUCTIBLE};

std::string warningFor(const std::string& path) {
  return "[Wrn.122] Model " + path +
         " has no stone, wood and metal materials - cannot calculate health of destructible.";
}

// --- Gates and fences ---

TEST_F(TheHealth, OfGatesIsFoundInAnyCaseWithBackslashesAndTheWarningShowsThePathNormalised) {
  EXPECT_EQ(ofGate({}, "Content\\GatesAndFences\\Big_Gate.MODEL"), -1);
  EXPECT_THAT(messages_.messages(),
              ElementsAre(isLogged(4, warningFor("content/gatesandfences/big_gate.model"))));
}

TEST_F(TheHealth, OfGatesFollowsTheWordsInTheirMaterials) {
  EXPECT_EQ(ofGate({"brick_metal_01", "wood_02"}), 1);
  EXPECT_EQ(ofGate({"brick_metal_01", "wood_02", "a_stone"}), 10);
  EXPECT_THAT(messages_.messages(), IsEmpty());
  EXPECT_EQ(ofGate({"brick_01", "glass_02"}), -1);
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(4, warningFor("a/gatesandfences/b.model"))));
}

TEST_F(TheHealth, OfGatesTakesEachWordAnywhereInAName) {
  EXPECT_EQ(ofGate({"xstonex"}), 10);
  EXPECT_EQ(ofGate({"xwoodx"}), 1);
  EXPECT_EQ(ofGate({"xmetalx"}), 1);
  EXPECT_EQ(ofGate({"woodstone"}), 10) << "one name may hold several words";
}

TEST_F(TheHealth, OfGatesComparesTheWordsInTheirCase) {
  EXPECT_EQ(ofGate({"xStone", "WOOD", "xMetal"}), -1);
}

TEST_F(TheHealth, OfGatesLooksAtUndamagedMaterialsOnly) {
  pretendLoaded();
  const OpenModel open({{{"wood_a", 73}, {"brick_stone", 87}, {"stone", 0}, {"walls_stone", 74}}},
                       "a/gatesandfences/b");
  EXPECT_EQ(open->calculateDestructibleHealth(), 1) << "static names are no material of a state";
}

TEST_F(TheHealth, OfFallingGatesLooksAtMaterialsThatAreStaticByNameToo) {
  const OpenModel open({{{"walls_stone", 74}}}, "a/gatesandfences/b");
  EXPECT_EQ(open->calculateDestructibleHealth(), -1);
  Access::type(*open) = DT_FALLING_ATOMS;
  EXPECT_EQ(open->calculateDestructibleHealth(), 10);
}

TEST_F(TheHealth, OfGatesDoesNotAskForTheSizeNorForOtherMarkers) {
  writeVisual("a/gatesandfences/environment/b.visual", "9 9 9");
  EXPECT_EQ(ofGate({"wood"}, "a/gatesandfences/environment/b.model"), 1);
  EXPECT_EQ(ofGate({"xstone"}, "a/environment/gatesandfences/b.model"), 10);
}

TEST_F(TheHealth, NeedsTheSlashesAroundAMarker) {
  EXPECT_EQ(ofModel("gatesandfences/b", DT_FRAGILE), 20);
  EXPECT_EQ(ofModel("a/gatesandfences", DT_FRAGILE), 20);
  EXPECT_EQ(ofModel("environment/b", DT_FRAGILE), 20);
  EXPECT_EQ(ofModel("a/railways/b", DT_FRAGILE), 20);
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheHealth, LogsANameWithPercentSignsAsItIs) {
  EXPECT_EQ(ofGate({}, "a/gatesandfences/100%s%n%d.model"), -1);
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(4, warningFor("a/gatesandfences/100%s%n%d.model"))));
}

TEST_F(TheHealth, LowersAsciiLettersOnly) {
  EXPECT_EQ(ofGate({}, "A/GATESANDFENCES/ÄÖ"), -1);
  EXPECT_THAT(messages_.messages(), ElementsAre(isLogged(4, warningFor("a/gatesandfences/ÄÖ"))));
}

// --- Environment ---

TEST_F(TheHealth, OfTheEnvironmentFollowsTheVolumeFrom3On) {
  writeVisual("a/environment/rock.visual", "1 1 3");
  EXPECT_EQ(ofModel("a/environment/rock.model"), 10);
  writeVisual("a/environment/rock.visual", "1 1 2.9");
  EXPECT_EQ(ofModel("a/environment/rock.model"), 1);
  EXPECT_EQ(ofModel("a/environment/no such rock.model"), -1);
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheHealth, OfAVisualThatCannotBeParsedIsThatOfNoVisual) {
  root_.write("a/environment/rock.visual", "<r><boundingBox>");
  EXPECT_EQ(ofModel("a/environment/rock.model"), -1);
  root_.write("a/rock.visual", "<r><boundingBox>");
  EXPECT_EQ(ofModel("a/rock.model", DT_FRAGILE), 20);
  EXPECT_EQ(ofModel("a/rock.model", DT_STRUCTURE), 50);
  EXPECT_EQ(ofModel("a/rock.model"), -1);
}

TEST_F(TheHealth, OfTheEnvironmentIsFoundInAnyCaseWithBackslashes) {
  for (const char* folder : {"A\\Environment\\", "a\\MilitaryEnvironment/", "a/RAILWAY\\"}) {
    EXPECT_EQ(ofModel(std::string(folder) + "rock.model", DT_FRAGILE), -1) << "it has no visual";
  }
  EXPECT_EQ(ofModel("a\\Rocks\\rock.model", DT_FRAGILE), 20);
}

TEST_F(TheHealth, OfTheEnvironmentIs1WhenTheVolumeIsNoNumber) {
  writeVisual("a/environment/rock.visual", "1e30 1e30 0");  // too large a product, times nothing
  EXPECT_EQ(ofModel("a/environment/rock.model"), 1);
}

TEST_F(TheHealth, OfTheEnvironmentIsTheSameUnderEachMarkerAndForEachCategory) {
  for (const char* folder : {"a/environment", "a/militaryenvironment", "a/railway"}) {
    const std::string name = std::string(folder) + "/x";
    writeVisual(name + ".visual", "2 2 2");
    for (const KsDestructibleType type : kTypes) {
      EXPECT_EQ(ofModel(name + ".model", type), 10) << folder;
      EXPECT_EQ(ofModel(std::string(folder) + "/missing.model", type), -1) << folder;
    }
  }
}

TEST_F(TheHealth, FindsTheVisualUnderTheNameAsItIs) {
  writeVisual("A/Environment/Rock.visual", "2 2 2");
  EXPECT_EQ(ofModel("A/Environment/Rock.model"), 10);
  EXPECT_EQ(ofModel("a/environment/rock.model"), -1);
}

TEST_F(TheHealth, TakesTheSizeFromTheDifferenceOfTheCorners) {
  root_.write("a/environment/rock.visual",
              "<r><boundingBox><min>-1 -1 -1</min><max>1 0 0.5</max></boundingBox></r>");
  EXPECT_EQ(ofModel("a/environment/rock.model"), 10);
  root_.write("a/environment/rock.visual",
              "<r><boundingBox><min>9 9 9</min><max>10 10 11</max></boundingBox></r>");
  EXPECT_EQ(ofModel("a/environment/rock.model"), 1);
}

TEST_F(TheHealth, DoesNotCorrectNegativeSizes) {
  root_.write("a/environment/rock.visual",
              "<r><boundingBox><min>2 2 2</min><max>0 0 0</max></boundingBox></r>");
  EXPECT_EQ(ofModel("a/environment/rock.model"), 1) << "the volume is -8";
  root_.write("a/environment/rock.visual",
              "<r><boundingBox><min>2 2 0</min><max>0 0 2</max></boundingBox></r>");
  EXPECT_EQ(ofModel("a/environment/rock.model"), 10) << "the volume is 8";
}

TEST_F(TheHealth, TakesAnAbsentCornerAsTheOrigin) {
  root_.write("a/environment/rock.visual", "<r><boundingBox><max>2 2 2</max></boundingBox></r>");
  EXPECT_EQ(ofModel("a/environment/rock.model"), 10);
  root_.write("a/environment/rock.visual", "<r/>");
  EXPECT_EQ(ofModel("a/environment/rock.model"), 1);
}

// --- Everything else ---

TEST_F(TheHealth, OfAnythingSmallIs1WhateverItsCategory) {
  writeVisual("crate.visual", "1 1 0.5");
  for (const KsDestructibleType type : kTypes) EXPECT_EQ(ofModel("crate.model", type), 1);
}

TEST_F(TheHealth, OfAnythingBigFollowsItsCategory) {
  writeVisual("big.visual", "2 2 2");
  EXPECT_EQ(ofModel("big.model", DT_FRAGILE), 20);
  EXPECT_EQ(ofModel("big.model", DT_FALLING_ATOMS), 20);
  EXPECT_EQ(ofModel("big.model", DT_NON_DESTRUCTIBLE), -1);
  EXPECT_EQ(ofModel("big.model", DT_STRUCTURE), 50);
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheHealth, CountsAVolumeOfExactly3AsBig) {
  writeVisual("big.visual", "1 1 3");
  EXPECT_EQ(ofModel("big.model", DT_FRAGILE), 20);
  writeVisual("big.visual", "1 1 2.9999998");
  EXPECT_EQ(ofModel("big.model", DT_FRAGILE), 1);
}

TEST_F(TheHealth, MultipliesInSinglePrecisionHeightByWidthFirst) {
  writeVisual("big.visual", "1e30 1e30 1e-30");
  EXPECT_EQ(ofModel("big.model", DT_FRAGILE), 20) << "the product of the first two is infinite";
  writeVisual("big.visual", "1e-30 1e-30 1e38");
  EXPECT_EQ(ofModel("big.model", DT_FRAGILE), 1) << "the product of the first two is zero";
  writeVisual("big.visual", "1e30 1e30 0");
  EXPECT_EQ(ofModel("big.model", DT_FRAGILE), 1) << "infinity times zero is no number";
}

TEST_F(TheHealth, OfAVisualWithoutABoundingBoxIsThatOfSomethingSmall) {
  root_.write("big.visual", "<r/>");
  EXPECT_EQ(ofModel("big.model", DT_FRAGILE), 1);
}

TEST_F(TheHealth, OfAStructureIs35ForExactlyTwoUndamagedCollisionMaterials) {
  writeVisual("big.visual", "2 2 2");
  const Materials materials = {{"a", 73}, {"b", 74}, {"c", 75}, {"d", 88}};
  EXPECT_EQ(ofStructure(materials, {"a", "b"}), 35);
  EXPECT_EQ(ofStructure(materials, {"a"}), 50);
  EXPECT_EQ(ofStructure(materials, {"a", "b", "c"}), 50);
  EXPECT_EQ(ofStructure(materials, {"a", "d"}), 50) << "a destroyed material does not count";
  EXPECT_EQ(ofStructure(materials, {"a", "c", "x"}), 35) << "nor does one that the model lacks";
  EXPECT_EQ(ofStructure(materials, {"a", "A", "B"}), 50) << "names are compared exactly";
}

TEST_F(TheHealth, OfAStructureWithoutAModuleEntryIs50) {
  writeVisual("big.visual", "2 2 2");
  EXPECT_EQ(ofStructure({{"a", 73}, {"b", 74}}, {"a", "b"}, false), 50);
}

TEST_F(TheHealth, OfAStructureWhoseModulesAreDroppedByTheLoadWithinIs50) {
  writeDatabase("<r/>");
  writeVisual("big.visual", "2 2 2");
  auto other = std::make_unique<OpenModel>(support::ModelParts{}, "other");
  const OpenModel open({.materials = {{"a", 73}, {"b", 74}}, .bsp = {"a", "b"}}, "big.model");
  open->setAsStructure();
  EXPECT_EQ(Access::moduleMap().at("big.model").at("a").health, 35);
  EXPECT_EQ(open->calculateDestructibleHealth(), 35);
  other.reset();  // the next look at the materials reads the file, which has no modules
  EXPECT_EQ(open->calculateDestructibleHealth(), 50);
}

TEST_F(TheHealth, OfAModelWithoutAVisualFollowsItsCategory) {
  EXPECT_EQ(ofModel("none.model", DT_FRAGILE), 20);
  EXPECT_EQ(ofModel("none.model", DT_FALLING_ATOMS), 20);
  EXPECT_EQ(ofModel("none.model", DT_NON_DESTRUCTIBLE), -1);
  EXPECT_EQ(ofStructure({{"a", 73}, {"b", 74}}, {"a", "b"}), 35);
  EXPECT_EQ(ofStructure({{"a", 73}}, {"a"}), 50);
  EXPECT_THAT(messages_.messages(), IsEmpty());
}

TEST_F(TheHealth, IsEstimatedFromTheFileAsItIsNow) {
  const OpenModel open({}, "crate.model");
  Access::type(*open) = DT_FRAGILE;
  EXPECT_EQ(open->calculateDestructibleHealth(), 20);
  writeVisual("crate.visual", "1 1 1");
  EXPECT_EQ(open->calculateDestructibleHealth(), 1);
  root_.replace("crate.visual", "<r><boundingBox><max>2 2 2</max></boundingBox></r>");
  EXPECT_EQ(open->calculateDestructibleHealth(), 20);
}

TEST_F(TheHealth, ChangesNothing) {
  const OpenModel open({{{"nwall", 73}}}, "a/gatesandfences/b");
  int told = 0;
  const ks::Connection onType = open->connectDestructibleTypeChanged([&] { ++told; });
  const ks::Connection onLoad = open->connectLoadedConfigSignal([&] { ++told; });
  EXPECT_EQ(open->calculateDestructibleHealth(), -1);
  EXPECT_EQ(open->destructibleType(), DT_NON_DESTRUCTIBLE);
  EXPECT_EQ(open->getDestructibleState(), "undamaged");
  EXPECT_TRUE(Access::tablesAreEmpty());
  EXPECT_FALSE(open->isMissingInDestructiblesXml());
  EXPECT_EQ(told, 0);
}

}  // namespace
}  // namespace Tal
