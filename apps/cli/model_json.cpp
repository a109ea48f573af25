#include <authoring/category.h>
#include <cli/json_text.h>
#include <cli/model_report.h>

namespace Tal::cli {
namespace {

using authoring::Description;
using authoring::Session;

void addRecords(const Description& description, Json& json) {
  if (description.fragile) {
    json["achievementTag"] = description.fragile->achievementTag;
    json["fragile"] = toJson(authoring::fieldsOf(*description.fragile));
  } else if (description.fallingAtom) {
    json["achievementTag"] = description.fallingAtom->achievementTag;
    json["fallingAtom"] = toJson(authoring::fieldsOf(*description.fallingAtom));
  } else if (description.category == DT_STRUCTURE) {
    json["achievementTag"] = description.achievementTag;
    Json modules = Json::object();
    for (const auto& [name, module] : description.modules)
      modules[name] = toJson(authoring::fieldsOf(module));
    json["modules"] = std::move(modules);
  }
}

Json statesJson(Session& session) {
  Json states = Json::object();
  for (const auto& [state, materials] : session.states()) states[state] = materials;
  return states;
}

Json materialsJson(const Session& session) {
  Json materials = Json::array();
  for (const authoring::Material& material : session.materials()) {
    Json json = {{"name", material.name},
                 {"kind", material.kind},
                 {"class", authoring::materialClassName(material.materialClass)}};
    if (material.part) json["part"] = *material.part;
    json["visible"] = material.isVisible;
    json["dependencies"] = material.dependencies;
    materials.push_back(std::move(json));
  }
  return materials;
}

Json moduleWarningJson(const authoring::SaveWarning& warning) {
  if (warning.code == authoring::SaveWarning::Code::noModules)
    return {{"warning", "no-modules"}, {"text", warning.text}};
  return {{"warning", "dropped-module"}, {"module", warning.module}, {"text", warning.text}};
}

Json warningsJson(Session& session) {
  Json warnings = Json::array();
  for (const authoring::ValueWarning& warning : session.valueWarnings()) warnings.push_back(toJson(warning));
  for (const authoring::MaterialWarning& warning : session.materialWarnings()) {
    warnings.push_back({{"warning", authoring::materialWarningName(warning.code)},
                        {"material", warning.material},
                        {"text", warning.text}});
  }
  for (const authoring::SaveWarning& warning : moduleWarnings(session))
    warnings.push_back(moduleWarningJson(warning));
  return warnings;
}

}  // namespace

std::string modelJson(Session& session) {
  Json json = {{"model", session.modelName()},
               {"category", authoring::categoryName(session.category())},
               {"modelFile", true},
               {"missingInDatabase", session.isMissingInDatabase()}};
  if (const std::vector<std::string> sections = entriesToShow(session); !sections.empty())
    json["entries"] = sections;
  addRecords(session.description(), json);
  json["states"] = statesJson(session);
  json["state"] = session.shownState();
  json["materials"] = materialsJson(session);
  json["hardPoints"] = session.hardPoints();
  json["bspMaterials"] = session.bspMaterials();
  json["warnings"] = warningsJson(session);
  return jsonText(json);
}

std::string modelJson(const authoring::GoneModel& gone) {
  const Description& description = gone.description;
  Json json = {{"model", gone.modelName},
               {"category", authoring::categoryName(description.category)},
               {"modelFile", gone.hasModelFile},
               {"missingInDatabase", false},
               {"entries", gone.sections}};
  addRecords(description, json);
  json["states"] = Json(description.states);
  json["warnings"] =
      Json::array({{{"warning", gone.hasModelFile ? "no-visual" : "no-model-file"}, {"text", gone.reason}}});
  for (const authoring::ValueWarning& warning : authoring::valueWarningsOf(description))
    json["warnings"].push_back(toJson(warning));
  return jsonText(json);
}

}  // namespace Tal::cli
