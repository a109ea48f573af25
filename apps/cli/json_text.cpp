#include <cli/json_text.h>
#include <core/display_text.h>

#include <charconv>
#include <cmath>
#include <variant>

namespace Tal::cli {

Json toJson(float value) {
  if (!std::isfinite(value)) return nullptr;
  const std::string digits = authoring::textOf(authoring::FieldValue(value));
  double number = 0.0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

Json toJson(const std::vector<authoring::NamedField>& fields) {
  Json record = Json::object();
  for (const authoring::NamedField& field : fields) {
    const auto* const scale = std::get_if<float>(&field.value);
    record[std::string(field.key)] =
        scale != nullptr ? toJson(*scale)
                         : std::visit([](const auto& value) { return Json(value); }, field.value);
  }
  return record;
}

Json toJson(const authoring::ValueWarning& warning) {
  Json json = {{"warning", authoring::valueWarningName(warning.code)}};
  if (!warning.module.empty()) json["module"] = warning.module;
  json["key"] = warning.key;
  json["text"] = warning.text;
  return json;
}

std::string jsonText(const Json& document) {
  constexpr int kIndent = 2;
  const std::string text =
      document.dump(kIndent, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace);
  return escapeControlsOfJson(text) + '\n';
}

}  // namespace Tal::cli
