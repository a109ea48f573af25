#include <cli/cli_fixture.h>

#include <csignal>

namespace cli_test {
namespace {

class Watch : public CommandLine {
 protected:
  Watch() { EXPECT_EQ(run({"convert", kCrate, "fragile"}).status, 0); }

  support::ProcessPlace place() const { return {.folder = folder_.path()}; }
};

TEST_F(Watch, PrintsALineAtEachReloadUntilInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    support::RunningProcess program(DESTRUCTIBLES_PROGRAM, {"watch", kCrate}, place());
    EXPECT_THAT(program.readLine(),
                testing::StartsWith("watching content/props/crate.model: fragile, health 2"));
    EXPECT_EQ(run({"set", kCrate, "health=21"}).status, 0);
    EXPECT_EQ(program.readLine(), "reloaded content/props/crate.model: fragile, health 21");
    EXPECT_EQ(run({"set", kCrate, "health=22"}).status, 0);
    EXPECT_EQ(program.readLine(), "reloaded content/props/crate.model: fragile, health 22");
    program.signal(signal);
    const ProcessResult result = program.wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(run({"set", kCrate, "health=23"}).status, 0);
  }
}

TEST_F(Watch, FollowsTheModelToAnotherCategory) {
  support::RunningProcess program(DESTRUCTIBLES_PROGRAM, {"watch", kCrate}, place());
  EXPECT_EQ(program.readLine(), "watching content/props/crate.model: fragile, health 20");
  EXPECT_EQ(run({"convert", kCrate, "structure"}).status, 0);
  EXPECT_EQ(program.readLine(), "reloaded content/props/crate.model: structure, 1 module, 0 states");
  EXPECT_EQ(run({"convert", kCrate, "none"}).status, 0);
  EXPECT_EQ(program.readLine(), "reloaded content/props/crate.model: none");
}

TEST_F(Watch, GoesOnAfterAFileThatCannotBeRead) {
  const std::string good = readDatabase();
  support::RunningProcess program(DESTRUCTIBLES_PROGRAM, {"watch", kCrate}, place());
  EXPECT_EQ(program.readLine(), "watching content/props/crate.model: fragile, health 20");
  folder_.replace(kDatabase, "<root>");
  // The broken file is noticed in a frame of its own before the good one comes.
  while (program.messages().find("is kept until it can\n") == std::string::npos && program.readMore())
    continue;
  EXPECT_THAT(program.messages(),
              testing::HasSubstr("scripts/destructibles.xml cannot be read any more; what was last read of "
                                 "\"content/props/crate.model\" is kept until it can\n"));
  folder_.replace(kDatabase, good);
  EXPECT_EQ(program.readLine(), "reloaded content/props/crate.model: fragile, health 20");
}

TEST_F(Watch, EndsWhenItsReaderGoesAway) {
  support::RunningProcess program(DESTRUCTIBLES_PROGRAM, {"watch", kCrate}, place());
  program.readLine();
  program.closeOutput();
  EXPECT_EQ(run({"set", kCrate, "health=21"}).status, 0);
  EXPECT_EQ(program.wait().status, 1);
}

}  // namespace
}  // namespace cli_test
