#include <cli/options.h>

#include <CLI/CLI.hpp>

namespace Tal::cli {

void addModel(CLI::App& command, std::string& model) {
  command.add_option("MODEL", model, "The model's resource name")->required();
}

void addText(CLI::App& command, const std::string& name, const std::string& placeholder,
             std::optional<std::string>& value, const std::string& help) {
  // An option of an optional type would take an empty text for none.
  command
      .add_option_function<std::string>(
          name, [&value](const std::string& text) { value = text; }, help)
      ->type_name(placeholder);
}

void addCategory(CLI::App& command, std::optional<std::string>& category, const std::string& help) {
  addText(command, "--category", "structure|fragile|falling-atom", category, help);
}

void addModule(CLI::App& command, std::optional<std::string>& module) {
  addText(command, "--module", "NAME", module, "The module of a structure, by its material");
}

}  // namespace Tal::cli
