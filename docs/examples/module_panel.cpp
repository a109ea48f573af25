// A property panel in small: lists the modules of a structure, or shows one of them, sets its fields and
// saves. What was typed stays when the tables are loaded anew, as they are a moment after each save ("wait").

#include <destructibles/database_format.h>
#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/load_rules.h>
#include <destructibles/panel_names.h>
#include <mio/dynamic_object.h>
#include <mio/property.h>
#include <model/ks_material_disabler.h>
#include <model/super_model.h>
#include <render/render_system.h>
#include <resources/data_section.h>
#include <resources/file_system.h>
#include <tyk/bad_cast.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Tal::KsDestructiblesHelper;

// A module has the name of a material. Only those of collision materials are saved, one for each kind.
std::vector<std::string> modulesOf(KsDestructiblesHelper& helper) {
  std::vector<std::string> names;
  std::set<unsigned> kinds;
  Tal::KsDestructibleModuleDesc module;
  for (const auto& [material, kind] : helper.getMaterialNames()) {
    if (!helper.bspMaterialNames().contains(material)) continue;
    if (helper.getDestructibleModule(material, module) && kinds.insert(kind).second)
      names.push_back(material);
  }
  return names;
}

// A load leaves every helper with the achievement tag of the last structure of the file, and a new helper
// gives every module a hard point by its name. What the model's own entry has is taken from there.
void takeOwnEntry(KsDestructiblesHelper& helper) {
  namespace format = Tal::database_format;
  const auto database = Tal::FS::Utils::openSection(format::kDatabaseFile, false, nullptr);
  if (!database) return;
  std::string tag;
  for (const auto& section : *database) {
    if (format::categoryOfSection(section->tag()) != Tal::DT_STRUCTURE) continue;
    for (int place = -1;
         (place = section->findChildWith(format::keys::kFileName, helper.modelName(), place + 1)) != -1;) {
      const auto entry = section->child(place);
      tag = entry->readString(format::keys::kAchievementTag);
      const auto modules = entry->openSection(format::tags::kModules);
      if (!modules) continue;
      for (const auto& [name, module] : Tal::load_rules::readModules(*modules))
        helper.updateDestructibleModule(name, module, false);
    }
  }
  helper.updateStructureAchievementTag(tag);
}

// Shows a copy of one module's record. Whatever sets a property of it edits the helper at once.
class ModulePanel {
 public:
  ModulePanel(KsDestructiblesHelper& helper, std::string module)
      : helper_(helper), module_(std::move(module)) {
    // What the record's options are computed from.
    model_.addProperty(Tal::panel_names::kDestructibleType, tyk::Variant::Type::signedInteger,
                       [this] { return tyk::Variant(helper_.destructibleType()); });
    model_.addProperty(Tal::panel_names::kHardPoints, tyk::Variant::Type::list,
                       [this] { return tyk::Variant(helper_.getHardpointNames()); });
    record_.setParent(&model_);
    helper_.getDestructibleModule(module_, record_);
    changed_ = record_.changed.connect([this](mio::SetterFlags) {
      isEdited_ = true;
      helper_.updateDestructibleModule(module_, record_, false);
    });
  }

  void draw(std::ostream& out) {
    for (const mio::BoundProperty& property : record_.properties()) {
      out << property.property()->name() << ": " << property.get().text();
      for (const tyk::Variant& option : property.options()) out << " [" << option.text() << ']';
      out << '\n';
    }
  }

  // What was typed: of a number, of an effect, of a hard point.
  void set(const std::string& field, const std::string& text) {
    const mio::BoundProperty property = record_.property(field);
    if (!property.isValid()) {
      std::cerr << "there is no field \"" << field << "\"\n";
      return;
    }
    try {
      property.set(text);
    } catch (const tyk::BadCast& refusal) {
      std::cerr << field << ": " << refusal.what() << '\n';
    }
  }

  // To be called after every load, whichever helper performed it: the tables hold what the file holds. What
  // was typed and not saved goes there again; else the panel shows what is new.
  void tablesWereLoaded() {
    takeOwnEntry(helper_);
    if (isEdited_) {
      helper_.updateDestructibleModule(module_, record_, false);
    } else {
      helper_.getDestructibleModule(module_, record_);
    }
  }

  bool save() {
    if (!helper_.saveConfig()) return false;
    isEdited_ = false;
    return true;
  }

 private:
  KsDestructiblesHelper& helper_;
  std::string module_;
  mio::DynamicObject model_;
  Tal::KsDestructibleModuleDesc record_;
  bool isEdited_ = false;
  ks::Connection changed_;  // declared last: it ends before what its slot uses
};

// What an editor does all the time; here until `isDone`, or two seconds have passed.
template <class Condition>
bool renderFramesUntil(const Condition& isDone) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  while (!isDone() && std::chrono::steady_clock::now() < end) {
    Tal::rs().beginFrame();
    Tal::FS::fileSystem()->pump();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return isDone();
}

bool edit(KsDestructiblesHelper& helper, const std::string& module, const std::vector<std::string>& inputs) {
  ModulePanel panel(helper, module);
  int loads = 0;
  // With several helpers: of each of them, since only the one that performs a load raises its signal.
  const ks::Connection loaded = helper.connectLoadedConfigSignal([&] {
    ++loads;
    panel.tablesWereLoaded();
  });
  for (const std::string& input : inputs) {
    if (input == "save") {
      if (!panel.save()) return false;
    } else if (input == "wait") {
      if (!renderFramesUntil([&loads, before = loads] { return loads > before; }))
        std::cerr << "nothing was loaded\n";
    } else {
      const auto equals = input.find('=');
      panel.set(input.substr(0, equals), equals == std::string::npos ? "" : input.substr(equals + 1));
    }
  }
  panel.draw(std::cout);
  return true;
}

bool run(const std::string& model, const std::vector<std::string>& arguments) {
  auto loadedModel = Tal::SuperModel::load(model);
  if (!loadedModel) {
    std::cerr << textOf(loadedModel.fault()) << '\n';
    return false;
  }
  const std::unique_ptr<Tal::SuperModel> superModel = *std::move(loadedModel);
  Tal::KsMaterialDisabler disabler(superModel.get());
  KsDestructiblesHelper helper(superModel.get(), model, &disabler);
  takeOwnEntry(helper);
  const std::vector<std::string> modules = modulesOf(helper);
  if (arguments.empty()) {
    for (const std::string& name : modules) std::cout << name << '\n';
    return true;
  }
  if (std::find(modules.begin(), modules.end(), arguments[0]) == modules.end()) {
    std::cerr << "there is no module \"" << arguments[0] << "\"; give none to list them\n";
    return false;
  }
  return edit(helper, arguments[0], {arguments.begin() + 1, arguments.end()});
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: module_panel ROOT MODEL [MODULE [FIELD=VALUE | save | wait]...]\n";
    return 2;
  }
  Tal::FS::setFileSystem(
      std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{argv[1]}));
  Tal::FS::fileSystem()->getFilesystemMonitor();  // changes are followed from here on
  const bool isDone = run(argv[2], {argv + 3, argv + argc});
  Tal::FS::setFileSystem(nullptr);
  return isDone ? 0 : 1;
}
