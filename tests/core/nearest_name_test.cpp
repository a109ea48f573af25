#include <core/display_text.h>
#include <core/nearest_name.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Tal {
namespace {

TEST(TheNearestName, IsTheOneWithTheFewestEdits) {
  EXPECT_EQ(nearestName("partN11", {"roof", "partD12", "partN12"}), "partN12");
}

TEST(TheNearestName, CountsASwapOfNeighboursAsOneEdit) {
  EXPECT_EQ(nearestName("hlat", {"hat", "halt"}), "hat");
  EXPECT_EQ(nearestName("hlta", {"hxya", "hlat"}), "hlat");
}

TEST(TheNearestName, IsTheOneThatDiffersInTheCaseOfLettersAlone) {
  EXPECT_EQ(nearestName("INF_CRATE_WOOD", {"INF_HIT_WOOD", "inf_crate_wood"}), "inf_crate_wood");
  EXPECT_EQ(nearestName("NONE", {"nine", "none"}), "none");
  EXPECT_EQ(nearestName("HITEFFECT", {"effect", "ramEffect", "hitEffect"}), "hitEffect");
  EXPECT_EQ(nearestName("N_A_0", {"N_B_1", "n_a_0"}), "n_a_0");
  EXPECT_EQ(nearestName("INF_CRATE_WOD", {"inf_crate_wood", "INF_X"}), "inf_crate_wood");
}

TEST(TheNearestName, OfSeveralThatDifferInCaseIsTheOneWithTheFewestSuchLetters) {
  EXPECT_EQ(nearestName("Wall", {"WALL", "wall", "waLL"}), "wall");
  EXPECT_EQ(nearestName("Wal", {"WALL", "wall"}), "wall");
}

TEST(TheNearestName, TakesLettersOutsideAsciiAsTheyAre) {
  EXPECT_EQ(nearestName("\xC3\x84", {"\xC3\xA4z", "z"}), "");
}

TEST(TheNearestName, IsTheNameItselfWhenItExists) {
  EXPECT_EQ(nearestName("b", {"a", "b"}), "b");
}

TEST(TheNearestName, IsTheEarlierOneOfTwoThatAreAsNear) {
  EXPECT_EQ(nearestName("wall", {"wal1", "wall2"}), "wal1");
}

TEST(TheNearestName, IsEmptyWhenNothingIsNear) {
  EXPECT_EQ(nearestName("wood", {"Material.001"}), "");
  EXPECT_EQ(nearestName("wood", {}), "");
  EXPECT_EQ(nearestName("", {"wood"}), "");
}

TEST(TheNearestName, IsFoundAmongVeryLongNamesWithBoundedWork) {
  const std::vector<std::string> candidates(2000, std::string(100'000, 'a') + "b");
  EXPECT_EQ(nearestName(std::string(100'000, 'a'), candidates), candidates.front());
}

TEST(SomeNames, AreTheFirstThreeAndTheNumberOfTheRest) {
  EXPECT_EQ(someNames({}), "");
  EXPECT_EQ(someNames({"a"}), "\"a\"");
  EXPECT_EQ(someNames({"a", "b"}), "\"a\" and \"b\"");
  EXPECT_EQ(someNames({"a", "b", "c"}), "\"a\", \"b\" and \"c\"");
  EXPECT_EQ(someNames({"a", "b\n", "c", "d", "e"}), "\"a\", \"b\\n\", \"c\" and 2 more");
}

TEST(ASuggestion, OffersTheNearestName) {
  EXPECT_EQ(nameSuggestion("wal", {"roof", "wall"}), "; did you mean \"wall\"?");
}

TEST(ASuggestion, ListsWhatThereIsWhenNothingIsNear) {
  EXPECT_EQ(nameSuggestion("wood", {"Material.001"}), "; there is only \"Material.001\"");
  EXPECT_EQ(nameSuggestion("wood", {"iron", "clay"}), "; there are \"iron\" and \"clay\"");
  EXPECT_EQ(nameSuggestion("quartz", {"b", "d", "e", "f", "g"}),
            "; there are \"b\", \"d\", \"e\" and 2 more");
  EXPECT_EQ(nameSuggestion("wood", {}), "; there is none");
}

}  // namespace
}  // namespace Tal
