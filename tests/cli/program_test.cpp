#include <cli/cli_fixture.h>

#include <fcntl.h>
#include <unistd.h>
#include <array>
#include <cstdlib>

namespace cli_test {
namespace {

using TheProgram = CommandLine;

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
