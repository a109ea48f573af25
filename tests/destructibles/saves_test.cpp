// The saves that are data: every case in a file of saves/ is a test, its steps first and then the file.
//
//   case SUITE.NAME
//   model NAME [MATERIAL=KIND...] [bsp NAME...] [nodes NAME...]
//   setAsStructure               also setAsFragile, setAsFallingAtoms and setAsNonDestructible
//   fragile [new] KEY=VALUE...   edits the record, or a new one; also fallingAtom, and module NAME
//   tag TEXT                     also addState NAME MATERIAL..., and dropState NAME
//   forgetFragile                removes the record; also forgetModules, forgetStates, and emptyModules
//   inMemory NAME                adds a fragile that is in no file
//   save                         also saveFails
//
// A line of the file begins with a space, with - if only the file before has it, or with + if only that after
// the steps. Quotes hold a word with spaces together, and lines that begin with # are for the reader.

#include <destructibles/fixture.h>
#include <destructibles/table_text.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <variant>

namespace Tal {
namespace {

using Helper = KsDestructiblesHelper;
using Module = KsDestructibleModuleDesc;
using Fragile = KsDestructibleFragileDesc;
using FallingAtom = KsDestructibleFallingAtomDesc;

// By their keys in the database.
template <class Record>
using Fields =
    std::map<std::string, std::variant<std::int32_t Record::*, float Record::*, std::string Record::*>>;

const Fields<Module> kModuleFields = {
    {"health", &Module::health},       {"effectScale", &Module::effectScale},
    {"effectHP", &Module::effectHP},   {"ramEffect", &Module::ramEffect},
    {"hitEffect", &Module::hitEffect}, {"decayEffect", &Module::decayEffect}};
const Fields<Fragile> kFragileFields = {{"health", &Fragile::health},
                                        {"effectScale", &Fragile::effectScale},
                                        {"effectHP", &Fragile::effectHP},
                                        {"achievementTag", &Fragile::achievementTag},
                                        {"matName", &Fragile::matName},
                                        {"effect", &Fragile::effect},
                                        {"hitEffect", &Fragile::hitEffect},
                                        {"decayEffect", &Fragile::decayEffect},
                                        {"lifetimeEffect", &Fragile::lifetimeEffect}};
const Fields<FallingAtom> kFallingAtomFields = {{"health", &FallingAtom::health},
                                                {"effectScale", &FallingAtom::effectScale},
                                                {"physicParams", &FallingAtom::physicParams},
                                                {"achievementTag", &FallingAtom::achievementTag},
                                                {"lifetimeEffect", &FallingAtom::lifetimeEffect},
                                                {"fractureEffect", &FallingAtom::fractureEffect},
                                                {"touchdownEffect", &FallingAtom::touchdownEffect},
                                                {"touchdownBreakEffect", &FallingAtom::touchdownBreakEffect}};

struct Line {
  std::string file;
  int number = 0;
  std::string text;

  std::runtime_error error(const std::string& what) const {
    return std::runtime_error(file + ":" + std::to_string(number) + ": " + what);
  }
};

struct Case {
  Line head;
  std::vector<Line> steps = {};
  std::string before = {};
  std::string after = {};
};

class SaveTest : public DestructiblesTest {
 public:
  explicit SaveTest(const Case& given) : case_(given) {}

 private:
  void TestBody() override {
    if (case_.before.empty() || case_.after.empty()) throw case_.head.error("the case has no file");
    writeDatabase(case_.before);
    for (const Line& step : case_.steps) run(step);
    if (!isSaved_) throw case_.head.error("the case has no save");
    const testing::ScopedTrace trace(case_.head.file.c_str(), case_.head.number, case_.head.text);
    EXPECT_EQ(readDatabase(), case_.after);
  }

  void run(const Line& step) {
    const testing::ScopedTrace trace(step.file.c_str(), step.number, step.text);
    step_ = step;
    words_ = std::istringstream(step.text);
    const auto known = steps_.find(take());
    if (known == steps_.end()) throw step.error("unknown step");
    known->second();
    if (!takeAll().empty()) throw step.error("there are words that nothing uses");
  }

  std::string take() {
    std::string word;
    if (!(words_ >> std::quoted(word))) throw step_.error("a word is missing");
    return word;
  }

  Strings takeAll() {
    Strings words;
    while (!(words_ >> std::ws).eof()) words.push_back(take());
    return words;
  }

  std::pair<std::string, std::string> keyAndValue(const std::string& word) const {
    const auto sign = word.find('=');
    if (sign == std::string::npos) throw step_.error("no value: " + word);
    return {word.substr(0, sign), word.substr(sign + 1)};
  }

  void parse(const std::string& text, std::string& value) const { value = text; }

  template <class Number>
  void parse(const std::string& text, Number& number) const {
    std::istringstream input(text);
    if (!(input >> number) || input.peek() != EOF) throw step_.error("no number: " + text);
  }

  void open() {
    name_ = take();
    support::ModelParts parts;
    Strings* names = nullptr;
    for (const std::string& word : takeAll()) {
      if (word == "bsp" || word == "nodes") {
        names = word == "bsp" ? &parts.bsp : &parts.nodes;
      } else if (names != nullptr) {
        names->push_back(word);
      } else {
        const auto [material, kind] = keyAndValue(word);
        parse(kind, parts.materials.emplace_back(support::MaterialPart{material}).kind);
      }
    }
    model_.emplace(parts, name_);
    listening_ = (*model_)->connectLoadedConfigSignal([this] { ++loadCount_; });
  }

  Helper& helper() {
    if (!model_) throw step_.error("no model is open");
    return **model_;
  }

  template <class Record>
  Record edited(Record record, const Fields<Record>& fields) {
    for (const std::string& word : takeAll()) {
      if (word == "new") {
        record = Record();
        continue;
      }
      const auto [key, value] = keyAndValue(word);
      const auto field = fields.find(key);
      if (field == fields.end()) throw step_.error("unknown key " + key);
      std::visit([&, &text = value](auto member) { parse(text, record.*member); }, field->second);
    }
    return record;
  }

  template <class Record>
  void edit(const Fields<Record>& fields, bool (Helper::*get)(Record&),
            bool (Helper::*update)(const Record&)) {
    Record record;
    EXPECT_TRUE((helper().*get)(record));
    EXPECT_TRUE((helper().*update)(edited(record, fields)));
  }

  void editModule() {
    const std::string name = take();
    Module module;
    EXPECT_TRUE(helper().getDestructibleModule(name, module));
    EXPECT_TRUE(helper().updateDestructibleModule(name, edited(module, kModuleFields), false));
  }

  void addState() {
    const std::string name = take();
    EXPECT_TRUE(helper().addDestructibleState(name));
    for (const std::string& material : takeAll())
      EXPECT_TRUE(helper().addMaterialToDestrState(name, material));
  }

  // Only a save that succeeds reloads the tables, which are then those of the file, and says so.
  void save(bool succeeds) {
    std::string tables = textOfTables();
    const int loadCountBefore = loadCount_;
    EXPECT_EQ(helper().saveConfig(), succeeds);
    EXPECT_EQ(loadCount_ - loadCountBefore, succeeds ? 1 : 0);
    EXPECT_FALSE(helper().isMissingInDestructiblesXml());
    if (succeeds) {
      tables = textOfTables();
      Access::forgetLastLoad();
      EXPECT_TRUE(helper().loadConfig(true));
    }
    EXPECT_EQ(textOfTables(), tables);
    isSaved_ = true;
  }

  const std::map<std::string, std::function<void()>> steps_ = {
      {"model", [this] { open(); }},
      {"setAsStructure", [this] { helper().setAsStructure(); }},
      {"setAsFragile", [this] { helper().setAsFragile(); }},
      {"setAsFallingAtoms", [this] { helper().setAsFallingAtoms(); }},
      {"setAsNonDestructible", [this] { helper().setAsNonDestructible(true); }},
      {"fragile",
       [this] { edit(kFragileFields, &Helper::getFragileParameters, &Helper::updateFragileParameters); }},
      {"fallingAtom",
       [this] {
         edit(kFallingAtomFields, &Helper::getFallingAtomParameters, &Helper::updateFallingAtomParameters);
       }},
      {"module", [this] { editModule(); }},
      {"tag", [this] { EXPECT_TRUE(helper().updateStructureAchievementTag(take())); }},
      {"addState", [this] { addState(); }},
      {"dropState", [this] { EXPECT_TRUE(helper().delDestructibleState(take())); }},
      {"forgetFragile", [this] { EXPECT_EQ(Access::fragileMap().erase(name_), 1U); }},
      {"forgetModules", [this] { EXPECT_EQ(Access::moduleMap().erase(name_), 1U); }},
      {"forgetStates", [this] { EXPECT_EQ(Access::stateMap().erase(name_), 1U); }},
      {"emptyModules", [this] { Access::moduleMap().at(name_).clear(); }},
      {"inMemory", [this] { Access::fragileMap()[take()].health = 1; }},
      {"save", [this] { save(true); }},
      {"saveFails", [this] { save(false); }}};

  Case case_;
  Line step_;
  std::istringstream words_;  // those of the step that are not taken yet
  std::string name_;
  std::optional<OpenModel> model_;
  ks::Connection listening_;
  int loadCount_ = 0;
  bool isSaved_ = false;
};

void addLine(const Line& line, std::vector<Case>& cases) {
  if (line.text.empty() || line.text[0] == '#') return;
  if (line.text.starts_with("case ")) return cases.push_back({line});
  if (cases.empty()) throw line.error("this belongs to no case");
  Case& last = cases.back();
  const bool isOfFile = line.text.find_first_of(" -+") == 0;
  if (!isOfFile && !last.after.empty()) throw line.error("this stands behind the file");
  if (!isOfFile) return last.steps.push_back(line);
  if (line.text[0] != '+') last.before += line.text.substr(1) + '\n';
  if (line.text[0] != '-') last.after += line.text.substr(1) + '\n';
}

void registerCase(const Case& given) {
  const Line& head = given.head;
  const std::string name = head.text.substr(std::string("case ").size());
  const auto dot = name.find('.');
  if (dot == std::string::npos || name.find(' ') != std::string::npos) throw head.error("no case SUITE.NAME");
  testing::RegisterTest(name.substr(0, dot).c_str(), name.substr(dot + 1).c_str(), nullptr, nullptr,
                        head.file.c_str(), head.number,
                        [given]() -> DestructiblesTest* { return new SaveTest(given); });
}

[[maybe_unused]] const bool kAreRegistered = [] {
  std::vector<Case> cases;
  for (const auto& file : std::filesystem::directory_iterator(SAVE_CASES)) {
    std::ifstream input(file.path());
    Line line{file.path().string(), 0, ""};
    while (++line.number, std::getline(input, line.text)) addLine(line, cases);
  }
  if (cases.empty()) throw std::runtime_error(SAVE_CASES " holds no case");
  std::for_each(cases.begin(), cases.end(), registerCase);
  return true;
}();

}  // namespace
}  // namespace Tal
