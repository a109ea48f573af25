#pragma once

namespace CLI {
class App;
}

namespace Tal::cli {

class Tool;

/// Each adds one command, which parsing a command line then runs. The tool must outlive the program. A
/// command throws Refusal when it is refused or fails, CLI::ParseError for wrong usage.
void addInit(CLI::App& program, Tool& tool);
void addImport(CLI::App& program, Tool& tool);
void addList(CLI::App& program, Tool& tool);
void addShow(CLI::App& program, Tool& tool);
void addConvert(CLI::App& program, Tool& tool);
void addSet(CLI::App& program, Tool& tool);
void addState(CLI::App& program, Tool& tool);
void addHealth(CLI::App& program, Tool& tool);
void addProperties(CLI::App& program, Tool& tool);
void addEffects(CLI::App& program, Tool& tool);
void addWatch(CLI::App& program, Tool& tool);

}  // namespace Tal::cli
