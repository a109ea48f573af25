#include <authoring/category.h>
#include <authoring/record_fields.h>
#include <cli/model_report.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <destructibles/database_format.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Tal::cli {
namespace {

using authoring::Description;
using authoring::NamedField;
using authoring::SaveWarning;
using authoring::Session;

constexpr int kIndent = 2;
constexpr const char* kNothing = "-";

std::string orNothing(std::string text) {
  return text.empty() ? kNothing : std::move(text);
}

template <class Names>
std::string joined(const Names& names) {
  return orNothing(escapedList(names, ", "));
}

std::string section(const std::string& title, const Table& table, const Style& style) {
  return "\n" + style.heading(title) + "\n" + table.text();
}

std::string recordText(const std::string& title, const std::vector<NamedField>& fields, const Style& style) {
  Table table(kIndent);
  for (const NamedField& field : fields)
    table.add({std::string(field.key), orNothing(escapeControls(authoring::textOf(field.value)))});
  return section(title, table, style);
}

std::string modulesText(const Description::Modules& modules, const std::set<std::string>& dropped,
                        const Style& style) {
  Table table(kIndent);
  if (modules.empty()) {
    table.add({"none"});
    return section("modules", table, style);
  }
  std::vector<std::string> head = {"material"};
  for (const NamedField& field : authoring::fieldsOf(KsDestructibleModuleDesc()))
    head.emplace_back(field.key);
  table.add(std::move(head));
  for (const auto& [name, module] : modules) {
    std::vector<std::string> row = {escapeControls(name) + (dropped.contains(name) ? " (not saved)" : "")};
    for (const NamedField& field : authoring::fieldsOf(module))
      row.push_back(orNothing(escapeControls(authoring::textOf(field.value))));
    table.add(std::move(row));
  }
  return section("modules", table, style);
}

template <class States>
std::string statesText(const States& states, const Style& style) {
  Table table(kIndent);
  for (const auto& [state, materials] : states) table.add({escapeControls(state), joined(materials)});
  return section("states", table, style);
}

std::string kindsText(const std::vector<unsigned>& kinds) {
  std::string text;
  for (const unsigned kind : kinds) text += (text.empty() ? "" : " ") + std::to_string(kind);
  return orNothing(std::move(text));
}

std::string materialsText(const Session& session, const Style& style) {
  Table table(kIndent);
  table.add({"name", "kind", "class", "part", "visible", "dependencies"});
  for (const authoring::Material& material : session.materials()) {
    table.add({escapeControls(material.name), std::to_string(material.kind),
               std::string(authoring::materialClassName(material.materialClass)),
               material.part ? std::to_string(*material.part) : kNothing, material.isVisible ? "yes" : "no",
               kindsText(material.dependencies)});
  }
  return section("materials in the state " + escapeControls(session.shownState()), table, style);
}

std::string warningsText(const std::vector<std::string>& warnings, const Style& style) {
  std::string text;
  for (const std::string& warning : warnings) text += "  " + style.warning(warning) + "\n";
  return text.empty() ? text : "\n" + style.heading("warnings") + "\n" + text;
}

std::string textOf(const authoring::ValueWarning& warning) {
  return (warning.module.empty() ? "" : "module " + quotedName(warning.module) + ", ") + warning.text;
}

std::vector<std::string> textsOf(Session& session, const std::vector<SaveWarning>& ofModules) {
  std::vector<std::string> texts;
  for (const authoring::ValueWarning& warning : session.valueWarnings()) texts.push_back(textOf(warning));
  for (const authoring::MaterialWarning& warning : session.materialWarnings()) texts.push_back(warning.text);
  for (const SaveWarning& warning : ofModules) texts.push_back(warning.text);
  return texts;
}

std::set<std::string> modulesOf(const std::vector<SaveWarning>& warnings) {
  std::set<std::string> names;
  for (const SaveWarning& warning : warnings) names.insert(warning.module);
  return names;
}

std::string categoryText(const std::string& modelName, KsDestructibleType category) {
  const bool isVariant = database_format::isVariantName(modelName);
  return std::string(authoring::categoryName(category)) +
         (isVariant ? " (a variant has none of its own)" : "");
}

std::string recordsText(const Description& description, const std::set<std::string>& dropped,
                        const Style& style) {
  std::string text;
  if (description.category == DT_STRUCTURE) text += modulesText(description.modules, dropped, style);
  if (description.fragile) text += recordText("fragile", authoring::fieldsOf(*description.fragile), style);
  if (description.fallingAtom)
    text += recordText("falling atom", authoring::fieldsOf(*description.fallingAtom), style);
  return text;
}

std::string overviewText(Session& session, const Description& description) {
  Table table(kIndent);
  table.add({"category", categoryText(session.modelName(), description.category)});
  if (session.isMissingInDatabase()) table.add({"in the database", "no"});
  if (const std::vector<std::string> sections = entriesToShow(session); !sections.empty())
    table.add({"entries", joined(sections)});
  if (description.category == DT_STRUCTURE)
    table.add({"achievementTag", orNothing(escapeControls(description.achievementTag))});
  table.add({"hard points", joined(session.hardPoints())});
  table.add({"BSP materials", joined(session.bspMaterials())});
  return table.text();
}

}  // namespace

std::vector<std::string> entriesToShow(const authoring::Session& session) {
  return session.category() == DT_NON_DESTRUCTIBLE ? session.sections() : std::vector<std::string>();
}

std::vector<SaveWarning> moduleWarnings(authoring::Session& session) {
  std::vector<SaveWarning> warnings = Tool::check(session.saveWarnings());
  std::erase_if(warnings, [](const SaveWarning& warning) {
    return warning.code != SaveWarning::Code::droppedModule && warning.code != SaveWarning::Code::noModules;
  });
  return warnings;
}

std::string modelText(Session& session, const Style& style) {
  const Description description = session.description();
  const std::vector<SaveWarning> unsaved = moduleWarnings(session);
  std::string text =
      style.heading(escapeControls(session.modelName())) + "\n" + overviewText(session, description);
  text += recordsText(description, modulesOf(unsaved), style);
  text += statesText(session.states(), style);
  text += materialsText(session, style);
  return text + warningsText(textsOf(session, unsaved), style);
}

std::string modelText(const authoring::GoneModel& gone, const Style& style) {
  const Description& description = gone.description;
  Table overview(kIndent);
  overview.add({"category", categoryText(gone.modelName, description.category)});
  overview.add({"model file", gone.hasModelFile ? "without its visual" : "none"});
  overview.add({"entries", joined(gone.sections)});
  if (description.category == DT_STRUCTURE)
    overview.add({"achievementTag", orNothing(escapeControls(description.achievementTag))});
  std::string text = style.heading(escapeControls(gone.modelName)) + "\n" + overview.text();
  text += recordsText(description, {}, style);
  if (!description.states.empty()) text += statesText(description.states, style);
  std::vector<std::string> warnings = {gone.reason};
  for (const authoring::ValueWarning& warning : authoring::valueWarningsOf(description))
    warnings.push_back(textOf(warning));
  return text + warningsText(warnings, style);
}

}  // namespace Tal::cli
