#include <authoring/merge.h>
#include <authoring/reload_fixture.h>

#include <string>
#include <vector>

namespace Tal::authoring {
namespace {

Description fragile(int health, const std::string& effect) {
  Description description;
  description.category = DT_FRAGILE;
  description.fragile.emplace();
  description.fragile->health = health;
  description.fragile->effect = effect;
  return description;
}

Description structure(const std::map<std::string, int>& healthOfModules,
                      const Description::States& states = {}) {
  Description description;
  description.category = DT_STRUCTURE;
  for (const auto& [name, health] : healthOfModules) description.modules[name].health = health;
  description.states = states;
  return description;
}

std::vector<std::string> linesOf(const std::vector<Conflict>& conflicts) {
  std::vector<std::string> lines;
  lines.reserve(conflicts.size());
  for (const Conflict& conflict : conflicts) lines.push_back(lineOf(conflict));
  return lines;
}

TEST(AMerge, TakesFromEachSideWhatThatAloneHasChanged) {
  const Merge result = merge(fragile(5, "smoke"), fragile(9, "smoke"), fragile(5, "fire"));
  EXPECT_TRUE(isSame(result.merged, fragile(9, "fire")));
  EXPECT_THAT(result.conflicts, testing::IsEmpty());
}

TEST(AMerge, KeepsMineWhereBothHaveChangedAndGivesAllThree) {
  const Merge result = merge(fragile(5, "smoke"), fragile(9, "smoke"), fragile(7, "fire"));
  EXPECT_TRUE(isSame(result.merged, fragile(9, "fire")));
  ASSERT_EQ(result.conflicts.size(), 1U);
  EXPECT_EQ(result.conflicts[0].field, (FieldName{{}, {}, "health"}));
  EXPECT_EQ(result.conflicts[0].base, "5");
  EXPECT_EQ(result.conflicts[0].mine, "9");
  EXPECT_EQ(result.conflicts[0].theirs, "7");
}

TEST(AMerge, OfTwoThatMadeTheSameChangeHasNoConflict) {
  const Merge result = merge(fragile(5, "smoke"), fragile(9, "smoke"), fragile(9, "smoke"));
  EXPECT_TRUE(isSame(result.merged, fragile(9, "smoke")));
  EXPECT_THAT(result.conflicts, testing::IsEmpty());
}

TEST(AMerge, NamesConflictsByModuleAndState) {
  const Description base = structure({{"wall", 1}, {"roof", 2}}, {{"open", {"wall"}}});
  const Description mine = structure({{"wall", 10}, {"roof", 2}}, {{"open", {"wall", "roof"}}});
  const Description theirs = structure({{"wall", 20}, {"roof", 30}}, {{"open", {}}});
  const Merge result = merge(base, mine, theirs);
  EXPECT_TRUE(isSame(result.merged, structure({{"wall", 10}, {"roof", 30}}, {{"open", {"wall", "roof"}}})));
  EXPECT_THAT(
      linesOf(result.conflicts),
      testing::ElementsAre(R"(state "open": another program changed "wall" to ""; "wall roof" is kept)",
                           R"(module "wall", health: another program changed "1" to "20"; "10" is kept)"));
}

TEST(AMerge, OfAModuleThatOneRemovedAndTheOtherChangedKeepsWhatIsMine) {
  const Description with = structure({{"wall", 1}});
  const Description without = structure({});
  const Description changed = structure({{"wall", 2}});
  const Merge removed = merge(with, without, changed);
  EXPECT_TRUE(isSame(removed.merged, without));
  EXPECT_THAT(
      linesOf(removed.conflicts),
      testing::ElementsAre(R"(module "wall", health: another program changed "1" to "2"; nothing is kept)"));
  const Merge kept = merge(with, changed, without);
  EXPECT_TRUE(isSame(kept.merged, changed));
  EXPECT_THAT(
      linesOf(kept.conflicts),
      testing::ElementsAre(R"(module "wall", health: another program changed "1" to nothing; "2" is kept)"));
}

TEST(AMerge, KeepsTheCategoryAsTheOnlyConflictWhileTheirsIsAnother) {
  const Merge result = merge(fragile(5, "smoke"), fragile(9, "smoke"), structure({{"wall", 1}}));
  EXPECT_EQ(result.merged.category, DT_FRAGILE);
  EXPECT_EQ(result.merged.fragile.value().health, 9);
  EXPECT_THAT(linesOf(result.conflicts),
              testing::ElementsAre(
                  R"(category: another program changed "fragile" to "structure"; "fragile" is kept)"));
}

TEST(AConflict, IsSettledOnceBothHaveTheSame) {
  const Merge result = merge(fragile(5, "smoke"), fragile(9, "ash"), fragile(7, "fire"));
  ASSERT_EQ(result.conflicts.size(), 2U);
  const std::vector<Conflict> left = unsettled(result.conflicts, fragile(7, "soot"), fragile(7, "fire"));
  EXPECT_THAT(linesOf(left),
              testing::ElementsAre(R"(effect: another program changed "smoke" to "fire"; "soot" is kept)"));
}

TEST_F(AReload, ListsWhatBothHaveChangedUntilItIsSaved) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  EXPECT_THAT(session->conflicts(), testing::IsEmpty());
  changeFile(*session, database("8", "fire"));
  const std::string line = R"(health: another program changed "5" to "8"; "35" is kept)";
  EXPECT_THAT(linesOf(session->conflicts()), testing::ElementsAre(line));
  changeFile(*session, database("8", "soot"));
  EXPECT_THAT(linesOf(session->conflicts()), testing::ElementsAre(line)) << "which is still so";
  const Result<Outcome> saved = session->save();
  expectDone(saved);
  EXPECT_THAT(saved->warnings, testing::Contains(line));
  EXPECT_THAT(session->conflicts(), testing::IsEmpty());
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<health>35</health>"));
}

TEST_F(AReload, ListsAValueOnceHoweverOftenAnotherProgramChangesIt) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  for (const char* const theirs : {"8", "7", "6"}) changeFile(*session, database(theirs, "smoke"));
  const std::string line = R"(health: another program changed "5" to "6"; "35" is kept)";
  EXPECT_THAT(linesOf(session->conflicts()), testing::ElementsAre(line));
  root_.replace(kDatabase, database("4", "smoke"));  // found by the save itself
  const Result<Outcome> saved = session->save();
  expectDone(saved);
  EXPECT_THAT(saved->warnings,
              testing::ElementsAre(R"(health: another program changed "5" to "4"; "35" is kept)"));
}

TEST_F(AReload, EndsAConflictOnceTheFileIsAsItWas) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  changeFile(*session, database("8", "smoke"));
  changeFile(*session, database("5", "smoke"));
  EXPECT_THAT(session->conflicts(), testing::IsEmpty());
  EXPECT_EQ(session->description().fragile.value().health, 35);
  changeFile(*session, database("9", "smoke"));
  EXPECT_THAT(linesOf(session->conflicts()),
              testing::ElementsAre(R"(health: another program changed "5" to "9"; "35" is kept)"));
}

TEST_F(AReload, ListsTheCategoryOnceThatAnotherProgramChangesTwice) {
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  const auto of = [](const std::string& section, const std::string& rest) {
    return "<root><" + section + "><entry><filename>content/props/crate.model</filename>" + rest +
           "</entry></" + section + "></root>";
  };
  changeFile(*session, of("structures", "<modules/>"));
  changeFile(*session, of("fallingAtoms", "<health>3</health>"));
  EXPECT_THAT(linesOf(session->conflicts()),
              testing::ElementsAre(
                  R"(category: another program changed "fragile" to "falling-atom"; "fragile" is kept)"));
}

TEST_F(AReload, EndsAConflictThatTheAuthorOrTheOtherProgramSettles) {
  const auto session = open(kCrate);
  for (const bool isByAuthor : {true, false}) {
    writeDatabase(database("5", "smoke"));
    changeFile(*session, database("5", "smoke") + "\n");
    expectDone(session->set({{"health", "35"}}));
    changeFile(*session, database("8", "smoke"));
    EXPECT_EQ(session->conflicts().size(), 1U);
    if (isByAuthor) {
      expectDone(session->set({{"health", "8"}}));
    } else {
      changeFile(*session, database("35", "smoke"));
    }
    EXPECT_THAT(session->conflicts(), testing::IsEmpty());
    EXPECT_FALSE(session->hasUnsavedEdits());
  }
}

}  // namespace
}  // namespace Tal::authoring
