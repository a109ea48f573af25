#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace Tal::cli {

/// Adds the required argument MODEL.
void addModel(CLI::App& command, std::string& model);

/// Adds an option with a text, which may be empty; `value` is empty when the option is not given.
void addText(CLI::App& command, const std::string& name, const std::string& placeholder,
             std::optional<std::string>& value, const std::string& help);

/// Adds --category and --module, as several commands have them.
void addCategory(CLI::App& command, std::optional<std::string>& category, const std::string& help);
void addModule(CLI::App& command, std::optional<std::string>& module);

}  // namespace Tal::cli
