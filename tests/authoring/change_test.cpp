#include <authoring/gone_model.h>
#include <authoring/session_fixture.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tal::authoring {
namespace {

class AChange : public SessionTest {
 protected:
  /// The change of a save that makes the crate a fragile.
  static Change changeOfSaving(Session& crate) {
    expectDone(crate.convert(DT_FRAGILE));
    const Result<Outcome> saved = crate.save();
    expectDone(saved);
    EXPECT_TRUE(saved && saved->change);
    return saved && saved->change ? *saved->change : Change();
  }
};

TEST_F(AChange, OfAnEditHoldsWhatTheAuthorHadAndHas) {
  using Edit = std::function<Result<Outcome>(Session&)>;
  const std::vector<std::pair<std::string, Edit>> edits = {
      {"convert", [](Session& session) { return session.convert(DT_STRUCTURE); }},
      {"set",
       [](Session& session) {
         return session.set({{"achievementTag", "manor"}});
       }},
      {"module",
       [](Session& session) {
         return session.setModule("n_wall_1", {{"health", "9"}});
       }},
      {"add a state", [](Session& session) { return session.addState("open"); }},
      {"add materials", [](Session& session) { return session.addMaterials("open", {"n_door_4"}); }},
      {"remove materials", [](Session& session) { return session.removeMaterials("open", {"n_door_4"}); }},
      {"remove a state", [](Session& session) { return session.removeState("open"); }},
      {"reset", [](Session& session) { return session.reset(); }}};
  const auto session = open(kHouse);
  for (const auto& [name, edit] : edits) {
    const Description before = session->description();
    const Result<Outcome> outcome = edit(*session);
    expectDone(outcome);
    ASSERT_TRUE(outcome->change) << name;
    EXPECT_EQ(outcome->change->modelName, kHouse);
    EXPECT_TRUE(isSame(outcome->change->before, before)) << name;
    EXPECT_TRUE(isSame(outcome->change->after, session->description())) << name;
    EXPECT_FALSE(isSame(outcome->change->after, before)) << name;
    EXPECT_THAT(outcome->change->files, testing::IsEmpty());
  }
}

TEST_F(AChange, IsNotMadeByAnEditOrASaveThatChangesNothing) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_FRAGILE));
  expectDone(session->set({{"health", "12"}}));
  expectDone(session->save());
  EXPECT_FALSE(session->set({{"health", "12"}})->change);
  EXPECT_FALSE(session->convert(DT_FRAGILE)->change);
  EXPECT_FALSE(session->save()->change);
}

TEST_F(AChange, OfASaveHoldsTheFileByteForByteAsItWasBefore) {
  const std::string text = "<!-- mine -->\r\n<root>\r\n  <other a='1'/>\r\n</root>\r\n";
  writeDatabase(text);
  const auto session = open(kCrate);
  const Change change = changeOfSaving(*session);
  EXPECT_EQ(change.before.category, DT_NON_DESTRUCTIBLE);
  EXPECT_TRUE(isSame(change.after, session->description()));
  ASSERT_EQ(change.files.size(), 1U);
  EXPECT_EQ(change.files[0].resourceName, kDatabase);
  EXPECT_EQ(*change.files[0].bytes, text);
  EXPECT_NE(readDatabase(), text);
}

TEST_F(AChange, OfASaveIsOfTheFileAsItIsEncoded) {
  std::string text = "\xFF\xFE";
  for (const char letter : std::string("<root>\n</root>\n")) text += std::string{letter, '\0'};
  writeDatabase(text);
  EXPECT_EQ(*changeOfSaving(*open(kCrate)).files.at(0).bytes, text);
}

TEST_F(AChange, OfSeveralModelsThatAreSavedAtOnceSharesTheBytes) {
  const auto crate = open(kCrate);
  const auto lamp = open(kLamp);
  expectDone(crate->convert(DT_FRAGILE));
  expectDone(lamp->convert(DT_FALLING_ATOMS));
  const auto outcomes = Session::saveAll({crate.get(), lamp.get()});
  expectDone(outcomes);
  EXPECT_EQ((*outcomes)[0].change.value().after.category, DT_FRAGILE);
  EXPECT_EQ((*outcomes)[1].change.value().after.category, DT_FALLING_ATOMS);
  EXPECT_EQ((*outcomes)[0].change->files.at(0).bytes, (*outcomes)[1].change->files.at(0).bytes);
}

TEST_F(AChange, OfARemovedModelHoldsItsEntryAndTheFile) {
  const std::string text =
      "<root><fragiles><entry><filename>content/gone.model</filename><health>5</health></entry></fragiles>"
      "</root>";
  writeDatabase(text);
  const auto removal = removeGoneModel("content/gone.model");
  expectDone(removal);
  ASSERT_TRUE(removal->outcome.change);
  EXPECT_EQ(removal->outcome.change->before.fragile.value().health, 5);
  EXPECT_EQ(removal->outcome.change->after.category, DT_NON_DESTRUCTIBLE);
  EXPECT_EQ(*removal->outcome.change->files.at(0).bytes, text);
}

}  // namespace
}  // namespace Tal::authoring
