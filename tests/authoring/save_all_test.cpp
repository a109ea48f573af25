#include <authoring/program_that_saves.h>
#include <authoring/session_fixture.h>
#include <support/full_disk.h>

#include <sys/inotify.h>
#include <unistd.h>
#include <array>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Tal::authoring {
namespace {

using Sessions = std::vector<std::unique_ptr<Session>>;

std::vector<Session*> pointersTo(const Sessions& sessions) {
  std::vector<Session*> pointers;
  for (const auto& session : sessions) pointers.push_back(session.get());
  return pointers;
}

/// Counts how often a file of this name takes its place in a folder.
class Replacements {
 public:
  Replacements(const std::filesystem::path& folder, std::string name)
      : inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), name_(std::move(name)) {
    EXPECT_NE(inotify_add_watch(inotify_, folder.c_str(), IN_MOVED_TO), -1);
  }
  ~Replacements() { close(inotify_); }
  Replacements(const Replacements&) = delete;
  Replacements& operator=(const Replacements&) = delete;

  int count() {
    alignas(inotify_event) std::array<char, 65536> buffer{};
    const ssize_t size = read(inotify_, buffer.data(), buffer.size());
    for (ssize_t place = 0; place < size;) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + place, sizeof event);
      if (buffer.data() + place + sizeof event == name_) ++count_;
      place += static_cast<ssize_t>(sizeof event + event.len);
    }
    return count_;
  }

 private:
  int inotify_;
  std::string name_;
  int count_ = 0;
};

class SavingSeveral : public SessionTest {
 protected:
  static constexpr int kMany = 10;

  SavingSeveral() {
    for (int number = 0; number < kMany; ++number)
      support::writeModel(root_, stem(number),
                          {.materials = {{"n_wall_1", 73}, {"n_wall_2", 74}, {"d_wall_1", 87}},
                           .bsp = {"n_wall_1", "n_wall_2"},
                           .nodes = {"HP_1"},
                           .corner = "2 2 2"});
  }

  static std::string stem(int number) { return "content/many/model_" + std::to_string(number); }

  static Sessions openMany() {
    Sessions sessions;
    for (int number = 0; number < kMany; ++number) sessions.push_back(open(stem(number) + ".model"));
    return sessions;
  }

  /// Something else for each, among it what leaves and what enters the file.
  static void edit(const Sessions& sessions) {
    for (std::size_t number = 0; number < sessions.size(); ++number) {
      Session& session = *sessions[number];
      expectDone(session.convert(static_cast<KsDestructibleType>(number % 4)));
      const std::string health = std::to_string(100 + number);
      if (session.category() == DT_STRUCTURE) {
        expectDone(session.setModule("n_wall_2", {{"health", health}, {"hitEffect", ""}}));
        expectDone(session.set({{"achievementTag", "tag" + health}}));
        if (!session.description().states.contains("open")) expectDone(session.addState("open"));
        expectDone(session.addMaterials("open", {"n_wall_1", "n_wall_2"}));
      } else if (session.category() != DT_NON_DESTRUCTIBLE) {
        expectDone(session.set({{"health", health}, {"effectScale", "1.5"}}));
      }
    }
  }

  /// A database that has some of the models, in the category that they get and in others, and more than once.
  static std::string database() {
    const auto entry = [](int number, const std::string& rest = "") {
      return "\n\t\t<entry>\n\t\t\t<filename>" + stem(number) + ".model</filename>" + rest + "\n\t\t</entry>";
    };
    return "<root>\n\t<trees>" + entry(1) + "\n\t</trees>\n\t<fragiles>" + entry(0) +
           entry(1, "\n\t\t\t<note>stays</note>\n\t\t\t<achievementTag>old</achievementTag>") + entry(3) +
           "\n\t\t<entry><filename>content/other.model</filename></entry>" + entry(1) + entry(5) +
           "\n\t</fragiles>\n\t<structures>" +
           entry(4,
                 "<modules><module><matName>n_gone</matName></module></modules>"
                 "<states><state><name>open</name></state></states>") +
           entry(5) + "\n\t</structures>\n\t<houses>" + entry(8, "<modules/>") + "\n\t</houses>\n</root>\n";
  }
};

TEST_F(SavingSeveral, GivesTheBytesThatSavingThemOneByOneWithTheModuleGives) {
  const auto saved = [this](const std::string& text, const auto& save) {
    writeDatabase(text);
    const Sessions sessions = openMany();
    edit(sessions);
    save(sessions);
    for (const auto& session : sessions) EXPECT_FALSE(session->hasUnsavedEdits()) << session->modelName();
    return readDatabase();
  };
  for (const std::string& text : {database(), std::string("<root/>"), std::string("<r><fragiles/></r>\n")}) {
    const std::string oneByOne = saved(text, [](const Sessions& sessions) {
      for (const auto& session : sessions)
        EXPECT_EQ(session->helper().saveConfig(), session->category() != DT_NON_DESTRUCTIBLE);
    });
    const std::string together =
        saved(text, [](const Sessions& sessions) { expectDone(Session::saveAll(pointersTo(sessions))); });
    EXPECT_EQ(together, oneByOne);
    EXPECT_NE(together, text);
    EXPECT_THAT(together, testing::HasSubstr("<achievementTag>tag108</achievementTag>"));
  }
}

TEST_F(SavingSeveral, ReplacesTheFileOnceAndLoadsItOnce) {
  const Sessions sessions = openMany();
  edit(sessions);
  int loads = 0;
  std::vector<ks::Connection> listening;
  for (const auto& session : sessions)
    listening.push_back(session->helper().connectLoadedConfigSignal([&loads] { ++loads; }));
  Replacements replacements(root_ / "scripts", "destructibles.xml");
  expectDone(Session::saveAll(pointersTo(sessions)));
  EXPECT_EQ(replacements.count(), 1);
  EXPECT_EQ(loads, 1);
  expectDone(sessions.front()->set({{"achievementTag", "again"}}));
  expectDone(sessions.front()->save());
  EXPECT_EQ(replacements.count(), 2) << "they are counted";
}

TEST_F(SavingSeveral, LeavesNoHelperMarkedAsMissing) {
  const Sessions sessions = openMany();
  edit(sessions);
  EXPECT_TRUE(sessions[1]->helper().isMissingInDestructiblesXml());
  expectDone(Session::saveAll(pointersTo(sessions)));
  for (const auto& session : sessions) {
    EXPECT_FALSE(session->helper().isMissingInDestructiblesXml());
    EXPECT_FALSE(session->isMissingInDatabase());
    EXPECT_FALSE(session->hasUnsavedEdits());
  }
}

TEST_F(SavingSeveral, SavesNoneWhenOneOfThemIsRefused) {
  const std::string text =
      "<root><fragiles><filename>content/street/lamp.model</filename><entry><filename>rock</filename></entry>"
      "</fragiles></root>";
  writeDatabase(text);
  const auto crate = open(kCrate);
  const auto lamp = open(kLamp);
  expectDone(crate->convert(DT_FRAGILE));
  expectDone(lamp->convert(DT_FALLING_ATOMS));
  EXPECT_THAT(faultText(Session::saveAll({crate.get(), lamp.get()})),
              testing::HasSubstr("has the <filename> \"content/street/lamp.model\" itself"));
  EXPECT_EQ(readDatabase(), text);
  EXPECT_TRUE(crate->hasUnsavedEdits() && lamp->hasUnsavedEdits());
  expectDone(crate->save());
  EXPECT_THAT(readDatabase(), testing::HasSubstr(kCrate)) << "nothing of the refused save is left behind";
  EXPECT_THAT(readDatabase(), testing::Not(testing::HasSubstr("fallingAtoms")));
}

TEST_F(SavingSeveral, KeepsTheEditsOfAllWhenTheFileCannotBeWritten) {
  const Sessions sessions = openMany();
  edit(sessions);
  const std::string before = readDatabase();
  {
    const support::FullDisk disk;
    EXPECT_THAT(faultText(Session::saveAll(pointersTo(sessions))), testing::HasSubstr("File too large"));
  }
  EXPECT_EQ(readDatabase(), before);
  EXPECT_TRUE(sessions[0]->hasUnsavedEdits());
  EXPECT_TRUE(sessions[9]->hasUnsavedEdits());
  expectDone(Session::saveAll(pointersTo(sessions)));
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<achievementTag>tag108</achievementTag>"));
}

TEST_F(SavingSeveral, TakesOverWhatAnotherProgramHasSavedForEachOfThem) {
  const auto fragile = [](const std::string& model, const std::string& rest) {
    return "<entry><filename>" + model + "</filename>" + rest + "</entry>";
  };
  writeDatabase("<root><fragiles>" + fragile(kCrate, "") + fragile(kLamp, "") + "</fragiles></root>");
  const auto crate = open(kCrate);
  const auto lamp = open(kLamp);
  expectDone(crate->set({{"health", "35"}}));
  expectDone(lamp->set({{"health", "36"}}));
  {
    const ProgramThatSaves other(root_, "<root><fragiles>" + fragile(kLamp, "<effect>fire</effect>") +
                                            fragile(kCrate, "<effect>smoke</effect>") + "</fragiles></root>");
    expectDone(Session::saveAll({crate.get(), lamp.get()}));
  }
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<effect>fire</effect><health>36</health>"));
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<effect>smoke</effect><health>35</health>"));
}

TEST_F(SavingSeveral, GivesTheWarningsOfEachInTheirOrder) {
  const auto crate = open(kCrate);
  const auto lamp = open(kLamp);
  expectDone(crate->convert(DT_FRAGILE));
  expectDone(lamp->convert(DT_FRAGILE));
  expectDone(lamp->set({{"health", "-1"}}));
  const auto outcomes = Session::saveAll({crate.get(), lamp.get()});
  expectDone(outcomes);
  ASSERT_EQ(outcomes->size(), 2U);
  EXPECT_THAT((*outcomes)[0].warnings, testing::IsEmpty());
  EXPECT_THAT((*outcomes)[1].warnings, testing::ElementsAre(testing::StartsWith("health: -1 stands for")));
}

TEST_F(SavingSeveral, RefusesOneThatIsGivenTwice) {
  const auto crate = open(kCrate);
  expectDone(crate->convert(DT_FRAGILE));
  expectDone(crate->save());
  const std::string before = readDatabase();
  expectDone(crate->set({{"health", "12"}}));
  EXPECT_THAT(faultText(Session::saveAll({crate.get(), crate.get()})),
              testing::HasSubstr("name each session once"));
  EXPECT_EQ(readDatabase(), before);
  EXPECT_TRUE(crate->hasUnsavedEdits());
}

TEST_F(SavingSeveral, OfNoneDoesNothing) {
  const auto outcomes = Session::saveAll({});
  expectDone(outcomes);
  EXPECT_TRUE(outcomes->empty());
}

}  // namespace
}  // namespace Tal::authoring
