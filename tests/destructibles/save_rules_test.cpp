#include <destructibles/fixture.h>
#include <destructibles/load_rules.h>
#include <destructibles/model_saving.h>
#include <destructibles/save_rules.h>
#include <resources/data_section_cache.h>
#include <resources/save_group.h>

#include <map>
#include <optional>
#include <random>
#include <set>
#include <utility>

namespace Tal {
namespace {

using save_rules::Content;
using save_rules::Fate;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Kinds = std::map<std::string, unsigned>;

std::string entry(const std::string& model, const std::string& rest = "") {
  return "<entry><filename>" + model + "</filename>" + rest + "</entry>";
}

class TheRulesOfASave : public DestructiblesTest {
 protected:
  SmartPointer<DataSection> document(const std::string& text) const {
    writeDatabase(text);
    DataSectionCache::clear();
    return FS::Utils::openSection(kDatabase, false, nullptr);
  }

  static std::vector<std::string> written(const save_rules::Modules& modules,
                                          const std::set<std::string>& bspMaterials, const Kinds& kinds) {
    std::vector<std::string> names;
    for (const auto* module : save_rules::chooseModules(modules, bspMaterials, kinds).written)
      names.push_back(module->first);
    return names;
  }

  std::vector<Fate> fates(const std::string& text, KsDestructibleType category) const {
    return save_rules::fatesOf(load_rules::entriesOf(*document(text), "m"), "m", category);
  }
};

TEST_F(TheRulesOfASave, WriteTheFirstModuleOfAKindThatIsABspMaterial) {
  const save_rules::Modules modules = {{"a", {}}, {"b", {}}, {"c", {}}, {"d", {}}};
  EXPECT_THAT(written(modules, {"a", "b", "c", "d"}, {{"a", 73}, {"b", 73}, {"c", 74}}),
              ElementsAre("a", "c", "d"));
  EXPECT_THAT(written(modules, {"b", "d"}, {{"a", 73}, {"b", 73}}), ElementsAre("b", "d"));
  EXPECT_THAT(written(modules, {}, {}), IsEmpty());
}

TEST_F(TheRulesOfASave, SayWhyAModuleIsDropped) {
  const auto dropped =
      save_rules::chooseModules({{"a", {}}, {"b", {}}, {"c", {}}}, {"a", "b"}, {{"a", 73}, {"b", 73}})
          .dropped;
  ASSERT_EQ(dropped.size(), 2U);
  EXPECT_TRUE(dropped.at("b").isOfBspMaterial);
  EXPECT_EQ(dropped.at("b").kind, 73U);
  EXPECT_EQ(dropped.at("b").before, "a");
  EXPECT_FALSE(dropped.at("c").isOfBspMaterial);
}

TEST_F(TheRulesOfASave, RewriteTheFirstEntryOfTheLastSectionOfTheCategory) {
  const std::string m = entry("m");
  const std::string text = "<r><fragiles>" + m + m + "</fragiles><houses>" + m + "</houses><fragiles>" + m +
                           entry("o") + m + "</fragiles><fragiles/></r>";
  EXPECT_THAT(fates(text, DT_FRAGILE),
              ElementsAre(Fate::kept, Fate::removed, Fate::removed, Fate::rewritten, Fate::removed));
  EXPECT_THAT(fates(text, DT_STRUCTURE),
              ElementsAre(Fate::removed, Fate::removed, Fate::removed, Fate::removed, Fate::removed));
  EXPECT_THAT(fates(text, DT_NON_DESTRUCTIBLE),
              ElementsAre(Fate::removed, Fate::removed, Fate::removed, Fate::removed, Fate::removed));
}

TEST_F(TheRulesOfASave, RemoveTheEntriesOfASectionThatPassesForAnEntry) {
  EXPECT_THAT(fates("<r><fragiles>" + entry("m") + "</fragiles><fragiles><filename>m</filename>" +
                        entry("m") + "</fragiles></r>",
                    DT_FRAGILE),
              ElementsAre(Fate::rewritten, Fate::removed));
}

TEST_F(TheRulesOfASave, TakeOutTheKeysThatHaveNoValue) {
  KsDestructibleFragileDesc fragile;
  fragile.matName = "n_wood";
  Content content;
  content.category = DT_FRAGILE;
  content.fragile = &fragile;
  std::vector<std::string> removed;
  for (const save_rules::KeyOfRecord& field : save_rules::keysOf(content))
    if (!field.isWritten) removed.emplace_back(field.key);
  EXPECT_THAT(removed, ElementsAre("hitEffect", "achievementTag"));
}

TEST_F(TheRulesOfASave, ListTheEntriesOfEachModelInTheOrderOfTheFile) {
  const auto root = document("<r><fragiles>" + entry("a") + entry("b") + entry(" a ") + "</fragiles><trees>" +
                             entry("a") + "</trees><houses><entry/>" + entry("a") + "</houses></r>");
  const auto places = [&](const std::string& model) {
    std::vector<std::pair<int, int>> found;
    for (const load_rules::Entry& one : load_rules::entriesOf(*root, model))
      found.emplace_back(one.place.section, one.place.entry);
    return found;
  };
  EXPECT_THAT(places("a"), ElementsAre(std::pair(0, 0), std::pair(0, 2), std::pair(2, 1)));
  EXPECT_THAT(places(""), ElementsAre(std::pair(2, 0)));
  EXPECT_THAT(places("none"), IsEmpty());
  EXPECT_EQ(load_rules::entryIndex(*root), load_rules::entryIndex(*root)) << "it is kept";
  root->child(0)->removeChild(root->child(0)->child(0));
  EXPECT_THAT(places("a"), ElementsAre(std::pair(0, 1), std::pair(2, 1)));
}

// --- Several models ---

/// Models with random records, and a random database that holds entries of theirs in odd places.
class RandomModels {
 public:
  explicit RandomModels(unsigned seed) : random_(seed) {
    for (const char* const name : {"a", "b", "c", "d", "e"}) {
      Model& model = models_.emplace_back();
      model.fragile.health = number(100);
      model.fragile.hitEffect = choose({"", "boom"});
      model.fragile.achievementTag = choose({"", "none", "tag"});
      model.fallingAtom.health = number(100);
      for (const char* const part : {"n_1", "n_2", "n_3"}) {
        if (number(4) == 0) continue;
        model.modules[part].health = number(100);
        if (number(4) != 0) model.bspMaterials.insert(part);
        if (number(4) != 0) model.kinds[part] = 73 + static_cast<unsigned>(number(2));
      }
      for (int count = number(3); count > 0; --count) model.states["s" + std::to_string(count)] = {"n_1"};
      model.name = name;
    }
  }

  std::string database() {
    std::string text = "<root>";
    for (int sections = number(6); sections > 0; --sections) {
      const std::string tag =
          choose({"trees", "fragiles", "fragiles", "fallingAtoms", "structures", "houses"});
      text += "\n\t<" + tag + ">";
      if (number(8) == 0) text += "<filename>" + choose({"a", "b", "other"}) + "</filename>";
      for (int entries = number(8); entries > 0; --entries)
        text += "\n\t\t" + entry(choose({"a", "b", "c", "d", "e", "other", ""}), randomRest());
      text += "\n\t</" + tag + ">";
    }
    return text + "\n</root>\n";
  }

  std::vector<Content> contents() {
    std::vector<Content> contents;
    for (const Model& model : models_) {
      Content content;
      content.model = model.name;
      content.category = static_cast<KsDestructibleType>(number(4));
      content.achievementTag = choose({"", "house"});
      if (number(4) != 0) content.modules = &model.modules;
      if (number(4) != 0) content.states = &model.states;
      if (number(4) != 0) content.fragile = &model.fragile;
      if (number(4) != 0) content.fallingAtom = &model.fallingAtom;
      content.bspMaterials = &model.bspMaterials;
      content.kinds = &model.kinds;
      contents.push_back(std::move(content));
    }
    std::shuffle(contents.begin(), contents.end(), random_);
    return contents;
  }

 private:
  struct Model {
    std::string name;
    KsDestructibleFragileDesc fragile;
    KsDestructibleFallingAtomDesc fallingAtom;
    save_rules::Modules modules;
    save_rules::States states;
    std::set<std::string> bspMaterials;
    Kinds kinds;
  };

  int number(int end) { return std::uniform_int_distribution<int>(0, end - 1)(random_); }
  std::string choose(const Strings& words) {
    return words[static_cast<std::size_t>(number(static_cast<int>(words.size())))];
  }
  std::string randomRest() {
    return choose({"", "<health>7</health>", "<note>x</note><hitEffect>y</hitEffect>",
                   "<modules><module><matName>n_1</matName></module></modules><states><state/></states>"});
  }

  std::mt19937 random_;
  std::vector<Model> models_;
};

class SeveralModels : public TheRulesOfASave {
 protected:
  /// The file after `write` has edited the document of that text.
  template <class Write>
  std::string after(const std::string& text, const Write& write) const {
    const SmartPointer<DataSection> root = document(text);
    SaveGroup saves;
    write(root);
    EXPECT_TRUE(saves.commit());
    return readDatabase();
  }

  /// Writes by a helper, as its saveConfig does, but for the records and the name, which are the content's.
  static void writeByHelper(const SmartPointer<DataSection>& root, const Content& content) {
    KsDestructiblesHelper helper(nullptr, content.model);
    save_rules::Steps steps = ModelSaving::stepsOf(helper);
    steps.writeFragile = [&](auto& one) { save_rules::writeFragile(content.model, *content.fragile, *one); };
    steps.writeFallingAtom = [&](auto& one) {
      save_rules::writeFallingAtom(content.model, *content.fallingAtom, *one);
    };
    steps.writeModules = [&](auto& section) {
      save_rules::writeModules(*content.modules, *content.bspMaterials, *content.kinds, *section);
    };
    steps.writeStates = [&](auto& section) { save_rules::writeStates(*content.states, *section); };
    save_rules::write(root, content, steps);
  }
};

TEST_F(SeveralModels, AreWrittenTogetherAsOneAfterTheOther) {
  int changed = 0;
  for (unsigned seed = 0; seed < 200; ++seed) {
    RandomModels models(seed);
    const std::string text = models.database();
    const std::vector<Content> contents = models.contents();
    const std::string together = after(
        text, [&](const auto& root) { save_rules::write(root, *load_rules::entryIndex(*root), contents); });
    const std::string oneByOne = after(text, [&](const auto& root) {
      for (const Content& content : contents) writeByHelper(root, content);
    });
    ASSERT_EQ(together, oneByOne) << "seed " << seed << ", of\n" << text;
    changed += together != text ? 1 : 0;
  }
  EXPECT_GT(changed, 150);
}

TEST_F(SeveralModels, SayWhetherMoreThanTheirEntriesWasTouched) {
  const auto isOfThemAlone = [this](const std::string& text) {
    bool result = false;
    after(text, [&](const auto& root) {
      Content content;
      content.model = "m";
      result = save_rules::write(root, *load_rules::entryIndex(*root), {content});
    });
    return result;
  };
  EXPECT_TRUE(isOfThemAlone("<r><fragiles>" + entry("m") + entry("o") + "</fragiles></r>"));
  EXPECT_FALSE(isOfThemAlone("<r><fragiles><filename>m</filename>" + entry("o") + "</fragiles></r>"));
}

// --- Helpers ---

TEST_F(SeveralModels, ThatWereWrittenAreAloneReadByTheNextLoadAndMissingNoMore) {
  writeDatabase("<r><fragiles>" + entry("other") + "</fragiles></r>");
  const OpenModel crate({}, "crate");
  const OpenModel lamp({}, "lamp");
  crate->setAsFragile();
  lamp->setAsFallingAtoms();
  ASSERT_TRUE(crate->isMissingInDestructiblesXml() && lamp->isMissingInDestructiblesXml());
  std::uint64_t before = 0;
  std::uint64_t now = 0;
  {
    const auto root = FS::Utils::openSection(kDatabase, false, nullptr);
    SaveGroup saves;
    before = root->contentStamp();
    save_rules::write(root, *load_rules::entryIndex(*root),
                      {ModelSaving::contentOf(*crate), ModelSaving::contentOf(*lamp)});
    now = root->contentStamp();
    ASSERT_TRUE(saves.commit());
  }
  ASSERT_EQ(Access::loadedStamp(), before);
  ModelSaving::note({crate.helper.get(), lamp.helper.get()}, before, now);
  EXPECT_FALSE(crate->isMissingInDestructiblesXml() || lamp->isMissingInDestructiblesXml());
  DataSectionCache::purge(kDatabase, false);
  ASSERT_EQ(Access::savedStamp(), now);
  EXPECT_TRUE(crate->loadConfig(true));
  EXPECT_EQ(Access::loadedStamp(), now);
  EXPECT_THAT(readDatabase(), HasSubstr("<filename>lamp</filename>"));
  const auto tables = std::pair(Access::fragiles().size(), Access::fallingAtoms().count("lamp"));
  Access::forgetLastLoad();
  EXPECT_TRUE(crate->loadConfig(true)) << "of everything";
  EXPECT_EQ(std::pair(Access::fragiles().size(), Access::fallingAtoms().count("lamp")), tables);
  EXPECT_EQ(tables, std::pair(std::size_t{2}, std::size_t{1}));
}

}  // namespace
}  // namespace Tal
