#include <authoring/category.h>
#include <authoring/session.h>
#include <cli/commands.h>
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

void convert(const ConvertOptions& options, Tool& tool) {
  const std::optional<KsDestructibleType> chosen = chosenCategory(options.category);
  const auto session = tool.openSession(options.model);
  const KsDestructibleType category = chosen.value_or(session->suggestedCategory());
  const authoring::Outcome outcome = session->convert(category);
  Tool::check(outcome);
  tool.save(*session);
  if (session->category() != category) {
    throw Refusal("another program has given " + quotedName(options.model) + " the category " +
                  quotedName(authoring::categoryName(session->category())) + " meanwhile; convert it again");
  }
  const std::string name(authoring::categoryName(category));
  const std::string before = outcome.changes.empty() ? "" : outcome.changes.front().before + " -> ";
  tool.print(escapeControls(options.model) + ": category " + before + name +
             (before.empty() ? " already" : "") + "\n");
}

}  // namespace

void addConvert(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* const command = program.add_subcommand("convert", "Give a model a category, or none, and save");
  command->add_option("MODEL", options->model, "The model's resource name")->required();
  command
      ->add_option("CATEGORY", options->category,
                   "structure, fragile, falling-atom, none (the model's entries are removed) or auto (what "
                   "its materials suggest)")
      ->required();
  command->footer("Example:\n  destructibles convert content/props/crate.model auto");
  command->callback([options, &tool] { convert(*options, tool); });
}

}  // namespace Tal::cli
