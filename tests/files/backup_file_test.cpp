#include <files/atomic_file.h>
#include <files/backup_file.h>
#include <support/temporary_folder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <optional>

namespace {

namespace fs = std::filesystem;
using Tal::files::BackupFile;
using testing::ElementsAre;
using testing::HasSubstr;

/// A file that has been kept and then replaced.
class ABackup : public testing::Test {
 protected:
  ABackup() {
    folder_.write("a", "old");
    // Of an age at which a save removes what nobody uses.
    fs::last_write_time(file_, fs::file_time_type::clock::now() - std::chrono::hours(1));
    auto place = Tal::files::OpenPlace::open({folder_.path(), "a"});
    EXPECT_TRUE(place);
    place_ = *std::move(place);
    backup_.emplace(place_);
    EXPECT_TRUE(backup_->keep());
    EXPECT_TRUE(Tal::files::replaceFile(place_, "new"));
  }

  support::TemporaryFolder folder_;
  fs::path file_ = folder_ / "a";
  Tal::files::OpenPlace place_;
  std::optional<BackupFile> backup_;
};

TEST_F(ABackup, OutlivesTheSavesOfItsFileAndBringsTheOldVersionBack) {
  EXPECT_TRUE(Tal::files::replaceFile(place_, "newer"));
  EXPECT_FALSE(backup_->restore()) << "what is there may be somebody's";
  EXPECT_EQ(folder_.read("a"), "newer");
}

TEST_F(ABackup, IsPutBackWhereNoFileIs) {
  fs::remove(file_);
  EXPECT_TRUE(backup_->restore());
  EXPECT_EQ(folder_.read("a"), "old");
  EXPECT_THAT(folder_.listing(), ElementsAre("a"));
}

TEST_F(ABackup, GoesWithItsObject) {
  EXPECT_EQ(folder_.listing().size(), 2U);
  backup_.reset();
  EXPECT_EQ(folder_.read("a"), "new");
  EXPECT_THAT(folder_.listing(), ElementsAre("a"));
}

TEST_F(ABackup, ThatCannotBePutBackStaysAndSaysWhere) {
  fs::remove(file_);
  fs::create_directory(file_);
  const Tal::Result<void> restored = backup_->restore();
  ASSERT_FALSE(restored);
  EXPECT_NE(restored.fault().kind, Tal::FaultKind::unflushed);
  backup_.reset();
  const auto listing = folder_.listing();
  ASSERT_EQ(listing.size(), 2U);
  EXPECT_EQ(folder_.read(listing[0]), "old");
  EXPECT_THAT(restored.fault().remedy, HasSubstr('"' + listing[0] + '"'));
}

TEST(ABackupOfNothing, IsRefusedAndLeavesNothing) {
  const support::TemporaryFolder folder;
  const auto place = Tal::files::OpenPlace::open({folder.path(), "a"});
  ASSERT_TRUE(place);
  BackupFile backup(*place);
  EXPECT_FALSE(backup.keep());
  EXPECT_FALSE(backup.isKept());
  EXPECT_THAT(folder.listing(), testing::IsEmpty());
}

TEST(ABackupOfAPipe, DoesNotWaitForAWriter) {
  const support::TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "a").c_str(), 0600), 0);
  const auto place = Tal::files::OpenPlace::open({folder.path(), "a"});
  ASSERT_TRUE(place);
  BackupFile backup(*place);
  EXPECT_TRUE(backup.keep());
  EXPECT_TRUE(backup.isKept());
}

}  // namespace
