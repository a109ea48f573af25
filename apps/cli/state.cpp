#include <authoring/session.h>
#include <cli/commands.h>
#include <cli/options.h>
#include <cli/table.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <core/nearest_name.h>

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace Tal::cli {
namespace {

using Arguments = std::vector<std::string>;

constexpr const char* kAddMaterial = "add-material";

struct StateOptions {
  std::string model;
  std::string action;
  Arguments arguments;  // the state, then its materials
  bool isForced = false;
};

/// One thing to do with the states of a model.
struct Action {
  std::string name;
  std::string form;  // what follows the name
  std::size_t leastArguments;
  std::size_t mostArguments;
  std::string report;  // what was done to the state whose name follows
  Result<authoring::Outcome> (*edit)(authoring::Session& session, const std::string& state,
                                     const Arguments& materials, bool isForced);
};

const std::vector<Action>& actions() {
  constexpr auto kAny = std::numeric_limits<std::size_t>::max();
  using authoring::Session;
  static const std::vector<Action> all = {
      {"list", "", 0, 0, "", nullptr},
      {"add", "NAME", 1, 1, "added the state ",
       [](Session& session, const std::string& state, const Arguments&, bool) {
         return session.addState(state);
       }},
      {"remove", "NAME", 1, 1, "removed the state ",
       [](Session& session, const std::string& state, const Arguments&, bool) {
         return session.removeState(state);
       }},
      {kAddMaterial, "NAME MATERIAL...", 2, kAny, "added to the state ",
       [](Session& session, const std::string& state, const Arguments& materials, bool isForced) {
         return session.addMaterials(state, materials, isForced);
       }},
      {"remove-material", "NAME MATERIAL...", 2, kAny, "removed from the state ",
       [](Session& session, const std::string& state, const Arguments& materials, bool) {
         return session.removeMaterials(state, materials);
       }}};
  return all;
}

const Action& chosenAction(const StateOptions& options) {
  std::vector<std::string> names;
  for (const Action& action : actions()) {
    names.push_back(action.name);
    if (action.name != options.action) continue;
    if (options.isForced && action.name != kAddMaterial)
      throw CLI::ValidationError("--force goes with add-material alone");
    const std::size_t count = options.arguments.size();
    if (count >= action.leastArguments && count <= action.mostArguments) return action;
    throw CLI::ValidationError("the form is: state MODEL " + action.name +
                               (action.form.empty() ? "" : " " + action.form));
  }
  throw CLI::ValidationError("there is no action " + quotedName(options.action) +
                             nameSuggestion(options.action, names));
}

std::string listText(authoring::Session& session) {
  Table table(0);
  for (const auto& [state, materials] : session.states())
    table.add({escapeControls(state), escapedList(materials, " ")});
  return table.text();
}

void runState(const StateOptions& options, Tool& tool) {
  const Action& action = chosenAction(options);
  const auto session = tool.openSession(options.model);
  if (action.edit == nullptr) {
    Tool::check(session->checkStates());
    tool.print(listText(*session));
    return;
  }
  const std::string& state = options.arguments.front();
  const Arguments materials(options.arguments.begin() + 1, options.arguments.end());
  Tool::checkEdit(action.edit(*session, state, materials, options.isForced));
  tool.save(*session);
  tool.print(escapeControls(options.model) + ": " + action.report + escapeControls(state) +
             (materials.empty() ? "" : ": " + escapedList(materials, " ")) + "\n");
}

}  // namespace

void addState(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<StateOptions>();
  CLI::App* const command =
      program.add_subcommand("state", "List or edit the destruction states of a structure");
  addModel(*command, options->model);
  command->add_option("ACTION", options->action, "list, add, remove, add-material or remove-material")
      ->required();
  command->add_option("NAME", options->arguments,
                      "The state, followed by the materials for add-material and remove-material");
  command->add_flag("--force", options->isForced, "Let add-material add what no state can show destroyed");
  command->footer(
      "Examples:\n"
      "  destructibles state content/buildings/house.model list\n"
      "  destructibles state content/buildings/house.model add roofless\n"
      "  destructibles state content/buildings/house.model add-material roofless partN1 partN2");
  command->callback([options, &tool] { runState(*options, tool); });
}

}  // namespace Tal::cli
