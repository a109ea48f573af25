#include <authoring/session.h>
#include <cli/commands.h>
#include <cli/options.h>
#include <cli/tool.h>
#include <core/display_text.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tal::cli {
namespace {

struct SetOptions {
  std::string model;
  std::optional<std::string> module;
  std::vector<std::string> assignments;
};

std::vector<authoring::Assignment> parseAssignments(const std::vector<std::string>& texts) {
  std::vector<authoring::Assignment> assignments;
  for (const std::string& text : texts) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0)
      throw CLI::ValidationError(quotedName(text) + " is not of the form KEY=VALUE");
    assignments.push_back({text.substr(0, sign), text.substr(sign + 1)});
  }
  return assignments;
}

std::string valueText(const std::string& value) {
  return value.empty() ? "(empty)" : escapeControls(value);
}

std::string changeText(const SetOptions& options, const authoring::Outcome& outcome, bool isFileChanged) {
  const std::string subject = escapeControls(options.model) +
                              (options.module ? " module " + escapeControls(*options.module) : "") + ": ";
  if (outcome.changes.empty()) {
    return subject +
           (isFileChanged ? "already set, but the entry was tidied\n" : "nothing changed, already set\n");
  }
  std::string text;
  for (const authoring::ValueChange& change : outcome.changes)
    text += subject + change.key + " " + valueText(change.before) + " -> " + valueText(change.after) + "\n";
  return text;
}

void set(const SetOptions& options, Tool& tool) {
  const std::vector<authoring::Assignment> assignments = parseAssignments(options.assignments);
  const auto session = tool.openSession(options.model);
  const authoring::Outcome outcome = Tool::checkEdit(
      options.module ? session->setModule(*options.module, assignments) : session->set(assignments));
  const bool isFileChanged = tool.save(*session);
  tool.print(changeText(options, outcome, isFileChanged));
}

}  // namespace

void addSet(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<SetOptions>();
  CLI::App* const command = program.add_subcommand("set", "Set values of a model or of one module and save");
  addModel(*command, options->model);
  addModule(*command, options->module);
  command
      ->add_option("KEY=VALUE", options->assignments,
                   "A value, named by its database key (health, effectScale, effectHP, ...; a structure "
                   "itself has only achievementTag) or by the name that panels display (\"Hit effect\"). An "
                   "empty value clears the key")
      ->required();
  command->footer(
      "Examples:\n"
      "  destructibles set content/props/crate.model health=35 effectScale=1.5\n"
      "  destructibles set content/props/crate.model \"Hit effect\"=inf_hit_wood\n"
      "  destructibles set content/buildings/house.model --module partN1 effectHP=HP_roof_1");
  command->callback([options, &tool] { set(*options, tool); });
}

}  // namespace Tal::cli
