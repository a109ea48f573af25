#include <authoring/gone_model.h>
#include <authoring/session.h>
#include <cli/commands.h>
#include <cli/model_report.h>
#include <cli/options.h>
#include <cli/table.h>
#include <cli/tool.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

namespace Tal::cli {
namespace {

struct ShowOptions {
  std::string model;
  std::optional<std::string> state;
  bool isJson = false;
};

void show(const ShowOptions& options, Tool& tool) {
  tool.setUpRoots();
  // What a state shows depends on the model's materials, so that one is asked of a session.
  if (const auto gone = authoring::readGoneModel(options.model); gone && !options.state) {
    tool.print(options.isJson ? modelJson(*gone) : modelText(*gone, Style::ofStandardOutput()));
    return;
  }
  const auto session = tool.openSession(options.model);
  if (options.state) Tool::check(session->showState(*options.state));
  tool.print(options.isJson ? modelJson(*session) : modelText(*session, Style::ofStandardOutput()));
}

}  // namespace

void addShow(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<ShowOptions>();
  CLI::App* const command = program.add_subcommand("show", "Show everything known about a model");
  addModel(*command, options->model);
  addText(*command, "--state", "NAME", options->state, "Show which materials are visible in this state");
  command->add_flag("--json", options->isJson, "Print one JSON object");
  command->footer("Example:\n  destructibles show content/buildings/house.model --state destroyed");
  command->callback([options, &tool] { show(*options, tool); });
}

}  // namespace Tal::cli
