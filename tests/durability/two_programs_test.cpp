// Two programs that save different models of one database at the same time.

#include <durability/studio_database.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <unistd.h>
#include <string>

namespace {

using durability::kDatabase;
using durability::StudioDatabase;

constexpr int kRounds = 60;

/// Saves the model of one version again and again, each time with the number of the round. Whether all saves
/// were done.
bool saveAllRounds(int firstVersion) {
  const support::MessageRecorder messages;
  StudioDatabase database;
  for (int round = 0; round < kRounds; ++round) {
    const int version = firstVersion + 4 * round;
    database.edit(version);
    if (!database.save(version)) return false;
  }
  return messages.criticalCount() == 0;
}

std::string withHealth(std::string text, const std::string& model, int health) {
  const std::string before = model + "</filename>\n      <health>0<";
  const std::size_t at = text.find(before);
  EXPECT_NE(at, std::string::npos);
  return text.replace(at + before.size() - 2, 1, std::to_string(health));
}

TEST(TwoPrograms, LoseNoSaveOfDifferentModelsOfOneDatabase) {
  constexpr int kFragile = 4;
  constexpr int kFallingAtom = 2;
  constexpr int kLast = 4 * (kRounds - 1);
  const support::MountedRoot root(kDatabase, StudioDatabase::textOf(0));
  const pid_t other = ::fork();
  if (other == 0) ::_exit(saveAllRounds(kFragile) ? 0 : 1);
  EXPECT_TRUE(saveAllRounds(kFallingAtom));
  int state = 0;
  ASSERT_EQ(::waitpid(other, &state, 0), other);
  EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) == 0);
  const std::string withOne = withHealth(StudioDatabase::textOf(0), "props/crate.model", kFragile + kLast);
  EXPECT_EQ(root.read(kDatabase), withHealth(withOne, "street/lamp.model", kFallingAtom + kLast));
  EXPECT_EQ(root.listing().size(), 2U) << "the folder and the database";
}

}  // namespace
