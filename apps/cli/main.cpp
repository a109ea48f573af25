#include <cli/commands.h>
#include <cli/tool.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <resources/file_system.h>

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kDone = 0;
constexpr int kRefused = 1;
constexpr int kWrongUsage = 2;
constexpr std::size_t kLongWord = 200;

// The parser takes a word in brackets for a list of words. A byte behind it that no word of a command line
// can hold keeps it whole, until it is an option's value.
constexpr char kMark = '\0';

std::string marked(std::string word) {
  if (word.starts_with('[') && word.ends_with(']')) word += kMark;
  return word;
}

std::string unmarked(std::string word) {
  if (word.ends_with(kMark)) word.pop_back();
  return word;
}

// Breaks a text where a line of the help would be longer than a terminal's.
std::string wrapped(const std::string& text) {
  constexpr std::size_t kLineLength = 50;
  std::string lines;
  std::size_t length = 0;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const bool isFirst = lines.empty();
    const bool isTooLong = length + 1 + word.size() > kLineLength;
    if (!isFirst) lines += isTooLong ? '\n' : ' ';
    length = isFirst || isTooLong ? word.size() : length + 1 + word.size();
    lines += word;
  }
  return lines;
}

void finishOptions(CLI::App& command) {
  for (CLI::Option* const option : command.get_options()) {
    option->transform(unmarked);
    option->description(wrapped(option->get_description()));
    if (option->get_positional()) option->type_name("");  // the help shows its name, which says more
  }
}

// The words behind the program's name, last one first, as the parser wants them. "help COMMAND" is
// "COMMAND --help".
std::vector<std::string> wordsOf(int argc, char** argv) {
  std::vector<std::string> words;
  for (int index = argc - 1; index > 0; --index) words.push_back(marked(argv[index]));
  if (words.empty() || words.back() != "help") return words;
  words.pop_back();
  words.insert(words.begin(), "--help");
  return words;
}

void describe(CLI::App& program, Tal::cli::Tool& tool) {
  program.name("destructibles");
  program.description("Makes game models breakable and tunes how they break.");
  program.get_formatter()->label("SUBCOMMAND", "COMMAND");
  program.get_formatter()->label("Positionals", "Arguments");
  program.get_formatter()->label("REQUIRED", "");  // as the line of the usage shows
  program.set_version_flag("--version", "destructibles " DESTRUCTIBLES_VERSION, "Print the version and exit");
  program.set_help_flag("-h,--help", "Print this help and exit");
  program
      .add_option("--root", tool.givenRoots(),
                  "A resource root; may be given several times. Default: the path list DESTRUCTIBLES_ROOT, "
                  "else the nearest folder upwards that holds scripts/destructibles.xml")
      ->type_name("DIR")
      ->allow_extra_args(false);
  program.add_flag("--verbose", Tal::cli::Tool::isVerbose(), "Also report what each step did");
  program.require_subcommand(1);
  program.footer(
      "Examples:\n"
      "  destructibles init game\n"
      "  destructibles --root game list\n"
      "\"destructibles COMMAND --help\" explains a command.\n"
      "Exit status: 0 done, 1 refused or failed, 2 wrong usage.");
  Tal::cli::addInit(program, tool);
  Tal::cli::addImport(program, tool);
  Tal::cli::addList(program, tool);
  Tal::cli::addShow(program, tool);
  Tal::cli::addConvert(program, tool);
  Tal::cli::addSet(program, tool);
  Tal::cli::addState(program, tool);
  Tal::cli::addHealth(program, tool);
  Tal::cli::addProperties(program, tool);
  Tal::cli::addEffects(program, tool);
  Tal::cli::addWatch(program, tool);
  finishOptions(program);
  for (CLI::App* const command : program.get_subcommands({})) {
    command->group("Commands");
    finishOptions(*command);
  }
}

// The command that was meant, as its help is asked for.
std::string helpCall(const CLI::App& program) {
  const auto commands = program.get_subcommands();
  // Words in front of the command that nobody expected are no matter of the command's.
  const bool isCommands = !commands.empty() && program.remaining_size() == 0;
  const std::string command = isCommands ? commands.front()->get_name() + " " : "";
  return "\"destructibles " + command + "--help\"";
}

// The options of the command that was meant, and of all.
std::vector<std::string> optionsOf(const CLI::App& program) {
  std::vector<std::string> names;
  std::vector<const CLI::App*> apps = {&program};
  for (const CLI::App* const command : program.get_subcommands()) apps.push_back(command);
  for (const CLI::App* const app : apps) {
    for (const CLI::Option* const option : app->get_options())
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// What is wrong with the words of the command line.
std::string faultOf(const CLI::App& program, const CLI::ParseError& error) {
  const std::vector<std::string> unknown = program.remaining(true);
  if (std::find(unknown.begin(), unknown.end(), "--root") != unknown.end()) {
    return "--root goes before the command: destructibles --root DIR COMMAND ...";
  }
  const auto option = std::ranges::find_if(
      unknown, [](const std::string& word) { return word.starts_with('-') && word != "--"; });
  if (option != unknown.end()) {
    return "there is no option " + Tal::quotedName(*option) +
           Tal::nameSuggestion(*option, optionsOf(program));
  }
  const auto code = static_cast<CLI::ExitCodes>(error.get_exit_code());
  if (code == CLI::ExitCodes::ExtrasError && !program.get_subcommands().empty())
    return Tal::quotedName(unknown.front()) + " was not expected";
  if (code == CLI::ExitCodes::ArgumentMismatch) {
    const std::string text = error.what();
    return text.substr(0, text.find(':')) + " needs a value";
  }
  if (!program.get_subcommands().empty()) return error.what();
  if (unknown.empty()) return "a command is required";
  std::vector<std::string> names;
  for (const CLI::App* const command : program.get_subcommands({})) names.push_back(command->get_name());
  return "there is no command " + Tal::quotedName(unknown.front()) +
         Tal::nameSuggestion(unknown.front(), names);
}

// The parser quotes words as they are, however long.
std::string withShortWords(const std::string& text) {
  std::string result;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    const std::string word = text.substr(begin, end - begin);
    result += word.size() > kLongWord ? Tal::shownName(word) : word;
    if (end < text.size()) result += ' ';
    begin = end + 1;
  }
  return result;
}

int reportParsing(const CLI::App& program, const CLI::ParseError& error, Tal::cli::Tool& tool) {
  const bool isOfUnknown = program.get_subcommands().empty() && program.remaining_size() > 0;
  if (error.get_exit_code() == kDone && !isOfUnknown) {  // help or the version was asked for
    std::ostringstream results;
    std::ostringstream messages;
    program.exit(error, results, messages);
    tool.print(results.str());
    return kDone;
  }
  const std::string fault = withShortWords(faultOf(program, error));
  Tal::cli::Tool::say(Tal::cli::Severity::error,
                      fault + (fault.ends_with('?') ? " See " : "; see ") + helpCall(program));
  return kWrongUsage;
}

int run(int argc, char** argv, Tal::cli::Tool& tool) {
  CLI::App program;
  describe(program, tool);
  if (argc <= 1) {
    std::fputs(program.help().c_str(), stderr);
    return kWrongUsage;
  }
  try {
    program.parse(wordsOf(argc, argv));
  } catch (const CLI::ParseError& error) {
    return reportParsing(program, error, tool);
  } catch (const Tal::cli::Refusal& refusal) {
    Tal::cli::Tool::say(Tal::cli::Severity::error, refusal.what());
    return kRefused;
  }
  return kDone;
}

// A standard file that the caller has closed must not become the first file that is opened: results would be
// written into it. Writing to the stand-in fails.
void occupyStandardFiles() {
  for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
    if (::fcntl(file, F_GETFD) < 0) static_cast<void>(::open("/dev/null", O_RDONLY));
  }
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardFiles();
  // A reader that goes away and a limit on file sizes are noticed by the write that fails.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  Tal::cli::sendMessagesToStandardError();
  Tal::cli::Tool tool;
  int status = kRefused;
  try {
    status = run(argc, argv, tool);
    Tal::FS::setFileSystem(nullptr);
  } catch (const std::exception& error) {
    Tal::cli::Tool::say(Tal::cli::Severity::error,
                        std::string("an unexpected error ended the command: ") + error.what());
  }
  if (!tool.flush() && status == kDone) status = kRefused;
  return status;
}
