// Processes that save are killed at random moments.

#include <core/debug_message.h>
#include <durability/studio_database.h>
#include <durability/victim.h>
#include <files/atomic_file.h>
#include <files/file_lock.h>
#include <resources/save_group.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mman.h>

#include <unistd.h>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;
using durability::await;
using durability::kDatabase;
using durability::StudioDatabase;
using durability::Victim;
using std::chrono::steady_clock;
using support::MountedRoot;
using testing::ElementsAre;

constexpr int kKillsOfTheShortForm = 400;

/// What a process that is killed has told by then: memory that it shares with its parent.
struct Progress {
  std::atomic<int> asked{0};  ///< the newest version whose save was asked for
  std::atomic<int> saved{0};  ///< the newest version whose save has come back
  std::atomic<bool> hasFailed{false};
  std::atomic<int> microseconds{8'000};  ///< how long a save took lately
};

class SharedProgress {
 public:
  SharedProgress()
      : place_(::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (place_ == MAP_FAILED) std::abort();
    progress_ = new (place_) Progress;
  }
  ~SharedProgress() { ::munmap(place_, sizeof(Progress)); }
  SharedProgress(const SharedProgress&) = delete;
  SharedProgress& operator=(const SharedProgress&) = delete;

  Progress* operator->() const noexcept { return progress_; }
  Progress& operator*() const noexcept { return *progress_; }

 private:
  void* place_;
  Progress* progress_ = nullptr;
};

void saveVersionAfterVersion(Progress& progress) {
  Tal::DebugMessageHelper::setSink([](const Tal::DebugMessage& message) {
    if (message.isCritical) std::cerr << message.text << std::endl;
  });
  StudioDatabase database;
  for (int version = progress.saved + 1;; ++version) {
    database.edit(version);
    const auto begin = steady_clock::now();
    progress.asked = version;
    if (!database.save(version)) {
      progress.hasFailed = true;
      while (true) ::pause();
    }
    progress.saved = version;
    const auto duration = steady_clock::now() - begin;
    progress.microseconds =
        static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(duration).count());
  }
}

/// How many kills there were, and where they hit.
struct Hits {
  int kills = 0;
  int duringSaves = 0;     ///< the newest save had not come back
  int afterTheRename = 0;  ///< and had its content in place
  int withLeftOver = 0;    ///< a temporary file was left
};

class KilledSaves : public testing::Test {
 protected:
  KilledSaves() : root_(kDatabase, StudioDatabase::textOf(0)) {}

  /// One process, from its birth to its death. False when it did wrong.
  bool killOne(std::chrono::microseconds delay) {
    const std::size_t before = leftOvers().size();
    const int first = progress_->saved;
    Victim victim([this] { saveVersionAfterVersion(*progress_); });
    const bool isWorking = await([&] { return progress_->asked > first || progress_->hasFailed; });
    std::this_thread::sleep_for(delay);
    victim.killHard();
    EXPECT_TRUE(isWorking);
    EXPECT_FALSE(progress_->hasFailed);
    ++hits_.kills;
    if (progress_->saved != progress_->asked) ++hits_.duringSaves;
    if (leftOvers().size() > before) ++hits_.withLeftOver;
    return isTheFileWhole() && isNobodyHoldingIt() && isWorking && !progress_->hasFailed;
  }

  /// Whether the file is that of the last save that came back, or of the one that was under way; the next
  /// process goes on from there.
  bool isTheFileWhole() {
    const std::string text = root_.read(kDatabase);
    if (progress_->asked != progress_->saved && text == StudioDatabase::textOf(progress_->asked)) {
      progress_->saved = progress_->asked.load();
      ++hits_.afterTheRename;
    }
    progress_->asked = progress_->saved.load();
    const bool isWhole = text == StudioDatabase::textOf(progress_->saved);
    EXPECT_TRUE(isWhole) << "version " << progress_->saved << " is not what the file holds:\n" << text;
    return isWhole;
  }

  bool isNobodyHoldingIt() const {
    const bool isFree =
        static_cast<bool>(Tal::files::FileLock::acquire(root_ / kDatabase, std::chrono::milliseconds(0)));
    EXPECT_TRUE(isFree);
    return isFree;
  }

  /// What stands beside the database; nothing but temporary files may.
  std::vector<fs::path> leftOvers() const {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(root_ / "scripts")) {
      if (entry.path() == root_ / kDatabase) continue;
      EXPECT_TRUE(Tal::files::isTemporaryName(entry.path().filename().string())) << entry.path();
      files.push_back(entry.path());
    }
    return files;
  }

  MountedRoot root_;
  SharedProgress progress_;
  Hits hits_;
};

TEST_F(KilledSaves, LeaveTheOldFileOrTheNewOneWhole) {
  const int kills = durability::killsToDo(kKillsOfTheShortForm);
  const unsigned seed = std::random_device()();
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> delays(0, 3);  // in saves; the first one of a process is the slowest
  const auto begin = steady_clock::now();
  for (int kill = 1; kill <= kills; ++kill) {
    const double delay = delays(random) * progress_->microseconds;
    if (killOne(std::chrono::microseconds(static_cast<int>(delay)))) continue;
    FAIL() << "after kill " << kill << ", seed " << seed;
  }
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(steady_clock::now() - begin).count();
  std::cout << hits_.kills << " kills in " << seconds << " s, " << hits_.duringSaves
            << " of them during a save (" << hits_.afterTheRename << " with the new file in place), "
            << hits_.withLeftOver << " left a temporary file; " << progress_->saved << " saves" << std::endl;
  EXPECT_GT(hits_.duringSaves, kills / 10) << "the moments were no good";

  for (const fs::path& file : leftOvers())
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(1));
  const support::MessageRecorder messages;
  StudioDatabase database;
  database.edit(progress_->saved + 1);
  EXPECT_TRUE(database.save(progress_->saved + 1));
  EXPECT_EQ(root_.read(kDatabase), StudioDatabase::textOf(progress_->saved + 1));
  EXPECT_THAT(root_.listing(), ElementsAre("scripts", kDatabase)) << "a later save has cleaned up";
}

TEST(ASave, IsNotHeldUpByAKilledProcessThatHeldTheLock) {
  for (int version = 1; version <= 4; ++version) {
    const MountedRoot root(kDatabase, StudioDatabase::textOf(version - 1));
    Victim victim([&root] {
      const Tal::SaveGroup group;
      const auto document = support::openResource(kDatabase);  // which locks it
      EXPECT_TRUE(document->writeString("unsaved", "1"));
      root.write("sign", "locked");
      while (true) ::pause();
    });
    ASSERT_TRUE(await([&root] { return fs::exists(root / "sign"); }));
    victim.killHard();
    const support::MessageRecorder messages;
    StudioDatabase database;
    database.edit(version);
    EXPECT_TRUE(database.save(version));
    EXPECT_EQ(messages.criticalCount(), 0);
    EXPECT_EQ(root.read(kDatabase), StudioDatabase::textOf(version));
  }
}

}  // namespace
