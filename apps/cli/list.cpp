#include <authoring/catalogue.h>
#include <authoring/category.h>
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
#include <vector>

namespace Tal::cli {
namespace {

using authoring::CatalogueEntry;

struct ListOptions {
  std::optional<std::string> category;
  bool isJson = false;
};

std::vector<CatalogueEntry> wantedEntries(const ListOptions& options) {
  if (!options.category) return Tool::check(authoring::readCatalogue());
  const KsDestructibleType wanted = Tool::destructibleCategory(*options.category);
  std::vector<CatalogueEntry> entries = Tool::check(authoring::readCatalogue());
  std::erase_if(entries, [wanted](const CatalogueEntry& entry) { return entry.category != wanted; });
  return entries;
}

std::string modelFileText(std::optional<bool> hasModelFile) {
  if (!hasModelFile) return "(its place cannot be examined)";
  return *hasModelFile ? "" : "(no model file)";
}

Json asJson(const std::vector<CatalogueEntry>& entries) {
  Json list = Json::array();
  for (const CatalogueEntry& entry : entries) {
    list.push_back({{"model", entry.model},
                    {"category", authoring::categoryName(entry.category)},
                    {"modelFile", entry.hasModelFile ? Json(*entry.hasModelFile) : Json()}});
  }
  return list;
}

std::string asTable(const std::vector<CatalogueEntry>& entries) {
  Table table(0);
  for (const CatalogueEntry& entry : entries) {
    table.add({std::string(authoring::categoryName(entry.category)), escapeControls(entry.model),
               modelFileText(entry.hasModelFile)});
  }
  return table.text();
}

void list(const ListOptions& options, Tool& tool) {
  tool.setUpRoots();
  const std::vector<CatalogueEntry> entries = wantedEntries(options);
  tool.print(options.isJson ? jsonText(asJson(entries)) : asTable(entries));
}

}  // namespace

void addList(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<ListOptions>();
  CLI::App* const command = program.add_subcommand("list", "List the models in the database");
  addCategory(*command, options->category, "Only the models of one category");
  command->add_flag("--json", options->isJson,
                    "Print a JSON array of objects with model, category and modelFile");
  command->footer("Example:\n  destructibles list --category fragile");
  command->callback([options, &tool] { list(*options, tool); });
}

}  // namespace Tal::cli
