#include <authoring/effects.h>
#include <authoring/panel_record.h>
#include <authoring/session.h>
#include <cli/commands.h>
#include <cli/json_text.h>
#include <cli/options.h>
#include <cli/table.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <mio/meta_object.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tal::cli {
namespace {

using mio::BoundProperty;
using mio::Property;
using tyk::Variant;

struct PropertiesOptions {
  std::string model;
  std::optional<std::string> module;
  bool withOptions = false;
  bool isJson = false;
};

const char* typeText(const Property& property) {
  return Variant::typeName(property.type());
}

// What a panel edits the property with.
std::string widgetText(const Property& property) {
  const mio::Annotations& annotations = property.annotations();
  if (annotations.find<mio::ComboBox>() != nullptr) {
    const auto* const autocomplete = annotations.find<mio::Autocomplete>();
    return autocomplete != nullptr && autocomplete->isOn ? "combo box, autocomplete" : "combo box";
  }
  const auto* const precision = annotations.find<mio::Precision>();
  if (precision == nullptr) return typeText(property);
  return std::string(typeText(property)) + ", " + std::to_string(precision->decimals) + " decimals";
}

std::string valueText(const Variant& value) {
  const std::string text = value.text();
  return text.empty() ? "-" : escapeControls(text);
}

std::string optionsText(const BoundProperty& property) {
  std::string text;
  for (const Variant& option : property.options()) text += (text.empty() ? "" : ", ") + valueText(option);
  return text;
}

using Warnings = std::vector<authoring::ValueWarning>;

// Those of the record that is shown.
Warnings warningsOf(authoring::Session& session, const PropertiesOptions& options) {
  Warnings warnings = session.valueWarnings();
  std::erase_if(warnings, [&options](const authoring::ValueWarning& warning) {
    return warning.module != options.module.value_or("");
  });
  return warnings;
}

std::string asTable(mio::Object& object, const Warnings& warnings, const PropertiesOptions& options) {
  Table table(0);
  for (const BoundProperty& property : object.properties()) {
    std::vector<std::string> row{escapeControls(property.property()->name()), valueText(property.get()),
                                 widgetText(*property.property())};
    if (options.withOptions) row.push_back(optionsText(property));
    table.add(std::move(row));
  }
  std::string text = table.text();
  const Style style = Style::ofStandardOutput();
  if (!warnings.empty()) text += "\n" + style.heading("warnings") + "\n";
  for (const authoring::ValueWarning& warning : warnings) text += "  " + style.warning(warning.text) + "\n";
  return text;
}

Json asJson(const Variant& value) {
  switch (value.type()) {
    case Variant::Type::boolean:
      return value.castTo<bool>();
    case Variant::Type::signedInteger:
      return value.castTo<std::int64_t>();
    case Variant::Type::unsignedInteger:
      return value.castTo<std::uint64_t>();
    case Variant::Type::singleFloat:
      return toJson(value.castTo<float>());
    case Variant::Type::doubleFloat:
      return value.castTo<double>();
    case Variant::Type::string:
      return value.castTo<std::string>();
    case Variant::Type::list:
      break;
    case Variant::Type::empty:
      return nullptr;
  }
  Json list = Json::array();
  for (const Variant& each : value.castTo<tyk::VariantList>()) list.push_back(asJson(each));
  return list;
}

Json asJson(const BoundProperty& property, bool withOptions) {
  const mio::Annotations& annotations = property.property()->annotations();
  Json json = {{"name", property.property()->name()},
               {"value", asJson(property.get())},
               {"type", typeText(*property.property())},
               {"widget", widgetText(*property.property())}};
  if (const auto* const precision = annotations.find<mio::Precision>())
    json["precision"] = precision->decimals;
  if (const auto* const autocomplete = annotations.find<mio::Autocomplete>())
    json["autocomplete"] = autocomplete->isOn;
  if (const auto* const onChange = annotations.find<mio::OnChange>()) json["onChange"] = onChange->method();
  if (withOptions && annotations.find<mio::ComboBox>() != nullptr)
    json["options"] = asJson(Variant(property.options()));
  return json;
}

Json asJson(mio::Object& object, const Warnings& warnings, const PropertiesOptions& options) {
  Json json = {{"model", options.model}};
  if (options.module) json["module"] = *options.module;
  json["record"] = object.metaObject()->typeName();
  json["properties"] = Json::array();
  for (const BoundProperty& property : object.properties())
    json["properties"].push_back(asJson(property, options.withOptions));
  json["warnings"] = Json::array();
  for (const authoring::ValueWarning& warning : warnings) json["warnings"].push_back(toJson(warning));
  return json;
}

void properties(const PropertiesOptions& options, Tool& tool) {
  const auto session = tool.openSession(options.model);
  const auto record = Tool::check(authoring::PanelRecord::open(*session, options.module));
  const Warnings warnings = warningsOf(*session, options);
  // Without the effects the lists would be wrong; where there are none, they are short.
  if (options.withOptions) {
    const auto effects = authoring::checkEffects();
    if (!effects && effects.fault().kind != FaultKind::missing) Tool::check(effects);
  }
  tool.print(options.isJson ? jsonText(asJson(record->object(), warnings, options))
                            : asTable(record->object(), warnings, options));
}

}  // namespace

void addProperties(CLI::App& program, Tool& tool) {
  auto options = std::make_shared<PropertiesOptions>();
  CLI::App* const command =
      program.add_subcommand("properties", "Show the record of a model or module as a property panel does");
  addModel(*command, options->model);
  addModule(*command, options->module);
  command->add_flag("--options", options->withOptions, "Also show what the combo boxes offer");
  command->add_flag("--json", options->isJson, "Print one JSON object with record and properties");
  command->footer(
      "Examples:\n"
      "  destructibles properties content/props/crate.model --options\n"
      "  destructibles properties content/buildings/house.model --module partN7");
  command->callback([options, &tool] { properties(*options, tool); });
}

}  // namespace Tal::cli
