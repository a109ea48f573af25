#include <authoring/session_fixture.h>

namespace Tal::authoring {
namespace {

using Code = SaveWarning::Code;
using testing::ElementsAre;
using testing::IsEmpty;

class TheLossesOfASave : public SessionTest {
 protected:
  /// The texts of the warnings of one kind, after a structure of that content was opened.
  std::vector<std::string> ofHouse(const std::string& content, Code code = Code::lostContent) const {
    writeDatabase("<root><structures><entry><filename>content/buildings/house.model</filename>" + content +
                  "</entry></structures></root>");
    return warnings(kHouse, code);
  }

  static std::vector<std::string> warnings(const char* model, Code code) {
    std::vector<std::string> texts;
    for (const SaveWarning& warning : saveWarningsOf(*open(model)))
      if (warning.code == code) texts.push_back(warning.text);
    return texts;
  }

  static std::string module(const std::string& name, const std::string& more = "") {
    return "<module><matName>" + name + "</matName>" + more + "</module>";
  }
};

TEST_F(TheLossesOfASave, AreWhatNobodyKnowsInModulesAndStates) {
  EXPECT_THAT(
      ofHouse("<note>stays</note><modules>" + module("n_wall_1", "<health>5</health><owner>Joe</owner>") +
              "</modules><states><state><name>open</name><destroyedMaterials/><sound>boom</sound></state></"
              "states>"),
      ElementsAre("the key \"owner\" (\"Joe\") of module \"n_wall_1\" is not kept",
                  "the key \"sound\" (\"boom\") of state \"open\" is not kept"));
}

TEST_F(TheLossesOfASave, AreElementsThatALoadTakesForOneOrForNone) {
  EXPECT_THAT(
      ofHouse("<modules>" + module("n_wall_1") + module("n_wall_1") + module("n_wall_1") +
              "<module><health>5</health></module></modules><states><state/>"
              "<state><name>a</name></state><state><name>a</name></state></states>"),
      ElementsAre("of several elements of module \"n_wall_1\" only the last is taken",
                  "a module without a \"matName\" is not kept", "a state without a \"name\" is not kept",
                  "of several elements of state \"a\" only the last is taken"));
}

TEST_F(TheLossesOfASave, AreThoseOfTheEntryInTheLastSectionOfItsTag) {
  const std::string file = "<filename>content/props/crate.model</filename>";
  writeDatabase(
      "<root><fragiles><entry>" + file + "<health>one</health></entry></fragiles><fragiles><entry>" + file +
      "<health>two</health></entry><entry>" + file + "<health>three</health></entry></fragiles></root>");
  EXPECT_THAT(warnings(kCrate, Code::lostContent),
              ElementsAre("the health \"two\" is no whole number and is not kept"));
  EXPECT_THAT(warnings(kCrate, Code::removedEntry),
              ElementsAre("another entry of the model in the section \"fragiles\" is removed from the file"));
  const auto session = open(kCrate);
  expectDone(session->set({{"health", "35"}}));
  expectDone(session->save());
  EXPECT_EQ(readDatabase(), "<root><fragiles><entry>" + file +
                                "<health>one</health></entry></fragiles><fragiles><entry>" + file +
                                "<health>35</health><decayEffect>none</decayEffect><effect>none</effect>"
                                "<effectHP/><effectScale>1</effectScale><lifetimeEffect>none</lifetimeEffect>"
                                "</entry></fragiles></root>");
}

TEST_F(TheLossesOfASave, AreEveryEntryOfAModelOfNoCategoryThatHasSeveral) {
  const std::string entry = "<entry><filename>content/props/crate.model</filename></entry>";
  const auto removed = [&](const std::string& sections) {
    writeDatabase("<root>" + sections + "</root>");
    const auto session = open(kCrate);
    expectDone(session->convert(DT_NON_DESTRUCTIBLE));
    std::vector<std::string> texts;
    for (const SaveWarning& warning : saveWarningsOf(*session))
      if (warning.code == Code::removedEntry) texts.push_back(warning.text);
    return texts;
  };
  EXPECT_THAT(removed("<fragiles>" + entry + entry + "</fragiles><houses>" + entry + "</houses>"),
              ElementsAre("the entry of the model in the section \"fragiles\" is removed from the file",
                          "the entry of the model in the section \"fragiles\" is removed from the file",
                          "the entry of the model in the section \"houses\" is removed from the file"));
  EXPECT_THAT(removed("<fragiles>" + entry + "</fragiles>"), IsEmpty());
}

TEST_F(TheLossesOfASave, AreNumbersThatAreNone) {
  EXPECT_THAT(ofHouse("<modules>" + module("n_wall_1", "<health>abc</health>") + "</modules>"),
              ElementsAre("the health \"abc\" of module \"n_wall_1\" is no whole number and is not kept"));
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/crate.model</filename><health>5.5</health>"
      "<effectScale>nan</effectScale><mine>stays</mine></entry></fragiles></root>");
  EXPECT_THAT(warnings(kCrate, Code::lostContent),
              ElementsAre("the health \"5.5\" is no whole number and is not kept",
                          "the effectScale \"nan\" is no number and is not kept"));
}

TEST_F(TheLossesOfASave, AreNoneInAnEntryThatTheEditorWrote) {
  auto session = open(kHouse);
  expectDone(session->convert(DT_STRUCTURE));
  expectDone(session->addState("open"));
  expectDone(session->save());
  session.reset();
  EXPECT_THAT(warnings(kHouse, Code::lostContent), IsEmpty());
  EXPECT_THAT(warnings(kHouse, Code::addedModule), IsEmpty());
}

// A section that looks like an entry of the model.
class ASectionWithAFilename : public TheLossesOfASave {
 protected:
  static constexpr const char* kStray = "<filename>content/props/crate.model</filename>";
  static constexpr const char* kOwn =
      "<entry><filename>content/props/crate.model</filename><health>5</health></entry>";
};

TEST_F(ASectionWithAFilename, IsNamedAsRemovedWhole) {
  writeDatabase("<root><fragiles>" + std::string(kStray) + kOwn + "</fragiles></root>");
  const auto session = open(kCrate);
  std::vector<std::string> texts;
  for (const SaveWarning& warning : saveWarningsOf(*session)) texts.push_back(warning.text);
  EXPECT_THAT(texts, ElementsAre("the section \"fragiles\" has the model's <filename> itself and is removed "
                                 "from the file with all that it holds"));
  expectDone(session->save());
  EXPECT_THAT(readDatabase(), testing::Not(testing::HasSubstr("<health>7</health>")));
  EXPECT_TRUE(saveWarningsOf(*session).empty());
}

TEST_F(ASectionWithAFilename, KeepsTheModelFromBeingSavedWhileItHoldsAnotherModel) {
  const std::string rock = "<entry><filename>rock</filename></entry>";
  for (const std::string section : {"fragiles", "trees"}) {
    const std::string text = "<root><" + section + ">" + kStray + rock + "</" + section + "><fragiles>" +
                             kOwn + "</fragiles></root>";
    writeDatabase(text);
    const auto session = open(kCrate);
    expectDone(session->set({{"health", "8"}}));
    const std::string refusal =
        "the section \"" + section +
        "\" of scripts/destructibles.xml has the <filename> "
        "\"content/props/crate.model\" itself, and a save would remove all of it, the "
        "entry of \"rock\" too; nothing was saved; take that <filename> out of the file";
    EXPECT_EQ(faultText(session->save()), refusal);
    expectDone(session->convert(DT_NON_DESTRUCTIBLE));
    EXPECT_EQ(faultText(session->save()), refusal);
    EXPECT_EQ(readDatabase(), text);
  }
}

TEST_F(ASectionWithAFilename, KeepsTheModelFromBeingSavedWhileItHoldsAnythingThatIsNotTheModels) {
  const std::pair<std::string, std::string> foreign[] = {
      {"<entry><health>77</health></entry>", "the <entry>, which is in no entry,"},
      {"<entry><filename/><note>ask</note></entry>", "the <entry>, which is in no entry,"},
      {"<entry>text</entry>", "the <entry>, which is in no entry,"},
      {"<note>ask</note>", "the <note>, which is in no entry,"},
      {"<health>3</health>", "the <health>, which is in no entry,"},
      {"<modules><module/></modules>", "the <modules>, which is in no entry,"},
      {"<health><mine>1</mine></health>", "the <health>, which is in no entry,"},
      {"<filename>rock</filename>", "the <filename>, which is in no entry,"},
      {"text", "the text in it"}};
  for (const auto& [content, name] : foreign) {
    const std::string text = "<root><structures><filename>content/props/crate.model</filename>" + content +
                             "</structures><fragiles>" + kOwn + "</fragiles></root>";
    writeDatabase(text);
    const auto session = open(kCrate);
    expectDone(session->set({{"health", "8"}}));
    EXPECT_EQ(faultText(session->save()),
              "the section \"structures\" of scripts/destructibles.xml has the <filename> "
              "\"content/props/crate.model\" itself, and a save would remove all of it, " +
                  name + " too; nothing was saved; take that <filename> out of the file");
    EXPECT_EQ(readDatabase(), text);
  }
}

TEST_F(ASectionWithAFilename, GoesWhenAllThatItHoldsIsTheModels) {
  for (const std::string& content :
       {std::string(kOwn), std::string("<health/><modules/>"), std::string("<entry/><note/>")}) {
    writeDatabase("<root><trees><filename>content/props/crate.model</filename>" + content +
                  "</trees><fragiles>" + kOwn + "</fragiles></root>");
    const auto session = open(kCrate);
    expectDone(session->set({{"health", "8"}}));
    expectDone(session->save());
    EXPECT_THAT(readDatabase(), testing::Not(testing::HasSubstr("trees"))) << content;
  }
}

TEST_F(ASectionWithAFilename, OfAnotherModelIsNoLoss) {
  const std::string rock = "<filename>rock</filename><entry><filename>rock</filename></entry>";
  writeDatabase("<root><fragiles>" + rock + kOwn + "</fragiles></root>");
  const auto session = open(kCrate);
  EXPECT_TRUE(saveWarningsOf(*session).empty());
  expectDone(session->set({{"health", "8"}}));
  expectDone(session->save());
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<root><fragiles>" + rock));
}

TEST_F(TheLossesOfASave, OfVeryManyAreNamedInPart) {
  std::string modules;
  for (int number = 0; number < 1000; ++number) modules += "<module/>";
  const std::vector<std::string> losses = ofHouse("<modules>" + modules + "</modules>");
  ASSERT_EQ(losses.size(), 21U);
  EXPECT_EQ(losses.back(), "and 980 more that the save does not keep");
}

TEST_F(TheLossesOfASave, ComeWithTheModulesThatItAdds) {
  EXPECT_THAT(
      ofHouse("<modules>" + module("n_wall_1") + module("n_wall_2") + "</modules>", Code::addedModule),
      ElementsAre("module \"n_door_4\" is added with health 50, since the file has none for this material"));
  const auto crate = open(kCrate);
  expectDone(crate->convert(DT_STRUCTURE));
  for (const SaveWarning& warning : saveWarningsOf(*crate))
    EXPECT_NE(warning.code, Code::addedModule) << "nobody wonders at the modules of a new structure";
}

}  // namespace
}  // namespace Tal::authoring
