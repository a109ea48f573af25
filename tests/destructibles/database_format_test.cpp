#include <destructibles/database_format.h>
#include <destructibles/health_rules.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace Tal {
namespace {

using database_format::categoryOfSection;
using database_format::isVariantName;
using database_format::sectionOfCategory;

TEST(TheDatabaseFormat, LeadsFromEachCategoryToItsSectionAndBack) {
  EXPECT_EQ(sectionOfCategory(DT_STRUCTURE), "structures");
  EXPECT_EQ(sectionOfCategory(DT_FRAGILE), "fragiles");
  EXPECT_EQ(sectionOfCategory(DT_FALLING_ATOMS), "fallingAtoms");
  for (const KsDestructibleType category : {DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS})
    EXPECT_EQ(categoryOfSection(sectionOfCategory(category)), category);
}

TEST(TheDatabaseFormat, HasNoSectionForModelsOfNoCategory) {
  EXPECT_EQ(sectionOfCategory(DT_NON_DESTRUCTIBLE), "");
  EXPECT_EQ(sectionOfCategory(static_cast<KsDestructibleType>(77)), "");
}

TEST(TheDatabaseFormat, TakesUnknownSectionsForStructuresAndReadsNoTrees) {
  EXPECT_EQ(categoryOfSection("trees"), DT_NON_DESTRUCTIBLE);
  for (const char* const tag : {"buildings", "Trees", "Fragiles", "fallingatoms", ""})
    EXPECT_EQ(categoryOfSection(tag), DT_STRUCTURE) << tag;
}

TEST(TheDatabaseFormat, KnowsAVariantByAWholeFolderInItsName) {
  for (const char* const name : {"a/lod1/b.model", "a/lod2/b.model", "/crash/b.model", "a/merged/c/b.model"})
    EXPECT_TRUE(isVariantName(name)) << name;
  for (const char* const name : {"a/lod3/b.model", "lod1/b.model", "a/lod10/b.model", "a/LOD1/b.model", ""})
    EXPECT_FALSE(isVariantName(name)) << name;
}

TEST(TheHealthRules, LookAtPathsInAnyCaseAndWithEitherSlash) {
  const std::string path = health_rules::normalisedPath("Content\\GatesAndFences\\A.model");
  EXPECT_EQ(path, "content/gatesandfences/a.model");
  EXPECT_TRUE(health_rules::isGateOrFence(path));
  EXPECT_FALSE(health_rules::isOfEnvironment(path));
  for (const char* const name : {"a/environment/b", "a/militaryenvironment/b", "a/railway/b"})
    EXPECT_TRUE(health_rules::isOfEnvironment(name)) << name;
  EXPECT_FALSE(health_rules::isOfEnvironment("a/railways/b"));
}

TEST(TheHealthRules, CallABoxSmallBelowThreeAndWhenItsVolumeIsNoNumber) {
  EXPECT_TRUE(health_rules::isSmall(2.99F));
  EXPECT_FALSE(health_rules::isSmall(3.0F));
  EXPECT_TRUE(health_rules::isSmall(std::numeric_limits<float>::quiet_NaN()));
  EXPECT_EQ(health_rules::volumeOf({1, 1, 1}, {2, 3, 4}), 6.0F);
  EXPECT_EQ(health_rules::volumeOf({0, 0, 0}, {-1, 2, 3}), -6.0F);
}

TEST(TheHealthRules, FindAWordAnywhereInAnyOfTheNamesInItsOwnCase) {
  const std::vector<std::string> names = {"n_Metal_1", "n_oldwood_2"};
  EXPECT_TRUE(health_rules::isAnyNamedAfter(names, health_rules::kWood));
  EXPECT_FALSE(health_rules::isAnyNamedAfter(names, health_rules::kMetal));
  EXPECT_FALSE(health_rules::isAnyNamedAfter({}, health_rules::kStone));
}

}  // namespace
}  // namespace Tal
