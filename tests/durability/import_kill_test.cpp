// Processes that import are killed at random moments.

#include <durability/victim.h>
#include <files/atomic_file.h>
#include <model/gltf_import.h>
#include <support/temporary_folder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mman.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <new>
#include <random>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;
using durability::Victim;
using testing::AnyOf;

constexpr int kKillsOfTheShortForm = 100;  // of each test

const fs::path kSources = SAMPLE_FOLDER "/source";
constexpr const char* kBarrel = "barrel.glb";
constexpr const char* kCrate = "crate.glb";

/// How many imports have begun, in memory that a process shares with its parent.
class SharedCount {
 public:
  SharedCount()
      : place_(::mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                      -1, 0)) {
    if (place_ == MAP_FAILED) std::abort();
    count_ = new (place_) std::atomic<int>(0);
  }
  ~SharedCount() { ::munmap(place_, sizeof(std::atomic<int>)); }
  SharedCount(const SharedCount&) = delete;
  SharedCount& operator=(const SharedCount&) = delete;

  std::atomic<int>& operator*() const noexcept { return *count_; }

 private:
  void* place_;
  std::atomic<int>* count_ = nullptr;
};

class AKilledImport : public testing::Test {
 protected:
  AKilledImport() {
    barrel_ = filesOf(kBarrel);
    crate_ = filesOf(kCrate);
    EXPECT_NE(barrel_, crate_);
  }

  static bool import(const std::string& source, const fs::path& root, bool isForced) {
    return static_cast<bool>(
        Tal::importGltf(kSources / source, "content/a.model", root, {.overwrite = isForced}));
  }

  /// The three files of an import, one behind the other.
  static std::string filesIn(const support::TemporaryFolder& root) {
    return root.read("content/a.visual") + root.read("content/a.glb") + root.read("content/a.model");
  }

  std::string filesOf(const std::string& source) {
    const support::TemporaryFolder root;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(import(source, root.path(), false));
    duration_ = std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
    return filesIn(root);
  }

  /// Kills a process that works below a root, some moments after its work has begun.
  template <class Work>
  void killOne(const Work& work) {
    *begun_ = 0;
    Victim victim([&] { work(*begun_); });
    EXPECT_TRUE(durability::await([this] { return *begun_ > 0; }));
    const double delay = std::uniform_real_distribution<double>(0, 1.5 * duration_)(random_);
    std::this_thread::sleep_for(std::chrono::microseconds(static_cast<int>(delay)));
    victim.killHard();
  }

  /// What a kill may leave: a whole model, or what the next import finishes without being forced.
  void expectAllOrNone(const support::TemporaryFolder& root) {
    if (fs::exists(root / "content/a.model")) {
      ++whole_;
      EXPECT_THAT(filesIn(root), AnyOf(barrel_, crate_)) << "files of two imports";
      return;
    }
    const bool hasAny = fs::exists(root / "content/a.visual") || fs::exists(root / "content/a.glb");
    ++(hasAny ? cutOff_ : none_);
    EXPECT_TRUE(import(kBarrel, root.path(), false)) << testing::PrintToString(root.listing());
    EXPECT_EQ(filesIn(root), barrel_);
  }

  /// Beside the three files nothing stands but temporary ones.
  static void expectNothingElse(const support::TemporaryFolder& root) {
    if (!fs::exists(root / "content")) return;
    for (const auto& entry : fs::directory_iterator(root / "content")) {
      const std::string name = entry.path().filename().string();
      EXPECT_TRUE(Tal::files::isTemporaryName(name) || entry.path().stem() == "a") << name;
    }
  }

  void report() const {
    std::cout << whole_ << " left a whole model, " << cutOff_ << " one that was cut off, " << none_
              << " nothing; seed " << seed_ << std::endl;
  }

  std::string barrel_;
  std::string crate_;
  double duration_ = 0;  // of an import, in microseconds
  SharedCount begun_;
  unsigned seed_ = std::random_device()();
  std::mt19937 random_{seed_};
  int whole_ = 0;
  int cutOff_ = 0;
  int none_ = 0;
};

TEST_F(AKilledImport, AndEveryOtherIsAWholeOneAlsoBesideAnotherImport) {
  for (int pair = 0; pair < 20 && !HasFailure(); ++pair) {
    const support::TemporaryFolder root;
    const auto importOf = [&root](const char* source) {
      return [&root, source] {
        import(source, root.path(), true);
        root.write(source, "done");
      };
    };
    Victim first(importOf(kBarrel));
    Victim second(importOf(kCrate));
    EXPECT_TRUE(
        durability::await([&root] { return fs::exists(root / kBarrel) && fs::exists(root / kCrate); }));
    EXPECT_THAT(filesIn(root), AnyOf(barrel_, crate_)) << "pair " << pair;
  }
}

TEST_F(AKilledImport, OfANewModelIsAllOrNone) {
  const int kills = durability::killsToDo(kKillsOfTheShortForm);
  for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
    const support::TemporaryFolder root;
    killOne([&](std::atomic<int>& begun) {
      begun = 1;
      import(kBarrel, root.path(), false);
    });
    expectAllOrNone(root);
    expectNothingElse(root);
  }
  report();
  EXPECT_GT(cutOff_, 0) << "the moments were no good";
}

TEST_F(AKilledImport, ThatReplacesAModelIsAllOrNone) {
  const int kills = durability::killsToDo(kKillsOfTheShortForm);
  const support::TemporaryFolder root;
  ASSERT_TRUE(import(kBarrel, root.path(), false));
  for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
    killOne([&](std::atomic<int>& begun) {
      while (true) {
        ++begun;
        import(begun % 2 == 0 ? kBarrel : kCrate, root.path(), true);
      }
    });
    expectAllOrNone(root);
    expectNothingElse(root);
  }
  report();
  EXPECT_GT(cutOff_, 0) << "the moments were no good";
  // What they left goes when it is old enough and the files are replaced once more.
  for (const auto& entry : fs::directory_iterator(root / "content"))
    fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
  EXPECT_TRUE(import(kCrate, root.path(), true));
  EXPECT_THAT(root.listing(),
              testing::ElementsAre("content", "content/a.glb", "content/a.model", "content/a.visual"));
}

}  // namespace
