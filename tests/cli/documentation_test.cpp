#include <cli/cli_fixture.h>

#include <csignal>
#include <filesystem>
#include <sstream>

namespace cli_test {
namespace {

namespace fs = std::filesystem;

constexpr char kPrompt[] = "$ ";

/// One command of the documentation, and what it prints.
struct Example {
  std::string command;
  std::string output;
};

/// The commands of the blocks marked "console", in order.
std::vector<Example> examplesOf(const std::string& document) {
  std::vector<Example> examples;
  std::istringstream lines(document);
  bool isConsole = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```")) {
      isConsole = line == "```console";
    } else if (isConsole && line.starts_with(kPrompt)) {
      examples.push_back({line.substr(sizeof(kPrompt) - 1), ""});
    } else if (isConsole) {
      examples.back().output += line + '\n';
    }
  }
  return examples;
}

/// The documentation's commands, run one after the other in a copy of the sample.
class TheDocumentation : public ::testing::Test {
 protected:
  TheDocumentation() {
    for (const char* const name : {"content", "scripts", "source"})
      fs::copy(fs::path(SAMPLE_FOLDER) / name, folder_ / name, fs::copy_options::recursive);
    place_.folder = folder_.path();
    place_.environment["PATH"] = fs::path(DESTRUCTIBLES_PROGRAM).parent_path().string() + ":/usr/bin:/bin";
  }

  void runExample(const Example& example) const {
    const ProcessResult result = support::runProcess("/bin/sh", {"-c", example.command + " 2>&1"}, place_);
    EXPECT_EQ(result.out, example.output) << example.command;
  }

  /// A watch goes on until it is interrupted: its second line tells which health another program sets.
  void runWatch(const Example& example) const {
    support::RunningProcess program("/bin/sh", {"-c", "exec " + example.command}, place_);
    std::istringstream lines(example.output);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(program.readLine(), line);
    ASSERT_TRUE(std::getline(lines, line));
    const std::string model = example.command.substr(example.command.rfind(' ') + 1);
    const std::string health = line.substr(line.rfind(' ') + 1);
    support::runProcess(DESTRUCTIBLES_PROGRAM, {"set", model, "health=" + health}, place_);
    EXPECT_EQ(program.readLine(), line);
    program.signal(SIGINT);
    EXPECT_EQ(program.wait().status, 0);
  }

  support::TemporaryFolder folder_{};
  support::ProcessPlace place_{};
};

TEST_F(TheDocumentation, ShowsWhatTheCommandsReallyPrint) {
  const std::vector<Example> examples = examplesOf(support::readFile(DOCUMENTATION));
  EXPECT_GE(examples.size(), 11U);  // at least one for each command
  for (const Example& example : examples) {
    if (example.command.starts_with("destructibles watch ")) {
      runWatch(example);
    } else {
      runExample(example);
    }
  }
}

TEST_F(TheDocumentation, HasAnExampleOfEveryCommand) {
  const std::string document = support::readFile(DOCUMENTATION);
  for (const std::string command : {"init", "import", "list", "show", "convert", "set", "state", "health",
                                    "properties", "effects", "watch"})
    EXPECT_THAT(document, testing::HasSubstr("\n$ destructibles " + command + " "));
}

}  // namespace
}  // namespace cli_test
