#include <authoring/category.h>
#include <authoring/effects.h>
#include <cli/commands.h>
#include <cli/json_text.h>
#include <cli/options.h>
#include <cli/table.h>
#include <cli/tool.h>
#include <core/display_text.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tal::cli {
namespace {

struct EffectsOptions {
  std::optional<std::string> category;
  std::string key;
  bool isJson = false;
};

using CategoryAndEffect = std::pair<KsDestructibleType, std::string>;

std::vector<CategoryAndEffect> effectsOf(const EffectsOptions& options) {
  std::vector<KsDestructibleType> categories{DT_STRUCTURE, DT_FRAGILE, DT_FALLING_ATOMS};
  if (options.category) categories = {Tool::destructibleCategory(*options.category)};
  std::vector<CategoryAndEffect> effects;
  for (const KsDestructibleType category : categories) {
    for (std::string& name : Tool::check(authoring::effectNames(category, options.key)))
      effects.emplace_back(category, std::move(name));
  }
  return effects;
}

Json asJson(const std::vector<CategoryAndEffect>& effects) {
  Json list = Json::array();
  for (const auto& [category, name] : effects)
    list.push_back({{"category", authoring::categoryName(category)}, {"effect", name}});
  return list;
}

std::string asTable(const std::vector<CategoryAndEffect>& effects) {
  Table table(0);
  for (const auto& [category, name] : effects)
    table.add({std::string(authoring::categoryName(category)), escapeControls(name)});
  return table.text();
}

void effects(const EffectsOptions& options, Tool& tool) {
  tool.setUpRoots();
  const std::vector<CategoryAndEffect> found = effectsOf(options);
  tool.print(options.isJson ? jsonText(asJson(found)) : asTable(found));
}

}  // namespace

void addEffects(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<EffectsOptions>();
  CLI::App* const command = program.add_subcommand("effects", "List the effects that panels offer");
  addCategory(*command, options->category, "Only the effects of one category");
  command->add_option("--key", options->key, "Only effects whose names contain this, ignoring case")
      ->type_name("KEY");
  command->add_flag("--json", options->isJson, "Print a JSON array of objects with category and effect");
  command->footer("Example:\n  destructibles effects --category falling-atom --key touchdown");
  command->callback([options, &tool] { effects(*options, tool); });
}

}  // namespace Tal::cli
