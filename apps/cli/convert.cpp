#include <authoring/category.h>
#include <authoring/gone_model.h>
#include <authoring/session.h>
#include <cli/commands.h>
#include <cli/options.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <core/nearest_name.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tal::cli {
namespace {

constexpr const char* kAuto = "auto";

struct ConvertOptions {
  std::string model;
  std::string category;
};

// Nothing when the category is to be found out.
std::optional<KsDestructibleType> chosenCategory(const std::string& name) {
  if (name == kAuto) return std::nullopt;
  if (const auto category = authoring::categoryFromName(name)) return category;
  std::vector<std::string> names = authoring::categoryNames();
  names.emplace_back(kAuto);
  throw Refusal("there is no category " + quotedName(name) + nameSuggestion(name, names));
}

std::string conversionText(const std::string& model, const authoring::Outcome& outcome,
                           const std::string& category) {
  const std::string before = outcome.changes.empty() ? "" : outcome.changes.front().before + " -> ";
  return escapeControls(model) + ": category " + before + category + (before.empty() ? " already" : "") +
         "\n";
}

std::string removalText(const std::string& model, const std::vector<std::string>& sections) {
  std::string text;
  for (const std::string& section : sections)
    text += escapeControls(model) + ": removed its entry in " + escapeControls(section) + "\n";
  return text;
}

// Without the model's files the entries are removed as an edit of the document.
void removeGoneModel(const std::string& model, Tool& tool) {
  authoring::Removal removal;
  tool.save([&]() -> Result<authoring::Outcome> {
    auto removed = authoring::removeGoneModel(model);
    if (!removed) return std::move(removed).fault();
    removal = *std::move(removed);
    return removal.outcome;
  });
  tool.print(
      conversionText(model, removal.outcome, std::string(authoring::categoryName(DT_NON_DESTRUCTIBLE))));
  tool.print(removalText(model, removal.removed.sections));
}

void convert(const ConvertOptions& options, Tool& tool) {
  const std::optional<KsDestructibleType> chosen = chosenCategory(options.category);
  tool.setUpRoots();
  if (chosen == DT_NON_DESTRUCTIBLE && authoring::readGoneModel(options.model))
    return removeGoneModel(options.model, tool);
  const auto session = tool.openSession(options.model);
  const authoring::Outcome outcome =
      Tool::checkEdit(chosen ? session->convert(*chosen) : session->convertAsSuggested());
  const KsDestructibleType category = session->category();
  const bool hasNone = category == DT_NON_DESTRUCTIBLE && outcome.changes.empty();
  const std::vector<std::string> removed = hasNone ? session->sections() : std::vector<std::string>();
  tool.save(*session);
  if (session->category() != category) {
    throw Refusal("another program has given " + quotedName(options.model) + " the category " +
                  quotedName(authoring::categoryName(session->category())) + " meanwhile; convert it again");
  }
  tool.print(conversionText(options.model, outcome, std::string(authoring::categoryName(category))));
  tool.print(removalText(options.model, removed));
}

}  // namespace

void addConvert(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* const command = program.add_subcommand("convert", "Change a model's category and save");
  addModel(*command, options->model);
  command
      ->add_option("CATEGORY", options->category,
                   "structure, fragile, falling-atom, none (removes the model's entries) or auto (what its "
                   "materials suggest; refused when they suggest nothing)")
      ->required();
  command->footer("Example:\n  destructibles convert content/props/crate.model auto");
  command->callback([options, &tool] { convert(*options, tool); });
}

}  // namespace Tal::cli
