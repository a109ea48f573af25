#include <cli/cli_fixture.h>

#include <fcntl.h>
#include <unistd.h>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace cli_test {
namespace {

using TheProgram = CommandLine;

TEST_F(TheProgram, PrintsItsHelpAsAMessageWhenCalledAlone) {
  const ProcessResult result = run({});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, testing::HasSubstr("Usage: destructibles"));
}

TEST_F(TheProgram, PrintsItsHelpWhenAskedTo) {
  const std::string help = result({"--help"});
  for (const char* const command :
       {"init", "import", "list", "show", "convert", "set", "state", "health", "watch", "--root"})
    EXPECT_THAT(help, testing::HasSubstr(command));
  EXPECT_EQ(result({"-h"}), help);
}

TEST_F(TheProgram, ExplainsEveryCommandWithAnExample) {
  for (const std::string command :
       {"init", "import", "list", "show", "convert", "set", "state", "health", "watch"}) {
    const std::string help = result({command, "--help"});
    EXPECT_THAT(help, testing::HasSubstr("Usage: destructibles " + command));
    EXPECT_THAT(help, testing::HasSubstr("Example"));
    EXPECT_THAT(help, testing::HasSubstr("\n  destructibles " + command + " ")) << help;
  }
}

TEST_F(TheProgram, PrintsItsVersion) {
  EXPECT_THAT(result({"--version"}), testing::MatchesRegex("destructibles [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(TheProgram, RefusesWrongUsageWithAHint) {
  EXPECT_EQ(misuse({"shwo", kCrate}),
            "there is no command \"shwo\"; did you mean \"show\"? See \"destructibles --help\"");
  EXPECT_EQ(misuse({"--root", "."}), "a command is required; see \"destructibles --help\"");
  EXPECT_THAT(misuse({"--rot", ".", "list"}),
              testing::EndsWith("did you mean \"--root\"? See \"destructibles --help\""));
  EXPECT_THAT(misuse({"show"}), testing::EndsWith("; see \"destructibles show --help\""));
  EXPECT_THAT(misuse({"convert", kCrate}), testing::EndsWith("; see \"destructibles convert --help\""));
  EXPECT_THAT(misuse({"set", kCrate}), testing::EndsWith("; see \"destructibles set --help\""));
  EXPECT_EQ(misuse({"show", kCrate, "more"}), "\"more\" was not expected; see \"destructibles show --help\"");
  EXPECT_EQ(misuse({"--root"}), "--root needs a value; see \"destructibles --help\"");
}

TEST_F(TheProgram, PrintsHelpInLinesOfATerminal) {
  std::string help = result({"--help"});
  for (const std::string command : {"import", "convert", "set", "state"}) help += result({command, "--help"});
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) {
    const bool isExample = line.starts_with("  destructibles ");
    EXPECT_TRUE(isExample || line.size() <= 100) << line;
  }
}

TEST_F(TheProgram, NamesTheOptionThatWasMeant) {
  EXPECT_EQ(misuse({"--hlep"}),
            "there is no option \"--hlep\"; did you mean \"--help\"? See \"destructibles --help\"");
  EXPECT_EQ(misuse({"list", "--jsn"}),
            "there is no option \"--jsn\"; did you mean \"--json\"? See \"destructibles list --help\"");
  EXPECT_EQ(misuse({"set", "--hlep"}),
            "there is no option \"--hlep\"; did you mean \"--help\"? See \"destructibles set --help\"");
}

TEST_F(TheProgram, TakesHelpAsACommandToo) {
  EXPECT_EQ(result({"help"}), result({"--help"}));
  EXPECT_EQ(result({"help", "set"}), result({"set", "--help"}));
  EXPECT_THAT(misuse({"help", "shwo"}), testing::HasSubstr("did you mean \"show\"?"));
}

TEST_F(TheProgram, ShowsControlCharactersOfWrongArgumentsEscaped) {
  EXPECT_THAT(misuse({"list", "\x1b[31m%s%n"}), testing::HasSubstr("\\x1b[31m%s%n"));
}

TEST_F(TheProgram, TakesTheRootsOfTheCommandLineInOrder) {
  const support::TemporaryFolder first;
  support::writeModel(first, "content/props/crate", {.materials = {{"n_first", 73}}, .bsp = {"n_first"}});
  const support::TemporaryFolder elsewhere;
  const ProcessResult both = runIn(
      elsewhere.path(), {"--root", first.path().string(), "--root", folder_.path().string(), "show", kCrate});
  EXPECT_EQ(both.status, 0) << both.err;
  EXPECT_THAT(both.out, testing::HasSubstr("n_first"));
  const ProcessResult reversed = runIn(
      elsewhere.path(), {"--root", folder_.path().string(), "--root", first.path().string(), "show", kCrate});
  EXPECT_THAT(reversed.out, testing::HasSubstr("n_wood"));
}

TEST_F(TheProgram, TakesTheRootsOfTheEnvironment) {
  const support::TemporaryFolder first;
  support::writeModel(first, "content/props/tin", {.materials = {{"n_tin", 73}}, .bsp = {"n_tin"}});
  const support::TemporaryFolder elsewhere;
  const std::string list = first.path().string() + "::" + folder_.path().string() + ":";
  for (const char* const model : {"content/props/tin.model", kCrate}) {
    const ProcessResult result = runIn(elsewhere.path(), {"show", model}, {{"DESTRUCTIBLES_ROOT", list}});
    EXPECT_EQ(result.status, 0) << result.err;
  }
}

TEST_F(TheProgram, PrefersTheRootsOfTheCommandLineToThoseOfTheEnvironment) {
  const support::TemporaryFolder elsewhere;
  const ProcessResult result = runIn(elsewhere.path(), {"--root", folder_.path().string(), "show", kCrate},
                                     {{"DESTRUCTIBLES_ROOT", "/nowhere"}});
  EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(TheProgram, FindsTheNearestRootUpwards) {
  std::filesystem::create_directories(folder_ / "content/deep/er");
  EXPECT_EQ(runIn(folder_ / "content/deep/er", {"show", kCrate}).status, 0);
  folder_.write("content/deep/scripts/destructibles.xml", "<root/>");
  EXPECT_EQ(runIn(folder_ / "content/deep/er", {"show", kCrate}).status, 1);
}

TEST_F(TheProgram, DoesNotGoPastARootWhoseDatabaseCannotBeRead) {
  const std::string before = folder_.read(kDatabase);
  std::filesystem::create_directories(folder_ / "content/scripts");
  std::filesystem::create_symlink("nowhere", folder_ / "content/scripts/destructibles.xml");
  const ProcessResult result = runIn(folder_ / "content", {"list"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("scripts/destructibles.xml"));
  EXPECT_EQ(runIn(folder_ / "content", {"set", kCrate, "health=99"}).status, 1);
  EXPECT_EQ(folder_.read(kDatabase), before);
}

TEST_F(TheProgram, SaysHowToGiveARootWhenThereIsNone) {
  const support::TemporaryFolder elsewhere;
  const ProcessResult result = runIn(elsewhere.path(), {"list"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "destructibles: error: no resource root: no folder from here upwards holds "
            "scripts/destructibles.xml; give "
            "one with --root DIR or DESTRUCTIBLES_ROOT, or make one with \"destructibles init DIR\"\n");
}

TEST_F(TheProgram, RefusesARootThatIsNoFolder) {
  EXPECT_EQ(refusal({"--root", "nowhere", "list"}),
            "the resource root \"nowhere\" is no folder; name a folder that exists and can be read");
  EXPECT_EQ(refusal({"--root", kDatabase, "list"}),
            "the resource root \"scripts/destructibles.xml\" is no folder; name a folder that exists and can "
            "be read");
}

TEST_F(TheProgram, FailsWhenItsResultsCannotBeWritten) {
  for (const Arguments& arguments : {Arguments{"list"}, Arguments{"show", kCrate}, Arguments{"--help"}}) {
    writeDatabase("<root><fragiles><entry><filename>a</filename></entry></fragiles></root>");
    const ProcessResult result = support::runProcess(
        DESTRUCTIBLES_PROGRAM, arguments, {.folder = folder_.path(), .standardOutput = "/dev/full"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "destructibles: error: the results could not be written to standard output: No space left on "
              "device\n");
  }
}

TEST_F(TheProgram, SaysWhatItHasDoneAllTheSameWhenItsResultsCannotBeWritten) {
  const auto messageOf = [this](const Arguments& arguments) {
    const ProcessResult result = support::runProcess(
        DESTRUCTIBLES_PROGRAM, arguments, {.folder = folder_.path(), .standardOutput = "/dev/full"});
    EXPECT_EQ(result.status, 1);
    return result.err;
  };
  const std::string lead =
      "destructibles: error: the results could not be written to standard output: No space left on device; ";
  EXPECT_EQ(messageOf({"init", "new"}), lead + "the files were made all the same\n");
  EXPECT_EQ(messageOf({"import", TEST_GLTF_FOLDER "/barrel.gltf", "content/barrel.model"}),
            lead + "the files were made all the same\n");
  EXPECT_THAT(messageOf({"convert", kCrate, "fragile"}),
              testing::HasSubstr(lead + "the model was saved all the same\n"));
}

TEST_F(TheProgram, ShortensWordsThatItDoesNotExpect) {
  const std::string word(5000, 'x');
  for (const Arguments& arguments : {Arguments{"show", kCrate, word}, Arguments{"list", "--" + word}})
    EXPECT_LT(misuse(arguments).size(), 400U);
}

/// What the program shows of a model on a terminal.
class OnATerminal : public CommandLine {
 protected:
  std::string show(const std::map<std::string, std::string>& environment) const {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_GE(terminal, 0);
    EXPECT_EQ(::grantpt(terminal), 0);
    EXPECT_EQ(::unlockpt(terminal), 0);
    std::array<char, 64> name{};
    EXPECT_EQ(::ptsname_r(terminal, name.data(), name.size()), 0);
    // Kept open, so that the terminal keeps what was written to it after the program has ended.
    const int slave = ::open(name.data(), O_RDWR | O_NOCTTY);
    const ProcessResult result = support::runProcess(
        DESTRUCTIBLES_PROGRAM, {"show", kCrate},
        {.folder = folder_.path(), .environment = environment, .standardOutput = name.data()});
    EXPECT_EQ(result.status, 0) << result.err;
    std::array<char, 8192> text{};
    const ssize_t count = ::read(terminal, text.data(), text.size());
    ::close(slave);
    ::close(terminal);
    return count > 0 ? std::string(text.data(), static_cast<std::size_t>(count)) : std::string();
  }
};

TEST_F(OnATerminal, HeadingsAreEmphasised) {
  EXPECT_THAT(show({}), testing::StartsWith("\x1b[1mcontent/props/crate.model\x1b[0m"));
}

TEST_F(OnATerminal, NothingIsColouredForThoseWhoWantNone) {
  const std::string text = show({{"NO_COLOR", "1"}});
  EXPECT_THAT(text, testing::StartsWith("content/props/crate.model"));
  EXPECT_EQ(text.find('\x1b'), std::string::npos);
}

TEST_F(TheProgram, FailsWhenStandardOutputIsClosedAndWritesItsResultsNowhere) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/crate.model</filename></entry></fragiles></root>");
  const ProcessResult result = support::runProcess(
      "/bin/sh", {"-c", "exec \"$@\" >&-", "sh", DESTRUCTIBLES_PROGRAM, "set", kCrate, "health=7"},
      {.folder = folder_.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(
      result.err,
      "destructibles: error: the results could not be written to standard output: Bad file descriptor; the "
      "model was saved all the same\n");
  EXPECT_THAT(readDatabase(), testing::HasSubstr("<health>7</health>"));
  EXPECT_THAT(readDatabase(), testing::EndsWith("</root>"));
}

TEST_F(TheProgram, LosesNoEditWhenItRunsTwiceAtOnceOnTwoModels) {
  writeDatabase(
      "<root><fragiles><entry><filename>content/props/crate.model</filename></entry></fragiles><fallingAtoms>"
      "<entry><filename>content/street/lamp.model</filename></entry></fallingAtoms></root>");
  for (int round = 100; round < 110; ++round) {
    const std::string health = "health=" + std::to_string(round);
    support::RunningProcess crate(DESTRUCTIBLES_PROGRAM, {"set", kCrate, health}, {.folder = folder_.path()});
    support::RunningProcess lamp(DESTRUCTIBLES_PROGRAM, {"set", kLamp, health}, {.folder = folder_.path()});
    EXPECT_EQ(crate.wait().status, 0);
    EXPECT_EQ(lamp.wait().status, 0);
    const std::string entry = "<health>" + std::to_string(round) + "</health>";
    const std::string text = readDatabase();
    EXPECT_NE(text.find(entry), text.rfind(entry)) << text;
  }
}

TEST_F(TheProgram, EndsQuietlyWhenItsReaderGoesAway) {
  std::string text = "<root><fragiles>";
  for (int number = 0; number < 5000; ++number)
    text +=
        "<entry><filename>content/" + std::string(40, 'x') + std::to_string(number) + "</filename></entry>";
  writeDatabase(text + "</fragiles></root>");
  support::RunningProcess program(DESTRUCTIBLES_PROGRAM, {"list"}, {.folder = folder_.path()});
  program.closeOutput();
  const ProcessResult result = program.wait();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");
}

}  // namespace
}  // namespace cli_test
