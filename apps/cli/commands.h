#pragma once

namespace CLI {
class App;
}

namespace Tal::cli {

class Tool;

/// Each adds one command to the program; parsing a command line then runs it. The tool must outlive the
/// program. A command that is refused throws Refusal, one that is used wrongly CLI::ParseError.
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
