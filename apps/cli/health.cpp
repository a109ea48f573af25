#include <authoring/category.h>
#include <authoring/health_explanation.h>
#include <authoring/session.h>
#include <cli/commands.h>
#include <cli/json_text.h>
#include <cli/options.h>
#include <cli/table.h>
#include <cli/tool.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

namespace Tal::cli {
namespace {

using authoring::HealthExplanation;

struct HealthOptions {
  std::string model;
  bool isJson = false;
};

Json asJson(const Vector3& vector) {
  return Json::array({toJson(vector.x), toJson(vector.y), toJson(vector.z)});
}

Json asJson(const HealthExplanation& explanation) {
  Json json = {{"health", explanation.health}, {"rule", authoring::healthRuleName(explanation.rule)}};
  if (explanation.words) json["words"] = *explanation.words;
  if (explanation.materials) json["materials"] = *explanation.materials;
  if (explanation.extent) {
    json["volume"] = toJson(explanation.extent->volume);
    json["boundingBox"] = {{"min", asJson(explanation.extent->min)},
                           {"max", asJson(explanation.extent->max)}};
  }
  if (explanation.category) json["category"] = authoring::categoryName(*explanation.category);
  if (explanation.bspMaterialCount) json["bspMaterialCount"] = *explanation.bspMaterialCount;
  return json;
}

std::string asTable(const HealthExplanation& explanation) {
  Table table(0);
  table.add({"health", std::to_string(explanation.health)});
  table.add({"rule", std::string(authoring::healthRuleName(explanation.rule))});
  table.add({"because", authoring::healthReason(explanation)});
  if (explanation.materials) {
    const std::string names = escapedList(*explanation.materials, ", ");
    table.add({"materials", names.empty() ? "none" : names});
  }
  return table.text();
}

void health(const HealthOptions& options, Tool& tool) {
  const auto session = tool.openSession(options.model);
  const HealthExplanation explanation = Tool::check(session->explainHealth());
  tool.print(options.isJson ? jsonText(asJson(explanation)) : asTable(explanation));
}

}  // namespace

void addHealth(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<HealthOptions>();
  CLI::App* const command =
      program.add_subcommand("health", "Estimate a model's hit points and explain the estimate");
  addModel(*command, options->model);
  command->add_flag("--json", options->isJson, "Print one JSON object with health, rule and what decided");
  command->footer("Example:\n  destructibles health content/props/crate.model");
  command->callback([options, &tool] { health(*options, tool); });
}

}  // namespace Tal::cli
