#include <destructibles/helper_script.h>
#include <destructibles/record_text.h>
#include <destructibles/table_text.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Tal {
namespace {

using Helper = KsDestructiblesHelper;

const Strings kCategories = {"structure", "fragile", "falling atom", "none"};

std::string answer(bool value) {
  return value ? "true\n" : "false\n";
}

std::string nameOf(KsDestructibleType type) {
  return type >= DT_STRUCTURE && type <= DT_NON_DESTRUCTIBLE ? kCategories.at(static_cast<std::size_t>(type))
                                                             : std::to_string(type);
}

std::string textOf(unsigned value) {
  return std::to_string(value);
}

/// A line of the elements.
template <class List>
std::string line(const List& list) {
  std::string text;
  for (const auto& each : list) {
    text += text.empty() ? "" : " ";
    if constexpr (std::is_convertible_v<decltype(each), std::string>) {
      text += quotedIfNeeded(each);
    } else {
      text += textOf(each);
    }
  }
  return (text.empty() ? "(none)" : text) + '\n';
}

std::string lineOfKinds(const std::map<std::string, unsigned>& kinds) {
  std::string text;
  for (const auto& [name, kind] : kinds)
    text += (text.empty() ? "" : " ") + quotedIfNeeded(name) + '=' + std::to_string(kind);
  return (text.empty() ? "(none)" : text) + '\n';
}

/// With line ends spelt out.
std::string inOneLine(const std::string& text) {
  std::string shown;
  for (const char each : text) shown += each == '\n' ? "\\n" : each == '\r' ? "\\r" : std::string(1, each);
  return shown;
}

/// Messages of other modules are shown without their texts.
std::string textOf(const DebugMessage& message) {
  const std::string text = ' ' + inOneLine(message.text) + '\n';
  if (message.isCritical) return "critical " + message.file + ' ' + std::to_string(message.line) + text;
  const std::string head = "log " + std::to_string(message.messagePriority);
  if (!message.category.empty()) return head + " of " + message.category + '\n';
  EXPECT_EQ(message.componentPriority, 0);
  EXPECT_EQ(message.source, 0);
  return head + text;
}

}  // namespace

HelperScript::HelperScript() {
  for (Commands group : {fileCommands(), helperCommands(), tableCommands(), recordCommands(),
                         materialCommands(), stateCommands()})
    commands_.merge(group);
}

HelperScript::~HelperScript() = default;

std::string HelperScript::run(const std::string& command) {
  const auto lineEnd = command.find('\n');
  const std::string body = lineEnd == std::string::npos ? "" : command.substr(lineEnd + 1) + '\n';
  body_ = &body;
  words_ = support::Words(command.substr(0, lineEnd));
  const std::string answered = [this] {
    const std::string name = words_.take();
    const auto known = commands_.find(name);
    if (known == commands_.end()) throw std::invalid_argument("unknown command " + name);
    return known->second();
  }();
  if (words_.areLeft()) throw std::invalid_argument("there are words that nothing uses");
  note();
  return answered + std::exchange(events_, {});
}

template <class Number>
Number HelperScript::takeNumber() {
  Number number{};
  parse(words_.take(), number);
  return number;
}

HelperScript::Opened& HelperScript::opened() {
  if (current_ == nullptr) throw std::invalid_argument("no helper is open");
  return *current_;
}

void HelperScript::note() {
  for (const DebugMessage& message : messages_.messages()) events_ += textOf(message);
  messages_.clear();
  for (Opened& each : opened_) {
    if (each.journal.empty()) continue;
    events_ += quotedIfNeeded(each.label) + " shows:";
    for (const std::string& call : each.journal)
      events_ += ' ' + call + (&call == &each.journal.back() ? "" : ",");
    events_ += '\n';
    each.journal.clear();
  }
}

void HelperScript::listen(Opened& opened) {
  opened.listening.push_back(opened.helper->connectLoadedConfigSignal([this, &opened] {
    note();
    const std::size_t count = Access::states().size() + Access::modules().size() + Access::fragiles().size() +
                              Access::fallingAtoms().size();
    events_ += quotedIfNeeded(opened.label) + " tells: loaded, entries: " + std::to_string(count) + '\n';
  }));
  opened.listening.push_back(opened.helper->connectDestructibleTypeChanged([this, &opened] {
    note();
    events_ +=
        quotedIfNeeded(opened.label) + " tells: category " + nameOf(opened.helper->destructibleType()) + '\n';
  }));
}

HelperScript::Commands HelperScript::fileCommands() {
  return {{"database", [this] { return writeFile(support::kDatabase); }},
          {"file", [this] { return writeFile(words_.take()); }},
          {"showDatabase", [this] { return readDatabase(); }},
          {"files", [this] { return line(root_.listing()); }},
          {"removeFileSystem",
           [] {
             FS::setFileSystem(nullptr);
             return "";
           }},
          {"open", [this] { return open(); }},
          {"close", [this] { return close(); }},
          {"to", [this] { return atLabel(); }}};
}

std::string HelperScript::writeFile(const std::string& name) {
  std::string text = *body_;
  if (text.empty()) text = words_.takeRest();
  root_.write(name, text);
  return "";
}

std::string HelperScript::open() {
  const std::string name = words_.take();
  const Wanted wanted = takeWanted();
  const auto lacks = [&](const char* thing) {
    return std::find(wanted.lacks.begin(), wanted.lacks.end(), thing) != wanted.lacks.end();
  };
  Opened& opened = opened_.emplace_back(Opened{wanted.labels.empty() ? name : wanted.labels.front()});
  if (!lacks("model")) opened.model = support::buildModel(wanted.parts);
  if (!lacks("disabler"))
    opened.disabler = std::make_unique<RecordingDisabler>(opened.model.get(), &opened.journal);
  opened.helper = std::make_unique<Helper>(opened.model.get(), name, opened.disabler.get());
  opened.opening = std::exchange(opened.journal, {});
  listen(opened);
  current_ = &opened;
  return "";
}

HelperScript::Wanted HelperScript::takeWanted() {
  Wanted wanted;
  support::ModelParts& parts = wanted.parts;
  const std::map<std::string, Strings*> lists = {
      {"bsp", &parts.bsp}, {"nodes", &parts.nodes}, {"but", &wanted.lacks}, {"as", &wanted.labels}};
  Strings* list = nullptr;
  for (const std::string& word : words_.takeAll()) {
    if (const auto known = lists.find(word); known != lists.end()) {
      list = known->second;
    } else if (list != nullptr) {
      list->push_back(word);
    } else {
      const auto [material, kind] = keyAndValue(word);
      parse(kind, parts.materials.emplace_back(support::MaterialPart{material}).kind);
    }
  }
  for (const std::string& thing : wanted.lacks) {
    if (thing == "ready") parts.isReady = false;
    if (thing == "top") parts.hasTopModel = false;
    if (thing == "collision") parts.hasBspData = false;
  }
  return wanted;
}

std::string HelperScript::close() {
  opened().helper.reset();
  note();
  opened_.remove_if([this](const Opened& each) { return &each == current_; });
  current_ = opened_.empty() ? nullptr : &opened_.back();
  return "";
}

std::string HelperScript::atLabel() {
  const std::string label = words_.take();
  const auto other =
      std::find_if(opened_.begin(), opened_.end(), [&](const Opened& each) { return each.label == label; });
  if (other == opened_.end()) throw std::invalid_argument("there is no helper " + label);
  Opened* const before = std::exchange(current_, &*other);
  const std::string answered = commands_.at(words_.take())();
  current_ = before == nullptr || std::none_of(opened_.begin(), opened_.end(),
                                               [&](const Opened& each) { return &each == before; })
                 ? current_
                 : before;
  return answered;
}

/// Runs a command; the tracked operations in place of its answer, those within another indented.
std::string HelperScript::track() {
  Journal events;
  std::vector<StackTracker::Entry> pushed;
  {
    const TrackRecorder recorder(&events);
    commands_.at(words_.take())();
    pushed = recorder.pushed();
  }
  EXPECT_TRUE(StackTracker::entries().empty());
  std::string text;
  Strings stack;
  auto next = pushed.begin();
  for (const std::string& event : events) {
    const std::string name = event.substr(2);
    if (event.starts_with('<')) {
      EXPECT_EQ(name, stack.empty() ? "" : stack.back());
      if (!stack.empty()) stack.pop_back();
      continue;
    }
    EXPECT_EQ(std::string(next->function), "Tal::KsDestructiblesHelper::" + name);
    EXPECT_STREQ(next->file, "lib/destructibles/ks_destructibles_helper") << name;
    text += std::string(2 * stack.size(), ' ') + name + ' ' + std::to_string((next++)->line) + '\n';
    stack.push_back(name);
  }
  return text;
}

HelperScript::Commands HelperScript::helperCommands() {
  const auto silent = [this](void (Helper::*operation)()) {
    return [this, operation] {
      (helper().*operation)();
      return std::string();
    };
  };
  return {
      {"modelName", [this] { return line(Strings{helper().modelName()}); }},
      {"track", [this] { return track(); }},
      {"frame",
       [] {
         rs().beginFrame();
         return "";
       }},
      {"modified",
       [this] {
         const std::string name = words_.take();
         Access::onResourceModified(helper(), name);
         return "";
       }},
      {"shownWhenOpened", [this] { return line(opened().opening); }},
      {"hasDisabler", [this] { return answer(helper().materialDisabler() != nullptr); }},
      {"load", [this] { return answer(helper().loadConfig(true)); }},
      {"loadIfNeeded", [this] { return answer(helper().loadConfig(false)); }},
      {"save", [this] { return answer(helper().saveConfig()); }},
      {"category", [this] { return nameOf(helper().destructibleType()) + '\n'; }},
      {"suggestedCategory", [this] { return nameOf(helper().calculateType()) + '\n'; }},
      {"section", [this] { return line(Strings{Access::categoryName(helper())}); }},
      {"isNew", [this] { return answer(Access::checkForExistence(helper())); }},
      {"isMissing", [this] { return answer(helper().isMissingInDestructiblesXml()); }},
      {"health", [this] { return std::to_string(helper().calculateDestructibleHealth()) + '\n'; }},
      {"setAsStructure", silent(&Helper::setAsStructure)},
      {"setAsFragile", silent(&Helper::setAsFragile)},
      {"setAsFallingAtoms", silent(&Helper::setAsFallingAtoms)},
      {"setAsNonDestructible", [this] { return setAsNonDestructible(); }},
      {"resetDescriptions", silent(&Helper::resetDescriptions)},
      {"createMaterialBindings", silent(&Helper::createMaterialBindings)},
      {"detach", [this] { return answer(helper().detachSuperModel(opened().model.get())); }},
      {"detachAnother", [this] { return answer(helper().detachSuperModel(support::buildModel({}).get())); }},
      {"detachNone", [this] { return answer(helper().detachSuperModel(nullptr)); }},
      {"fill", [this] { return fill(); }},
      {"force", [this] { return force(); }}};
}

std::string HelperScript::setAsNonDestructible() {
  helper().setAsNonDestructible(words_.takeIf("force"));
  return "";
}

/// Makes the entries that are missing.
std::string HelperScript::fill() {
  const std::string what = words_.take();
  if (what == "modules") {
    Access::setMissingModules(helper());
  } else if (what == "fragile") {
    Access::setMissingFragile(helper());
  } else if (what == "fallingAtom") {
    Access::setMissingFallingAtom(helper());
  } else {
    throw std::invalid_argument("nothing of that name is filled: " + what);
  }
  return "";
}

/// Sets a member of the helper: "category NAME" (or a number), "missing 0" or "tag TEXT".
std::string HelperScript::force() {
  const std::string what = words_.take();
  if (what == "category") {
    const std::string name = words_.take();
    const auto known = std::find(kCategories.begin(), kCategories.end(), name);
    int number = static_cast<int>(known - kCategories.begin());
    if (known == kCategories.end()) parse(name, number);
    Access::type(helper()) = static_cast<KsDestructibleType>(number);
  } else if (what == "missing") {
    Access::isMissing(helper()) = takeNumber<int>() != 0;
  } else if (what == "tag") {
    Access::structureAchievementTag(helper()) = words_.take();
  } else {
    throw std::invalid_argument("there is no member " + what);
  }
  return "";
}

HelperScript::Commands HelperScript::tableCommands() {
  return {{"tables", [] { return namesInTables(); }},
          {"records", [] { return textOfTables(); }},
          {"store", [this] { return store(); }},
          {"erase", [this] { return erase(); }},
          {"hasLoaded", [] { return answer(Access::hasLoaded()); }},
          {"pretendLoaded",
           [] {
             pretendLoaded();
             return "";
           }},
          {"forgetTables", [] {
             Access::clearTables();
             return "";
           }}};
}

/// Puts something into a table: "states MODEL [STATE MATERIAL...]", "module MODEL [NAME KEY=VALUE...]",
/// "fragile MODEL KEY=VALUE..." or "fallingAtom MODEL KEY=VALUE...".
std::string HelperScript::store() {
  const std::string table = words_.take();
  const std::string model = words_.take();
  Strings words = words_.takeAll();
  if (table == "fragile") {
    edit(Access::fragileMap()[model], words);
  } else if (table == "fallingAtom") {
    edit(Access::fallingAtomMap()[model], words);
  } else if (table == "states" || table == "module") {
    if (table == "states") Access::stateMap()[model];
    if (table == "module") Access::moduleMap()[model];
    if (words.empty()) return "";
    const std::string name = words.front();
    words.erase(words.begin());
    if (table == "states") Access::stateMap()[model].states[name] = words;
    if (table == "module") edit(Access::moduleMap()[model][name], words);
  } else {
    throw std::invalid_argument("there is no table " + table);
  }
  return "";
}

/// Takes a model out of a table; whether it was there.
std::string HelperScript::erase() {
  const std::string table = words_.take();
  const std::string model = words_.take();
  if (table == "fragile") return answer(Access::fragileMap().erase(model) == 1);
  if (table == "fallingAtom") return answer(Access::fallingAtomMap().erase(model) == 1);
  if (table == "module") return answer(Access::moduleMap().erase(model) == 1);
  if (table == "states") return answer(Access::stateMap().erase(model) == 1);
  throw std::invalid_argument("there is no table " + table);
}

namespace {

/// Reads a record that starts out with health 123, and shows it.
template <class Record>
std::string shownRecord(const std::function<bool(Record&)>& get) {
  Record record;
  record.health = 123;
  const bool isGiven = get(record);
  return (isGiven ? "true" : "false") + wordsOf(record) + '\n';
}

}  // namespace

template <class Record>
std::string HelperScript::editRecord(bool (Helper::*get)(Record&), bool (Helper::*update)(const Record&)) {
  Record record;
  const bool isGiven = (helper().*get)(record);
  edit(record, words_.takeAll());
  return answer((helper().*update)(record) && isGiven);
}

std::string HelperScript::editModule() {
  const std::string name = words_.take();
  KsDestructibleModuleDesc record;
  const bool isGiven = helper().getDestructibleModule(name, record);
  edit(record, words_.takeAll());
  return answer(helper().updateDestructibleModule(name, record, false) && isGiven);
}

HelperScript::Commands HelperScript::recordCommands() {
  using Fragile = KsDestructibleFragileDesc;
  using FallingAtom = KsDestructibleFallingAtomDesc;
  using Module = KsDestructibleModuleDesc;
  return {
      {"fragile",
       [this] { return shownRecord<Fragile>([&](Fragile& r) { return helper().getFragileParameters(r); }); }},
      {"fallingAtom",
       [this] {
         return shownRecord<FallingAtom>(
             [&](FallingAtom& r) { return helper().getFallingAtomParameters(r); });
       }},
      {"module",
       [this] {
         const std::string name = words_.take();
         return shownRecord<Module>([&](Module& r) { return helper().getDestructibleModule(name, r); });
       }},
      {"updateFragile",
       [this] {
         Fragile record;
         edit(record, words_.takeAll());
         return answer(helper().updateFragileParameters(record));
       }},
      {"updateFallingAtom",
       [this] {
         FallingAtom record;
         edit(record, words_.takeAll());
         return answer(helper().updateFallingAtomParameters(record));
       }},
      {"updateModule", [this] { return updateModule(); }},
      {"editFragile",
       [this] { return editRecord(&Helper::getFragileParameters, &Helper::updateFragileParameters); }},
      {"editFallingAtom",
       [this] {
         return editRecord(&Helper::getFallingAtomParameters, &Helper::updateFallingAtomParameters);
       }},
      {"editModule", [this] { return editModule(); }},
      {"tag",
       [this] {
         std::string tag = "untouched";
         const bool isGiven = helper().getStructureAchievementTag(tag);
         return (isGiven ? "true " : "false ") + line(Strings{tag});
       }},
      {"tagInMemory", [this] { return line(Strings{Access::structureAchievementTag(helper())}); }},
      {"updateTag", [this] { return answer(helper().updateStructureAchievementTag(words_.take())); }}};
}

/// updateModule NAME [keep] KEY=VALUE...
std::string HelperScript::updateModule() {
  const std::string name = words_.take();
  const bool keepsExisting = words_.takeIf("keep");
  KsDestructibleModuleDesc record;
  edit(record, words_.takeAll());
  return answer(helper().updateDestructibleModule(name, record, keepsExisting));
}

HelperScript::Commands HelperScript::materialCommands() {
  const auto whichAre = [this](bool (Helper::*test)(const std::string&) const) {
    return [this, test] {
      Strings names = words_.takeAll();
      const auto fails = [&](const std::string& name) { return !(helper().*test)(name); };
      names.erase(std::remove_if(names.begin(), names.end(), fails), names.end());
      return line(names);
    };
  };
  return {
      {"materials", [this] { return lineOfKinds(helper().getMaterialNames()); }},
      {"takeMaterialsOf",
       [this] {
         helper().resetMatKindsByName(support::buildModel(takeWanted().parts).get());
         return "";
       }},
      {"materialsOfKind", [this] { return line(helper().getMaterialNames(takeNumber<unsigned>())); }},
      {"kindOf", [this] { return std::to_string(helper().getMaterialKind(words_.take())) + '\n'; }},
      {"numberOf", [this] { return std::to_string(helper().getMaterialNumericID(words_.take())) + "\n"; }},
      {"bsp", [this] { return line(helper().bspMaterialNames()); }},
      {"hardPoints", [this] { return line(helper().getHardpointNames()); }},
      {"whichAreStaticNames", whichAre(&Helper::isStaticMaterialName)},
      {"whichAreDestroyedNames", whichAre(&Helper::isDestroyedMaterialName)},
      {"whichAreUndamagedNames", whichAre(&Helper::isUndamagedMaterialName)},
      {"whichAreDestroyed", whichAre(&Helper::isMaterialKindDestroyed)},
      {"whichAreUndamaged", whichAre(&Helper::isMaterialKindUndamaged)},
      {"isVisible", [this] { return answer(helper().isMaterialKindVisible(takeNumber<unsigned>())); }},
      {"dependenciesOf", [this] { return line(helper().getMaterialDependencies(takeNumber<unsigned>())); }},
      {"dependencies",
       [this] {
         std::string text;
         for (const auto& [kind, kinds] : Access::dependencies(helper()))
           text += std::to_string(kind) + ": " + line(kinds);
         return text.empty() ? "(none)\n" : text;
       }},
      {"disorderedMaterials",
       [this] {
         Strings names = {"..."};
         const bool isDisordered = helper().hasDisorderedMaterialKinds(&names);
         EXPECT_EQ(helper().hasDisorderedMaterialKinds(nullptr), isDisordered);
         return (isDisordered ? "true " : "false ") + line(names);
       }},
      {"materialsWithoutKind", [this] {
         const std::regex pattern(words_.take());
         Strings names = {"..."};
         const bool isFound = helper().hasDefaultMaterialKinds(pattern, &names);
         EXPECT_EQ(helper().hasDefaultMaterialKinds(pattern, nullptr), isFound);
         return (isFound ? "true " : "false ") + line(names);
       }}};
}

HelperScript::Commands HelperScript::stateCommands() {
  const auto destroy = [this](bool isDestroyed) {
    return [this, isDestroyed] {
      helper().setMaterialDestroyed(takeNumber<unsigned>(), isDestroyed);
      return std::string();
    };
  };
  return {{"states", [this] { return line(helper().getStateNames()); }},
          {"addState", [this] { return answer(helper().addDestructibleState(words_.take())); }},
          {"dropState", [this] { return answer(helper().delDestructibleState(words_.take())); }},
          {"addMaterial",
           [this] {
             const std::string state = words_.take();
             return answer(helper().addMaterialToDestrState(state, words_.take()));
           }},
          {"dropMaterial",
           [this] {
             const std::string state = words_.take();
             return answer(helper().delMaterialFromDestrState(state, words_.take()));
           }},
          {"materialsOf", [this] { return line(helper().getMaterialsForState(words_.take())); }},
          {"kindsOf", [this] { return line(helper().getMatKindsForState(words_.take())); }},
          {"setState", [this] { return answer(helper().setDestructibleState(words_.take())); }},
          {"state", [this] { return line(Strings{helper().getDestructibleState()}); }},
          {"show",
           [this] {
             opened().disabler->setMaterialKindVisible(takeNumber<unsigned>(), true);
             return "";
           }},
          {"hide",
           [this] {
             opened().disabler->setMaterialKindVisible(takeNumber<unsigned>(), false);
             return "";
           }},
          {"destroy", destroy(true)},
          {"restore", destroy(false)}};
}

}  // namespace Tal
